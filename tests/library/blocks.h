// Writes fields into blocks.

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

#endif  // TESTS_LIBRARY_BLOCKS_H
