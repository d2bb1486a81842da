// The records that travel on the bus as blocks of bytes.
//
// One namespace per record: its fields, then kLayout. A field that is marked kClient stands where
// the client library expects it; kService fields are velsim's use of bytes that the client library
// passes on unread, and another service may use them otherwise.

#ifndef VEL_PROTOCOL_RECORDS_H
#define VEL_PROTOCOL_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vel/protocol/layout.h"

namespace velprotocol {

// Status of a device or printer that is attached to a VM. The client library writes the name of the
// VM into the records of such devices.
constexpr std::uint16_t kAttachedStatus = 2;

namespace pipe {
inline constexpr NumberField<std::uint32_t> kVm{"vmId", 0, FixedBy::kClient, "number of its VM"};
inline constexpr NumberField<std::uint64_t> kHandle{"handle", 4, FixedBy::kClient, "handle"};
inline constexpr TextField kName1{"name1", 12, 128, FixedBy::kClient, "zero-padded"};
inline constexpr TextField kName2{"name2", 140, 128, FixedBy::kClient, "zero-padded"};
inline constexpr Field kFields[] = {kVm, kHandle, kName1, kName2};
inline constexpr Layout kLayout{"Pipe", "_CHANNEL_HANDLE", BlockSize::kExact,
                                "A data pipe of a VM session.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 268, "Pipe has a wrong layout");
}  // namespace pipe

namespace device {
inline constexpr NumberField<std::uint16_t> kNumber{"devNumber", 0, FixedBy::kClient,
                                                    "number of the device"};
inline constexpr NumberField<std::uint16_t> kIsMounted{"isMounted", 2, FixedBy::kService,
                                                       "1: mounted on this machine, otherwise 0"};
inline constexpr ReservedField kReserved1{4, 4, FixedBy::kService};
inline constexpr NumberField<std::uint16_t> kStatus{
    "status", 8, FixedBy::kClient,
    "2: attached to the VM in vmId; of velsim also 0: gone, 1: available, 3: ignored"};
inline constexpr NumberField<std::int16_t> kPolicy{"policy", 10, FixedBy::kClient, "local policy"};
inline constexpr NumberField<std::uint64_t> kSourceId{"sourceId", 12, FixedBy::kService,
                                                      "source id"};
inline constexpr NumberField<std::uint32_t> kVm{"vmId", 20, FixedBy::kClient,
                                                "number of the VM it is attached to, or 0"};
inline constexpr NumberField<std::uint16_t> kVid{"vid", 24, FixedBy::kService, "USB vendor id"};
inline constexpr NumberField<std::uint16_t> kPid{"pid", 26, FixedBy::kService, "USB product id"};
inline constexpr NumberField<std::uint16_t> kType{"type", 28, FixedBy::kService,
                                                  "type of the device"};
inline constexpr ReservedField kReserved2{30, 266, FixedBy::kService};
inline constexpr TextField kName{"name", 296, 128, FixedBy::kClient, "name"};
inline constexpr TextField kPolicyText{
    "policyText", 424, 256, FixedBy::kClient,
    "text of the policy; in the records of network printers the address"};
inline constexpr TextField kVmIdText{
    "vmIdText", 680, 256, FixedBy::kClient,
    "room for the client library, which writes the name of the VM here in an answer to "
    "getDeviceList when status is 2"};
inline constexpr Field kFields[] = {kNumber,    kIsMounted, kReserved1,  kStatus,  kPolicy,
                                    kSourceId,  kVm,        kVid,        kPid,     kType,
                                    kReserved2, kName,      kPolicyText, kVmIdText};
inline constexpr Layout kLayout{"Device", "CommonDevice", BlockSize::kServices,
                                "A device, or a network printer.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 936, "Device has a wrong layout");
}  // namespace device

namespace printer {
inline constexpr NumberField<std::uint16_t> kNumber{"devNum", 0, FixedBy::kClient,
                                                    "number of the printer"};
inline constexpr ReservedField kReserved{2, 6, FixedBy::kService};
inline constexpr NumberField<std::int32_t> kVm{"vmId", 8, FixedBy::kClient,
                                               "number of the VM it is attached to, or 0"};
inline constexpr NumberField<std::int32_t> kStatus{"status", 12, FixedBy::kClient,
                                                   "as the status of a device"};
inline constexpr TextField kName{"name", 16, 128, FixedBy::kClient, "name"};
inline constexpr Field kFields[] = {kNumber, kReserved, kVm, kStatus, kName};
inline constexpr Layout kLayout{"Printer", "PrinterDevice", BlockSize::kServices, "A printer.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 144, "Printer has a wrong layout");
}  // namespace printer

namespace new_device_result {
inline constexpr NumberField<std::uint16_t> kVid{"vid", 0, FixedBy::kClient, "USB vendor id"};
inline constexpr NumberField<std::uint16_t> kPid{"pid", 2, FixedBy::kClient, "USB product id"};
inline constexpr NumberField<std::uint64_t> kSourceId{"sourceId", 4, FixedBy::kService,
                                                      "source id"};
inline constexpr ReservedField kReserved{12, 6, FixedBy::kService};
inline constexpr NumberField<std::uint16_t> kIsSuccess{"isSuccess", 18, FixedBy::kClient,
                                                       "not 0: success"};
inline constexpr TextField kName{"name", 20, 256, FixedBy::kClient, "name of the device"};
inline constexpr TextField kCode{"code", 276, 64, FixedBy::kClient,
                                 "result; of velsim the name of a status, such as unknown-device"};
inline constexpr Field kFields[] = {kVid, kPid, kSourceId, kReserved, kIsSuccess, kName, kCode};
inline constexpr Layout kLayout{"NewDeviceResult", "_ConfigNewDeviceResult", BlockSize::kServices,
                                "The result of configuring a new device, or of a storage command.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 340, "NewDeviceResult has a wrong layout");
}  // namespace new_device_result

namespace diagnosis {
inline constexpr NumberField<std::uint64_t> kId{
    "id", 0, FixedBy::kClient, "source id of diagnose, device number of diagnoseDevice"};
inline constexpr NumberField<std::uint32_t> kStatus{
    "status", 8, FixedBy::kClient, "of velsim 0: no trouble found, 1: running, 2: trouble found"};
inline constexpr NumberField<std::uint32_t> kVm{"vmId", 12, FixedBy::kClient, "number of the VM"};
inline constexpr TextField kText{"text", 16, kToTheEnd, FixedBy::kClient, "progress or result"};
inline constexpr Field kFields[] = {kId, kStatus, kVm, kText};
inline constexpr Layout kLayout{"Diagnosis", "", BlockSize::kServices,
                                "Progress of a diagnosis. The client library drops a block of less "
                                "than 16 bytes.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 16, "Diagnosis has a wrong layout");
}  // namespace diagnosis

namespace command_answer {
inline constexpr TextField kText{"text", 0, kToTheEnd, FixedBy::kService, "a JSON text"};
inline constexpr Field kFields[] = {kText};
inline constexpr Layout kLayout{"CommandAnswer", "CmdResponse", BlockSize::kServices,
                                "The answer to a service command.", kFields};
static_assert(kLayout.isGapless(), "CommandAnswer has a wrong layout");
}  // namespace command_answer

namespace vid_pid_policy {
inline constexpr NumberField<std::uint16_t> kVid{"vid", 0, FixedBy::kService, "USB vendor id"};
inline constexpr NumberField<std::uint16_t> kPid{"pid", 2, FixedBy::kService, "USB product id"};
inline constexpr NumberField<std::uint16_t> kType{"type", 4, FixedBy::kService,
                                                  "type of the device"};
inline constexpr NumberField<std::uint16_t> kIsSet{
    "isSet", 6, FixedBy::kService, "set by a client: 1: property, 2: turbo text, 3: both"};
inline constexpr NumberField<std::int32_t> kProperty{"property", 8, FixedBy::kService, "property"};
inline constexpr TextField kTurboText{"turboText", 12, 256, FixedBy::kService,
                                      "turbo configuration"};
inline constexpr Field kFields[] = {kVid, kPid, kType, kIsSet, kProperty, kTurboText};
inline constexpr Layout kLayout{"VidPidPolicy", "CommonVidPidPolicy", BlockSize::kServices,
                                "The policy for a USB vendor and product id.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 268, "VidPidPolicy has a wrong layout");
}  // namespace vid_pid_policy

namespace usb_identity {
inline constexpr BytesField kBytes{"bytes", 0, 8, FixedBy::kClient,
                                   "as the client's USB channel identifies the device"};
inline constexpr Field kFields[] = {kBytes};
inline constexpr Layout kLayout{"UsbIdentity", "UDevInfo", BlockSize::kExact,
                                "A USB device that a client redirects itself.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 8, "UsbIdentity has a wrong layout");
}  // namespace usb_identity

namespace joystick {
inline constexpr NumberField<std::uint16_t> kPosition{"position", 0, FixedBy::kService,
                                                      "position in the list"};
inline constexpr NumberField<std::uint16_t> kVid{"vid", 2, FixedBy::kService, "USB vendor id"};
inline constexpr NumberField<std::uint16_t> kPid{"pid", 4, FixedBy::kService, "USB product id"};
inline constexpr NumberField<std::uint16_t> kMapping{"mapping", 6, FixedBy::kService,
                                                     "position of its mapping"};
inline constexpr NumberField<std::uint16_t> kIsCalibrated{"isCalibrated", 8, FixedBy::kService,
                                                          "1: calibrated, otherwise 0"};
inline constexpr TextField kName{"name", 10, 128, FixedBy::kService, "name"};
inline constexpr Field kFields[] = {kPosition, kVid, kPid, kMapping, kIsCalibrated, kName};
inline constexpr Layout kLayout{"Joystick", "JoystickDevice", BlockSize::kExact, "A joystick.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 138, "Joystick has a wrong layout");
}  // namespace joystick

namespace joystick_mapping {
inline constexpr NumberField<std::uint16_t> kPosition{"position", 0, FixedBy::kService,
                                                      "position in the list"};
inline constexpr TextField kName{"name", 2, 128, FixedBy::kService, "name"};
inline constexpr Field kFields[] = {kPosition, kName};
inline constexpr Layout kLayout{"JoystickMapping", "JoystickMapping", BlockSize::kExact,
                                "A mapping of a joystick's buttons and axes.", kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 130, "JoystickMapping has a wrong layout");
}  // namespace joystick_mapping

namespace joystick_result {
inline constexpr BytesField kBytes{"bytes", 0, 146, FixedBy::kService, "not used by velsim"};
inline constexpr Field kFields[] = {kBytes};
inline constexpr Layout kLayout{"JoystickResult", "_JoystickResult", BlockSize::kExact,
                                "A result for joystick callbacks. No method or event carries one: "
                                "the client hands it to the client library.",
                                kFields};
static_assert(kLayout.isGapless() && kLayout.size() == 146, "JoystickResult has a wrong layout");
}  // namespace joystick_result

inline constexpr const Layout* kRecords[] = {
    &pipe::kLayout,
    &device::kLayout,
    &printer::kLayout,
    &new_device_result::kLayout,
    &diagnosis::kLayout,
    &command_answer::kLayout,
    &vid_pid_policy::kLayout,
    &usb_identity::kLayout,
    &joystick::kLayout,
    &joystick_mapping::kLayout,
    &joystick_result::kLayout,
};

// Null when no record has this name.
constexpr const Layout* findRecord(std::string_view name) {
  for (const Layout* const record : kRecords) {
    if (record->name() == name) {
      return record;
    }
  }
  return nullptr;
}

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_RECORDS_H
