// Reads and writes the fields of blocks of bytes. A block is a container of unsigned char.

#ifndef VEL_PROTOCOL_ACCESS_H
#define VEL_PROTOCOL_ACCESS_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "vel/protocol/layout.h"

namespace velprotocol {

// 0 where the block does not reach the end of the field.
template <typename Block, typename Value>
Value read(const Block& block, const NumberField<Value>& field) {
  Value value = 0;
  if (field.offset + sizeof value <= block.size()) {
    std::memcpy(&value, block.data() + field.offset, sizeof value);
  }
  return value;
}

// Up to the first NUL, the end of the field or the end of the block.
template <typename Block>
std::string read(const Block& block, const TextField& field) {
  if (field.offset >= block.size()) {
    return {};
  }
  const std::size_t rest = block.size() - field.offset;
  const std::size_t most = field.size == kToTheEnd ? rest : std::min(rest, field.size);
  const unsigned char* const begin = block.data() + field.offset;
  const void* const end = std::memchr(begin, 0, most);
  const std::size_t length =
      end ? static_cast<std::size_t>(static_cast<const unsigned char*>(end) - begin) : most;
  return std::string(reinterpret_cast<const char*>(begin), length);
}

// The block must reach the end of the field.
template <typename Block, typename Value>
void write(Block& block, const NumberField<Value>& field, std::common_type_t<Value> value) {
  std::memcpy(block.data() + field.offset, &value, sizeof value);
}

// Without a NUL. The field and the block must have room for the text.
template <typename Block>
void write(Block& block, const TextField& field, std::string_view text) {
  std::copy(text.begin(), text.end(), block.data() + field.offset);
}

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_ACCESS_H
