// State of the simulated machine, one member for each kind of peripheral. Nothing here knows the
// bus.
//
// Notifications of clients are added to the events, later actions to the plans. The owner of the
// state takes both, sends the events and runs the plans.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_MACHINE_STATE_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_MACHINE_STATE_H

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velsim/machine/devices.h"
#include "vel/apps/local/velsim/machine/events.h"
#include "vel/apps/local/velsim/machine/joysticks.h"
#include "vel/apps/local/velsim/machine/number_pool.h"
#include "vel/apps/local/velsim/machine/policies.h"
#include "vel/apps/local/velsim/machine/print_queues.h"
#include "vel/apps/local/velsim/machine/printers.h"
#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/shared_printers.h"
#include "vel/apps/local/velsim/machine/stream_reports.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

class MachineState {
 public:
  struct Plan {
    std::chrono::milliseconds after;
    std::function<void(MachineState&)> action;
  };

  explicit MachineState(Setup given) : setup(std::move(given)) {}
  MachineState(const MachineState&) = delete;
  MachineState& operator=(const MachineState&) = delete;

  const Setup setup;

  Events events;
  NumberPool numbers{setup.firstPluggedNumber};

  VmSessions vms{setup.vms};
  Devices devices{setup, numbers, events};
  Printers printers{setup, numbers, events};
  SharedPrinters sharedPrinters{setup.sharedPrinters};
  PrintQueues printQueues{setup};
  Policies policies{setup.policies};
  Joysticks joysticks{setup.joysticks};
  StreamReports streamReports;

  // Plugs in a device. Devices of a type with auto-connect are attached to the VM that has the
  // focus, else to any attached VM. Null when all numbers are in use.
  const Device* plug(DeviceType type, const std::string& name);
  Status addNetworkDevice(std::int32_t type, const std::string& text);

  void plan(std::chrono::milliseconds after, std::function<void(MachineState&)> action) {
    plans_.push_back({after, std::move(action)});
  }
  std::vector<Plan> takePlans() { return std::exchange(plans_, {}); }

  // Completes any change of the state: when the session of a VM has ended, releases the devices and
  // printers that were attached to the VM, and drops its reports.
  void settle();

  // Undoes all changes by clients.
  void reset();

 private:
  void autoConnect(std::uint16_t device);

  std::vector<Plan> plans_;
  std::set<VmNumber> attachedVms_;  // at the last call of settle()
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_MACHINE_STATE_H
