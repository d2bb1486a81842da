// The bytes of a fuzzer, read from the front as numbers and pieces. Behind their end there are
// zeroes and empty pieces, so that any bytes are an input.

#ifndef TESTS_FUZZ_INPUT_H
#define TESTS_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

namespace fuzz {

class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  bool isEmpty() const { return bytes_.empty(); }

  // Views of the input: at most so many bytes, and all that are left.
  std::string_view take(std::size_t size) {
    const std::string_view taken = bytes_.substr(0, size);
    bytes_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view rest() { return std::exchange(bytes_, std::string_view()); }

  // In the byte order of this machine.
  template <typename Number>
  Number number() {
    static_assert(std::is_arithmetic_v<Number>, "other types may have invalid bytes");
    Number number = {};
    const std::string_view taken = take(sizeof number);
    if (!taken.empty()) {
      std::memcpy(&number, taken.data(), taken.size());
    }
    return number;
  }

  std::uint8_t byte() { return number<std::uint8_t>(); }
  bool flag() { return (byte() & 1) != 0; }
  // 0 to bound - 1, from one byte.
  std::size_t below(std::size_t bound) { return byte() % bound; }

  // Bytes behind their length: one byte up to 239, two bytes up to 4095.
  std::string_view piece() {
    constexpr std::size_t kFirstLong = 0xF0;
    std::size_t size = byte();
    if (size >= kFirstLong) {
      size = (size - kFirstLong) << 8 | byte();
    }
    return take(size);
  }

  template <typename Range>
  const auto& oneOf(const Range& range) {
    return std::begin(range)[below(std::size(range))];
  }

 private:
  std::string_view bytes_;
};

}  // namespace fuzz

#endif  // TESTS_FUZZ_INPUT_H
