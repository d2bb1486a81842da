// The records of the service as blocks of bytes, with the layouts of vel/protocol/records.h. Texts
// are cut, between characters, when their field is too short; what is not set is zero.

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
