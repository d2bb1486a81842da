// Numbers in the byte order of a message, and where they may begin. Nothing here needs an aligned
// address: a value is aligned to the first byte of its message.

#ifndef BUS_DBUS_WIRE_BYTE_ORDER_H
#define BUS_DBUS_WIRE_BYTE_ORDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qxbus::wire {

// The first byte of a message.
enum class ByteOrder : char { kLittle = 'l', kBig = 'B' };

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
inline constexpr ByteOrder kHostOrder = ByteOrder::kBig;
#else
inline constexpr ByteOrder kHostOrder = ByteOrder::kLittle;
#endif

template <typename Number>
Number load(const char* from, ByteOrder order) {
  static_assert(std::is_arithmetic_v<Number>);
  Number number;
  if (order == kHostOrder) {
    std::memcpy(&number, from, sizeof number);
    return number;
  }
  char reversed[sizeof number];
  std::reverse_copy(from, from + sizeof number, reversed);
  std::memcpy(&number, reversed, sizeof number);
  return number;
}

// In the order of this machine, which every other side understands.
template <typename Number>
void store(char* to, Number number) {
  static_assert(std::is_arithmetic_v<Number>);
  std::memcpy(to, &number, sizeof number);
}

// The bytes up to the next multiple of a power of two.
constexpr std::size_t paddingAt(std::uint64_t position, std::size_t alignment) {
  return static_cast<std::size_t>((alignment - position) & (alignment - 1));
}

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_BYTE_ORDER_H
