// All that the simulated service knows, one member per kind of thing. Nothing here knows the bus.
//
// What clients are to be told is added to events; what is to happen later, to the plans. Whoever
// owns the state takes both away and sees to them.
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

  MachineState() = default;
  MachineState(const MachineState&) = delete;
  MachineState& operator=(const MachineState&) = delete;

  Events events;
  NumberPool numbers;

  VmSessions vms;
  Devices devices{numbers, events};
  Printers printers{numbers, events};
  SharedPrinters sharedPrinters;
  PrintQueues printQueues;
  Policies policies;
  Joysticks joysticks;
  StreamReports streamReports;

  // Plugs a device in and attaches it to the VM that has the focus, or else to any VM that a client
  // has attached, if devices of its type are to be. Null when no number is left.
  const Device* plug(DeviceType type, const std::string& name);
  Status addNetworkDevice(std::int32_t type, const std::string& text);

  void plan(std::chrono::milliseconds after, std::function<void(MachineState&)> action) {
    plans_.push_back({after, std::move(action)});
  }
  std::vector<Plan> takePlans() { return std::exchange(plans_, {}); }

  // Draws the conclusions of a change, whoever made it: what was attached to a VM whose session has
  // ended comes back, and its reports are forgotten.
  void settle();

  // Forgets what clients have done.
  void reset();

 private:
  void autoConnect(std::uint16_t device);

  std::vector<Plan> plans_;
  std::set<VmNumber> attachedVms_;  // when it was settled last
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_MACHINE_STATE_H
