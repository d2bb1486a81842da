// The events that vel::Client passes on. Each is a value, which a callback may keep.

#ifndef VEL_CLIENT_EVENTS_H
#define VEL_CLIENT_EVENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vel/client/error.h"
#include "vel/client/numbers.h"
#include "vel/client/records.h"
#include "vel/protocol/events.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

// What has happened: name(code) is a text such as "device attached".
using velprotocol::EventCode;

// Of every event that the service sends. The library hands a broadcast event, such as a mount, on
// once for each time that it has connected: a subscriber receives it once.
struct Event {
  EventCode code = {};
  // The VM concerned; 0 and empty: none, or not known.
  VmNumber vmNumber;
  std::string vm;
};

// Codes kDevicePlugged to kDeviceDetached, kDeviceChanged, kMounted, kUnmounted.
struct DeviceEvent : Event {
  Device device;
};

// Code kPrinterChanged. Its status shows whether the printer was removed or attached.
struct PrinterEvent : Event {
  Printer printer;
};

// The result of attachNewDevice, ignoreNewDevice or commandStorage (codes kNewDeviceAttached,
// kNewDeviceIgnored, kStorageCommand), and events with a code that is not listed.
struct NewDeviceEvent : Event {
  UsbId usb;
  bool isSuccess = false;
  std::string name;    // of the device
  std::string result;  // in the service's words

  // As velsim sends it.
  SourceId source;
};

// Progress of a diagnosis.
struct DiagnosisEvent : Event {
  std::uint64_t id = 0;  // source id or device number, as the diagnosis named its subject
  DiagnosisStatus status = DiagnosisStatus::kFine;
  std::string text;
};

// The answer to a service command: bytes whose meaning is the service's, or none.
struct CommandEvent : Event {
  std::optional<std::string> answer;
};

// What Client::announceJoystick hands on: the service sends no such event.
struct JoystickEvent {
  std::uint16_t code = 0;
  JoystickResult result;
};

// The service has died.
struct ServiceDeath {
  // The VMs that this process has named to it. Their sessions have ended.
  std::vector<std::string> vms;
};

struct SessionEnd {
  std::string vm;
};

// A service is there again, and the client connected to it. When a service dies soon after the one
// before it, their returns may be reported in either order.
struct ServiceReturn {
  // Those of the ServiceDeath that the new service knows, and those of an earlier one that the
  // service in between could not be asked for: their events arrive again. Their sessions
  // have to be connected anew.
  std::vector<std::string> vms;
  // Whether joystick results were subscribed to again; empty without a subscriber.
  std::optional<bool> joysticks;
  // Why VMs or joysticks are missing above.
  std::vector<Error> failures;
};

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_EVENTS_H
