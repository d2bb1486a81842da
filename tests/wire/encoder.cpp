#include "tests/wire/encoder.h"

namespace wiretest {

using qxbus::wire::ByteOrder;

void Encoder::pad(std::size_t alignment) {
  bytes_.resize((bytes_.size() + alignment - 1) / alignment * alignment);
}

void Encoder::number(std::uint64_t value, std::size_t size) {
  pad(size);
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t place = order_ == ByteOrder::kLittle ? i : size - 1 - i;
    byte(static_cast<unsigned char>(value >> (8 * place)));
  }
}

void Encoder::block(const std::string& bytes) {
  number(bytes.size(), 4);
  bytes_ += bytes;
}

void Encoder::string(const std::string& text) {
  block(text);
  byte(0);
}

void Encoder::signature(const std::string& text) {
  byte(static_cast<unsigned int>(text.size()));
  bytes_ += text;
  byte(0);
}

void Encoder::setLength(std::size_t where, std::size_t start) {
  Encoder length(order_);
  length.number(bytes_.size() - start, 4);
  bytes_.replace(where, 4, length.bytes());
}

}  // namespace wiretest
