// The numbers by which the service identifies its subjects. Each has a type of its own, so that one
// cannot take the place of another:
//
//   client.attach("win11", vel::DeviceNumber(12));
//   client.attach("win11", vel::PrinterNumber(12));   // another subject, another method

#ifndef VEL_CLIENT_NUMBERS_H
#define VEL_CLIENT_NUMBERS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>

#include "vel/client/expected.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

template <typename Subject, typename Representation>
class Number {
 public:
  using Value = Representation;

  constexpr Number() = default;
  constexpr explicit Number(Representation value) : value_(value) {}

  constexpr Representation value() const { return value_; }

  friend constexpr bool operator==(Number a, Number b) { return a.value_ == b.value_; }
  friend constexpr bool operator!=(Number a, Number b) { return a.value_ != b.value_; }
  friend constexpr bool operator<(Number a, Number b) { return a.value_ < b.value_; }
  friend constexpr bool operator>(Number a, Number b) { return b < a; }
  friend constexpr bool operator<=(Number a, Number b) { return !(b < a); }
  friend constexpr bool operator>=(Number a, Number b) { return !(a < b); }
  friend std::ostream& operator<<(std::ostream& out, Number number) { return out << number.value_; }

 private:
  Representation value_ = 0;
};

// The service's number of a VM, valid until the service dies; 0: this machine, or no VM.
using VmNumber = Number<struct VmSubject, std::uint32_t>;
using DeviceNumber = Number<struct DeviceSubject, std::uint16_t>;
using PrinterNumber = Number<struct PrinterSubject, std::uint16_t>;
// Where a device comes from, also while it has no number yet.
using SourceId = Number<struct SourceSubject, std::uint64_t>;
// Positions in the lists of joysticks() and joystickMappings().
using JoystickIndex = Number<struct JoystickSubject, std::uint16_t>;
using MappingIndex = Number<struct MappingSubject, std::uint16_t>;
// A port channel of a VM session.
using PortNumber = Number<struct PortSubject, std::uint32_t>;
// A window of the client, in its window system's numbers.
using WindowId = Number<struct WindowSubject, std::uint64_t>;

// USB vendor and product id.
struct UsbId {
  std::uint16_t vendor = 0;
  std::uint16_t product = 0;

  friend constexpr bool operator==(UsbId a, UsbId b) {
    return a.vendor == b.vendor && a.product == b.product;
  }
  friend constexpr bool operator!=(UsbId a, UsbId b) { return !(a == b); }
  friend constexpr bool operator<(UsbId a, UsbId b) {
    return a.vendor != b.vendor ? a.vendor < b.vendor : a.product < b.product;
  }
};

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

template <typename Subject, typename Representation>
struct std::hash<vel::Number<Subject, Representation>> {
  std::size_t operator()(vel::Number<Subject, Representation> number) const noexcept {
    return std::hash<Representation>()(number.value());
  }
};

template <>
struct std::hash<vel::UsbId> {
  std::size_t operator()(vel::UsbId usb) const noexcept {
    return std::hash<std::uint32_t>()(std::uint32_t{usb.vendor} << 16U | usb.product);
  }
};

#endif  // VEL_CLIENT_NUMBERS_H
