// Events of the machine as the service sends them: a code, the VM and a record.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_BUS_EVENTS_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_BUS_EVENTS_H

#include <cstdint>
#include <string>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/machine/events.h"

namespace velsim {

// Records are described in records.h.
enum class EventCode : std::int32_t {
  kPrinterChanged = 1,     // printer
  kNewDeviceAttached = 2,  // new-device result
  kNewDeviceIgnored = 3,   // new-device result
  kDevicePlugged = 4,      // device
  kDeviceUnplugged = 5,    // device
  kDeviceAttached = 6,     // device, for the VM it is attached to
  kDeviceDetached = 7,     // device, for the VM it was attached to
  kStorageCommand = 8,     // new-device result
  kDiagnosis = 9,          // diagnosis
  kDeviceChanged = 10,     // device
  kMounted = 64,           // device; broadcast
  kUnmounted = 65,         // device; broadcast
  kCommandAnswer = 66,     // answer to a service command
};

struct BusEvent {
  EventCode code;
  VmNumber vm;  // 0: none
  qxbus::Bytes record;
};

BusEvent busEventOf(const Event& event);

// Mounting concerns other programs than the service's clients too.
bool isBroadcast(const BusEvent& event);
qxbus::Values argumentsOf(const BusEvent& event);
// On one line.
std::string describe(const BusEvent& event);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_BUS_EVENTS_H
