// Writes D-Bus values byte by byte, in either byte order, and checks nothing.

#ifndef TESTS_WIRE_ENCODER_H
#define TESTS_WIRE_ENCODER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "bus/dbus/wire/byte_order.h"

namespace wiretest {

class Encoder {
 public:
  explicit Encoder(qxbus::wire::ByteOrder order) : order_(order) {}

  const std::string& bytes() const { return bytes_; }

  void pad(std::size_t alignment);
  void byte(unsigned int value) { bytes_ += static_cast<char>(value); }
  // With the padding before it.
  void number(std::uint64_t value, std::size_t size);
  void string(const std::string& text);
  // An array of bytes.
  void block(const std::string& bytes);
  void signature(const std::string& text);
  void append(const std::string& bytes) { bytes_ += bytes; }
  // Puts the number of bytes from a position on where a number of 32 bits stands.
  void setLength(std::size_t where, std::size_t start);

 private:
  qxbus::wire::ByteOrder order_;
  std::string bytes_;
};

}  // namespace wiretest

#endif  // TESTS_WIRE_ENCODER_H
