// Blocks, and events that contain them.

#ifndef TESTS_LIBRARY_BLOCKS_H
#define TESTS_LIBRARY_BLOCKS_H

#include <cstddef>
#include <cstring>

#include "tests/scripted_bus/scripted_bus.h"

// Writes the bytes of a value, all of which must fit.
template <typename Value>
void put(scripted::Bytes& block, std::size_t offset, Value value) {
  std::memcpy(block.data() + offset, &value, sizeof value);
}

// Writes a text and its NUL.
inline void put(scripted::Bytes& block, std::size_t offset, const char* text) {
  std::memcpy(block.data() + offset, text, std::strlen(text) + 1);
}

// An event of no VM, with a record of zeroes that is long enough for every code.
inline scripted::EventArguments eventWithCode(int code) {
  return scripted::EventArguments().int32(0).int32(code).bytes(scripted::Bytes(700, 0));
}

#endif  // TESTS_LIBRARY_BLOCKS_H
