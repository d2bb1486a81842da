// One device of the simulated machine.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICE_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICE_H

#include <cstdint>
#include <string>

#include "vel/apps/local/velsim/machine/vm_sessions.h"
#include "vel/protocol/meanings.h"

namespace velsim {

using velprotocol::DeviceStatus;
using velprotocol::DeviceType;
// Other values are kept and have no effect.
using velprotocol::LocalPolicy;

struct Device {
  std::uint16_t number = 0;
  DeviceType type = DeviceType::kGeneric;
  std::uint64_t sourceId = 0;
  std::uint16_t vid = 0;
  std::uint16_t pid = 0;
  std::string name;
  std::string originalName;  // before clients changed it
  std::int16_t policy = 0;   // see LocalPolicy
  std::string policyText;
  DeviceStatus status = DeviceStatus::kAvailable;
  VmNumber vm = 0;               // the VM that it is attached to; 0: none
  bool isMounted = false;        // only storage
  std::int32_t networkType = 0;  // of a network device, as its client gave it
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICE_H
