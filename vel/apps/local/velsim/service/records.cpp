#include "vel/apps/local/velsim/service/records.h"

#include <cstddef>
#include <type_traits>

#include "base/utf8.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using namespace velprotocol;

class Record {
 public:
  // textSize  size of the last field, if it has none of its own
  explicit Record(const Layout& layout, std::size_t textSize = 0)
      : bytes_(layout.size() + textSize) {}

  template <typename Value>
  Record& put(const NumberField<Value>& field, std::common_type_t<Value> value) {
    write(bytes_, field, value);
    return *this;
  }

  // The field keeps one NUL at least.
  Record& put(const TextField& field, const std::string& text) {
    const std::size_t size = field.size != kToTheEnd ? field.size : bytes_.size() - field.offset;
    write(bytes_, field, base::cutBetweenCharacters(text, size - 1));
    return *this;
  }

  Bytes bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

static_assert(static_cast<std::uint16_t>(DeviceStatus::kAttached) == velprotocol::kAttachedStatus);

// The fields that devices and network printers share.
Record deviceRecord(std::uint16_t number, DeviceStatus status, std::uint64_t sourceId,
                    std::uint32_t vm, const std::string& name, const std::string& policyText) {
  return Record(device::kLayout)
      .put(device::kNumber, number)
      .put(device::kStatus, static_cast<std::uint16_t>(status))
      .put(device::kSourceId, sourceId)
      .put(device::kVm, vm)
      .put(device::kName, name)
      .put(device::kPolicyText, policyText);
}

}  // namespace

Bytes recordOf(const Device& given) {
  return deviceRecord(given.number, given.status, given.sourceId, given.vm, given.name,
                      given.policyText)
      .put(device::kIsMounted, given.isMounted)
      .put(device::kPolicy, given.policy)
      .put(device::kVid, given.vid)
      .put(device::kPid, given.pid)
      .put(device::kType, static_cast<std::uint16_t>(given.type))
      .bytes();
}

Bytes recordOf(const Printer& given) {
  const bool isInTrouble =
      given.trouble != PrinterTrouble::kNone && given.status != DeviceStatus::kGone;
  return Record(printer::kLayout)
      .put(printer::kNumber, given.number)
      .put(printer::kVm, static_cast<std::int32_t>(given.vm))
      .put(printer::kStatus, isInTrouble ? static_cast<std::int32_t>(given.trouble)
                                         : static_cast<std::int32_t>(given.status))
      .put(printer::kName, given.name)
      .bytes();
}

Bytes deviceRecordOf(const Printer& given) {
  return deviceRecord(given.number, given.status, given.sourceId, given.vm, given.name,
                      given.address)
      .put(device::kType, static_cast<std::uint16_t>(DeviceType::kNetworkPrinter))
      .bytes();
}

Bytes recordOf(const VidPidPolicy& policy) {
  constexpr unsigned kPropertyIsSet = 1;
  constexpr unsigned kTurboTextIsSet = 2;
  const unsigned isSet =
      (policy.property ? kPropertyIsSet : 0) | (policy.turboText ? kTurboTextIsSet : 0);
  return Record(vid_pid_policy::kLayout)
      .put(vid_pid_policy::kVid, policy.id.vid)
      .put(vid_pid_policy::kPid, policy.id.pid)
      .put(vid_pid_policy::kType, policy.deviceType)
      .put(vid_pid_policy::kIsSet, static_cast<std::uint16_t>(isSet))
      .put(vid_pid_policy::kProperty, policy.property.value_or(policy.builtInProperty))
      .put(vid_pid_policy::kTurboText, policy.turboText.value_or(""))
      .bytes();
}

Bytes recordOf(std::uint16_t position, const Joystick& given) {
  return Record(joystick::kLayout)
      .put(joystick::kPosition, position)
      .put(joystick::kVid, given.vid)
      .put(joystick::kPid, given.pid)
      .put(joystick::kMapping, given.mapping)
      .put(joystick::kIsCalibrated, given.isCalibrated)
      .put(joystick::kName, given.name)
      .bytes();
}

Bytes joystickMappingRecord(std::uint16_t position, const std::string& name) {
  return Record(joystick_mapping::kLayout)
      .put(joystick_mapping::kPosition, position)
      .put(joystick_mapping::kName, name)
      .bytes();
}

Bytes recordOf(const NewDeviceResult& result) {
  Record record(new_device_result::kLayout);
  if (result.device) {
    record.put(new_device_result::kVid, result.device->vid)
        .put(new_device_result::kPid, result.device->pid)
        .put(new_device_result::kName, result.device->name);
  }
  return record.put(new_device_result::kSourceId, result.sourceId)
      .put(new_device_result::kIsSuccess, result.status == Status::kOk)
      .put(new_device_result::kCode, std::string(nameOf(result.status)))
      .bytes();
}

Bytes recordOf(const DiagnosisStep& step, VmNumber vm) {
  return Record(diagnosis::kLayout, step.text.size() + 1)
      .put(diagnosis::kId, step.id)
      .put(diagnosis::kStatus, static_cast<std::uint32_t>(step.status))
      .put(diagnosis::kVm, vm)
      .put(diagnosis::kText, step.text)
      .bytes();
}

Bytes recordOf(const CommandAnswer& answer) {
  return Record(command_answer::kLayout, answer.text.size() + 1)
      .put(command_answer::kText, answer.text)
      .bytes();
}

}  // namespace velsim
