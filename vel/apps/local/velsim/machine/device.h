// One device of the simulated machine.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICE_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_DEVICE_H

#include <cstdint>
#include <string>

#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

// Of a device, and of a printer.
enum class DeviceStatus : std::uint16_t {
  kGone = 0,       // only in the event that reports the removal
  kAvailable = 1,  // at this machine
  kAttached = 2,   // to a VM
  kIgnored = 3,    // at this machine, and the user wants it left alone
};

enum class DeviceType : std::uint16_t {
  kStorage = 1,
  kCamera = 2,
  kTablet = 3,
  kPrinterClass = 4,
  kGeneric = 5,
  kNetwork = 6,         // added by a client
  kNetworkPrinter = 7,  // a network printer in a list of devices
};

// A device's local policy. Other values are kept and have no effect.
enum class LocalPolicy : std::int16_t {
  kNone = 0,
  kAllowed = 1,
  kForbidden = 2,  // attaching the device is refused
};

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
