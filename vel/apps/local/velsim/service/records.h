// The blocks of bytes in which the service tells of its things. Little-endian; texts end at the
// first NUL and are cut, between characters, when their field is too short. What is not named here
// is zero.
//
// Device, 936 bytes: a device, and a network printer
//   offset  size  value
//        0     2  number
//        2     2  1: mounted on this machine, otherwise 0
//        8     2  status, see DeviceStatus
//       10     2  local policy, see LocalPolicy
//       12     8  source id
//       20     4  number of the VM that it is attached to, or 0
//       24     2  USB vendor id
//       26     2  USB product id
//       28     2  type, see DeviceType
//      296   128  name
//      424   256  text of the policy; of a network printer its address
//      680   256  zero: room for the client to write the name of the VM
//
// Printer, 144 bytes
//        0     2  number
//        8     4  number of the VM that it is attached to, or 0
//       12     4  status, as for a device
//       16   128  name
//
// New-device result, 340 bytes
//        0     2  USB vendor id
//        2     2  USB product id
//        4     8  source id
//       18     2  1: it succeeded, otherwise 0
//       20   256  name of the device
//      276    64  what became of it, see nameOf(Status)
//
// Diagnosis, 17 bytes and the text
//        0     8  source id, or number of the device
//        8     4  status, see DiagnosisStatus
//       12     4  number of the VM
//       16        text, with its NUL
//
// Answer to a service command: a text, with its NUL
//
// Policy by vendor and product id, 268 bytes
//        0     2  USB vendor id
//        2     2  USB product id
//        4     2  type of the device
//        6     2  1: a client has set the property, 2: the turbo text, 3: both
//        8     4  property
//       12   256  turbo text
//
// Joystick, 138 bytes
//        0     2  position in the list
//        2     2  USB vendor id
//        4     2  USB product id
//        6     2  position of its mapping
//        8     2  1: calibrated, otherwise 0
//       10   128  name
//
// Joystick mapping, 130 bytes
//        0     2  position in the list
//        2   128  name

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_RECORDS_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/machine/events.h"
#include "vel/apps/local/velsim/machine/joysticks.h"
#include "vel/apps/local/velsim/machine/policies.h"

namespace velsim {

constexpr std::size_t kDeviceRecordSize = 936;
constexpr std::size_t kPrinterRecordSize = 144;
constexpr std::size_t kNewDeviceResultSize = 340;
constexpr std::size_t kDiagnosisHeaderSize = 16;
constexpr std::size_t kVidPidPolicyRecordSize = 268;
constexpr std::size_t kJoystickRecordSize = 138;
constexpr std::size_t kJoystickMappingRecordSize = 130;

qxbus::Bytes recordOf(const Device& device);
qxbus::Bytes recordOf(const Printer& printer);
// A network printer in a list of devices.
qxbus::Bytes deviceRecordOf(const Printer& printer);
qxbus::Bytes recordOf(const VidPidPolicy& policy);
qxbus::Bytes recordOf(std::uint16_t position, const Joystick& joystick);
qxbus::Bytes joystickMappingRecord(std::uint16_t position, const std::string& name);
qxbus::Bytes recordOf(const NewDeviceResult& result);
qxbus::Bytes recordOf(const DiagnosisStep& step, VmNumber vm);
qxbus::Bytes recordOf(const CommandAnswer& answer);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_RECORDS_H
