// Events of the simulated machine: changes and results of which clients are notified. Each holds
// the state of its subject at the time of the event.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_EVENTS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_EVENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "vel/apps/local/velsim/machine/device.h"
#include "vel/apps/local/velsim/machine/printer.h"
#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/status.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

enum class DeviceChange {
  kPlugged,
  kUnplugged,
  kAttached,
  kDetached,
  kAltered,  // name, policy, or ignored
  kMounted,
  kUnmounted,
};

struct DeviceEvent {
  DeviceChange change;
  Device device;
};

// The status of the printer shows whether it was removed, and whether it is attached.
struct PrinterEvent {
  Printer printer;
};

// The result of a request for a device that the user has just plugged in, or for storage.
enum class NewDeviceRequest { kAttach, kIgnore, kStorageCommand };

struct NewDeviceResult {
  NewDeviceRequest request;
  std::optional<Device> device;  // before the request; empty when no device has the source id
  std::uint64_t sourceId;
  Status status;
};

struct DiagnosisStep {
  std::uint64_t id;  // source id or number, as the client named the subject
  DiagnosisStatus status;
  std::string text;
};

struct CommandAnswer {
  std::string text;
};

struct Event {
  VmNumber vm;  // the VM concerned; 0: none
  std::variant<DeviceEvent, PrinterEvent, NewDeviceResult, DiagnosisStep, CommandAnswer> content;
};

// The events that have not been sent yet, in their order.
class Events {
 public:
  template <typename Content>
  void add(VmNumber vm, Content content) {
    events_.push_back({vm, std::move(content)});
  }
  std::vector<Event> take() { return std::exchange(events_, {}); }

 private:
  std::vector<Event> events_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_EVENTS_H
