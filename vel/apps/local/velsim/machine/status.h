// Statuses of requests. 0 is success; clients get the others as the service's own statuses.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H

#include <cstdint>

namespace velsim {

enum class Status : std::int32_t {
  kOk = 0,
  kUnknownVm = 1,         // no VM has this number; 0 is never a VM
  kNotConnected = 2,      // the VM is not attached
  kUnknownPipe = 3,       // no pipe of the VM has this handle
  kPipeExists = 4,        // the VM has a pipe with this handle
  kEmptyToken = 5,        // a drive token has at least one byte
  kUnknownDevice = 6,     // no device has this number, source id or text
  kBusy = 7,              // the device is attached, to another VM or at all
  kNotAttached = 8,       // the device is not attached to this VM
  kForbidden = 9,         // by the policy of the device, or by the user
  kUnknownCommand = 10,   // no command has this name or number
  kNotStorage = 11,       // the device has nothing to mount
  kUnknownPrinter = 12,   // no printer has this number, source id, name or address
  kExists = 13,           // the name is in use
  kEmptyText = 14,        // a name, an address or another text is empty
  kBadAddress = 15,       // not an IPv4 address
  kSearchStopped = 16,    // the search was stopped before its end
  kNotSearching = 17,     // no search is running
  kUnknownDriver = 18,    // no printer driver has this name, or none fits
  kUnknownJoystick = 19,  // no joystick is at this position
  kUnknownMapping = 20,   // no mapping is at this position
  kNotRegistered = 21,    // this subscriber is not registered
  kUnknownTest = 22,      // no self-test has this number
  kUnknownFigure = 23,    // only figures of type 1 have a value
  kFull = 24,             // all numbers are in use
};

// In letters, such as "unknown-device".
const char* nameOf(Status status);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H
