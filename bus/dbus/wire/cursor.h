// Reads the pieces of D-Bus values, one after the other, and never past the end of the bytes.

#ifndef BUS_DBUS_WIRE_CURSOR_H
#define BUS_DBUS_WIRE_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "bus/dbus/wire/byte_order.h"
#include "bus/dbus/wire/fault.h"

namespace qxbus::wire {

inline constexpr std::size_t kLargestArray = std::size_t{64} * 1024 * 1024;

// Operations return false when the bytes are malformed. Values that are read after a fault mean
// nothing.
class Cursor {
 public:
  // bytes      begin where their message begins, or a multiple of 8 bytes behind
  Cursor(std::string_view bytes, ByteOrder order, std::size_t position = 0)
      : bytes_(bytes), order_(order), position_(position) {}

  Fault fault() const { return fault_; }
  bool fail(Fault fault) {
    fault_ = fault;
    return false;
  }

  std::size_t position() const { return position_; }
  std::size_t remaining() const { return bytes_.size() - position_; }
  bool isAtEnd() const { return position_ == bytes_.size(); }
  // Cuts the bytes behind this position off. Not more than remaining().
  void endAfter(std::size_t count) { bytes_ = bytes_.substr(0, position_ + count); }

  // Goes to the next multiple of 1, 2, 4 or 8.
  bool align(std::size_t alignment) {
    const std::size_t padding = paddingAt(position_, alignment);
    if (padding > remaining()) {
      return fail(Fault::kTruncated);
    }
    for (const std::size_t end = position_ + padding; position_ != end; ++position_) {
      if (bytes_[position_] != 0) {
        return fail(Fault::kPadding);
      }
    }
    return true;
  }

  bool skip(std::size_t count) {
    if (count > remaining()) {
      return fail(Fault::kTruncated);
    }
    position_ += count;
    return true;
  }

  bool take(std::size_t count, std::string_view* taken) {
    if (count > remaining()) {
      return fail(Fault::kTruncated);
    }
    *taken = {bytes_.data() + position_, count};
    position_ += count;
    return true;
  }

  template <typename Number>
  bool number(Number* value) {
    std::string_view bytes;
    if (!align(sizeof *value) || !take(sizeof *value, &bytes)) {
      return false;
    }
    *value = load<Number>(bytes.data(), order_);
    return true;
  }

  // The characters of a string or an object path, unchecked.
  bool string(std::string_view* characters) {
    std::uint32_t length = 0;
    return number(&length) && terminated(length, characters);
  }

  // The characters of a signature, unchecked.
  bool signature(std::string_view* characters) {
    std::uint8_t length = 0;
    return number(&length) && terminated(length, characters);
  }

  // The number of bytes of an array whose first element is at the new position.
  //
  // alignment  of an element
  bool array(std::size_t alignment, std::size_t* size) {
    std::uint32_t announced = 0;
    if (!number(&announced) || !align(alignment)) {
      return false;
    }
    if (announced > remaining()) {
      return fail(Fault::kTruncated);
    }
    if (announced > kLargestArray) {
      return fail(Fault::kArraySize);
    }
    *size = announced;
    return true;
  }

 private:
  bool terminated(std::size_t length, std::string_view* characters) {
    std::string_view terminator;
    return take(length, characters) && take(1, &terminator) &&
           (terminator.front() == 0 || fail(Fault::kTerminator));
  }

  std::string_view bytes_;
  ByteOrder order_;
  Fault fault_ = Fault::kNone;
  std::size_t position_;
};

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_CURSOR_H
