// What the simulated service tells its clients without being asked.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_EVENTS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_EVENTS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bus/dbus/value.h"

namespace velsim {

// Records are described in records.h.
enum class EventCode : std::int32_t {
  kPrinterChanged = 1,     // printer: its status says whether it is there, and whether attached
  kNewDeviceAttached = 2,  // new-device result: what became of attaching it
  kNewDeviceIgnored = 3,   // new-device result: what became of ignoring it
  kDevicePlugged = 4,      // device
  kDeviceUnplugged = 5,    // device
  kDeviceAttached = 6,     // device, for the VM it is attached to
  kDeviceDetached = 7,     // device, for the VM it was attached to
  kStorageCommand = 8,     // new-device result: what became of a command for a storage device
  kDiagnosis = 9,          // diagnosis
  kDeviceChanged = 10,     // device: name, policy, or whether it is ignored
  kMounted = 64,           // device; broadcast
  kUnmounted = 65,         // device; broadcast
  kCommandAnswer = 66,     // answer to a service command
};

struct Event {
  EventCode code;
  std::uint32_t vm;  // number of the VM that it is about; 0: about none
  qxbus::Bytes record;
};

// Storage that is mounted concerns more than the service's clients.
bool isBroadcast(const Event& event);
qxbus::Values argumentsOf(const Event& event);
// On one line.
std::string describe(const Event& event);

// The events that have not been sent yet, in their order.
class Events {
 public:
  void add(EventCode code, std::uint32_t vm, qxbus::Bytes record) {
    events_.push_back({code, vm, std::move(record)});
  }
  std::vector<Event> take() { return std::exchange(events_, {}); }

 private:
  std::vector<Event> events_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_EVENTS_H
