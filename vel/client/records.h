// What the service reports, as values. Texts are UTF-8: bytes that are not are replaced by U+FFFD.
// A record that the service has sent too short leaves its last members 0 or empty.
//
// An enumeration names the numbers that have a meaning and may hold any other: number(value)
// returns it, name(value) a word, empty for a number without a meaning.
//
// Members under "as velsim sends them" stand in bytes that the interface leaves to the service:
// another service may use them otherwise.

#ifndef VEL_CLIENT_RECORDS_H
#define VEL_CLIENT_RECORDS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "vel/client/numbers.h"
#include "vel/protocol/meanings.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

// vel/protocol/meanings.h lists the numbers. kAttached is the interface's, the others are velsim's.
using velprotocol::CameraStatus;
using velprotocol::DeviceStatus;
using velprotocol::DeviceType;
using velprotocol::DiagnosisStatus;
using velprotocol::LocalPolicy;

// The number behind an enumerator, also behind one that has no name.
template <typename Enumeration, typename = std::enable_if_t<std::is_enum_v<Enumeration>>>
constexpr std::underlying_type_t<Enumeration> number(Enumeration value) {
  return static_cast<std::underlying_type_t<Enumeration>>(value);
}

// "attached", "storage"; empty for a number that has no meaning.
template <typename Enumeration, typename = std::enable_if_t<std::is_enum_v<Enumeration>>>
constexpr std::string_view name(Enumeration value) {
  return nameOf(value);
}

// A VM session that the service knows.
struct Vm {
  std::string name;
  VmNumber number;
};

// A VM session, as Client::connectVm announces it.
struct VmSession {
  std::string vm;
  std::int32_t systemType = 0;    // operating system, in the service's numbers
  std::int32_t shareMode = 0;     // in the service's numbers
  std::int32_t connectParam = 0;  // further parameter for the service
  // Only logged.
  std::uint32_t sessionId = 0;
  std::uint32_t kstMajorVersion = 0;
  std::uint32_t kstMinorVersion = 0;
  // Takes part in the session of another client, which attaches the service: connectVm refuses.
  bool isCollaborator = false;
};

// A data pipe of a VM session.
struct Pipe {
  std::string vm;
  std::uint64_t handle = 0;
  std::string name1;  // at most 128 bytes without a NUL, as name2
  std::string name2;
};

struct Device {
  DeviceNumber number;
  std::string name;
  DeviceStatus status = DeviceStatus::kGone;
  LocalPolicy policy = LocalPolicy::kNone;
  std::string policyText;
  // The VM that it is attached to; its name is empty while this process has not learned it.
  VmNumber vmNumber;
  std::string vm;

  // As velsim sends them.
  SourceId source;
  UsbId usb;
  DeviceType type = {};
  bool isMounted = false;

  bool isAttached() const { return status == DeviceStatus::kAttached; }
};

// A printer of this machine.
struct Printer {
  PrinterNumber number;
  std::string name;
  DeviceStatus status = DeviceStatus::kGone;
  VmNumber vmNumber;
  std::string vm;

  bool isAttached() const { return status == DeviceStatus::kAttached; }
};

// A printer that is reached over the network.
struct NetworkPrinter {
  DeviceNumber number;
  std::string name;
  std::string address;  // as velsim sends it
  DeviceStatus status = DeviceStatus::kGone;
  VmNumber vmNumber;
  std::string vm;
  LocalPolicy policy = LocalPolicy::kNone;
};

// A printer that another machine shares. Each text has at most 127 bytes.
struct SharedPrinter {
  std::string address;
  std::string name;
  std::string description;
};

// A USB device, as the client's own USB channel identifies it. The library does not read it.
struct UsbDevice {
  std::array<unsigned char, 8> bytes = {};
};

// The policy for a USB vendor and product id, as velsim sends it.
struct UsbPolicy {
  UsbId usb;
  DeviceType type = {};
  std::optional<std::int32_t> property;    // set by a client
  std::optional<std::string> turboConfig;  // set by a client
};

struct Joystick {
  JoystickIndex index;
  // The record, which the interface does not interpret.
  std::array<unsigned char, 138> bytes = {};

  // As velsim sends them.
  std::string name;
  UsbId usb;
  MappingIndex mapping;
  bool isCalibrated = false;
};

// A mapping of a joystick's buttons and axes.
struct JoystickMapping {
  MappingIndex index;
  std::array<unsigned char, 130> bytes = {};

  // As velsim sends it.
  std::string name;
};

struct JoystickResult {
  std::array<unsigned char, 146> bytes = {};
};

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_RECORDS_H
