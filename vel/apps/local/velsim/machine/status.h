// The statuses that the simulated service answers. 0 is success; a client passes the others on as
// the service's own.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H

#include <cstdint>

namespace velsim {

enum class Status : std::int32_t {
  kOk = 0,
  kUnknownVm = 1,         // no VM has this number; 0 never is one
  kNotConnected = 2,      // the VM is not attached
  kUnknownPipe = 3,       // no pipe of the VM has this handle
  kPipeExists = 4,        // the VM has a pipe with this handle
  kEmptyToken = 5,        // a drive token has at least one byte
  kUnknownDevice = 6,     // no device has this number, source id or text
  kBusy = 7,              // it is attached, to another VM or at all
  kNotAttached = 8,       // it is not attached to this VM
  kForbidden = 9,         // its policy, or the person at the machine, forbids it
  kUnknownCommand = 10,   // there is no such command
  kNotStorage = 11,       // the device has nothing to mount
  kUnknownPrinter = 12,   // no printer has this number, source id, name or address
  kExists = 13,           // there is one of this name already
  kEmptyText = 14,        // a name, an address or the like is empty
  kBadAddress = 15,       // not an IPv4 address
  kSearchStopped = 16,    // the search was stopped before it was done
  kNotSearching = 17,     // there is no search to stop
  kUnknownDriver = 18,    // no printer driver has this name, or none fits
  kUnknownJoystick = 19,  // no joystick is at this position
  kUnknownMapping = 20,   // no mapping is at this position
  kNotRegistered = 21,    // this subscriber is not registered
  kUnknownTest = 22,      // no self-test has this number
  kUnknownFigure = 23,    // only figures of type 1 have a value
  kFull = 24,             // no number is left for another one
};

// The same in letters, such as "unknown-device".
const char* nameOf(Status status);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H
