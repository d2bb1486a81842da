// Events of the machine as the service sends them: a code, the VM and a record.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_BUS_EVENTS_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_BUS_EVENTS_H

#include <string>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/machine/events.h"
#include "vel/protocol/events.h"

namespace velsim {

using velprotocol::EventCode;

struct BusEvent {
  EventCode code;
  VmNumber vm;  // 0: none
  qxbus::Bytes record;
  std::string vmName = {};  // for people
};

BusEvent busEventOf(const Event& event);

// Mounting concerns other programs than the service's clients too.
bool isBroadcast(const BusEvent& event);
qxbus::Values argumentsOf(const BusEvent& event);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_BUS_EVENTS_H
