#include "vel/apps/local/velsim/service/records.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/utf8.h"

namespace velsim {
namespace {

using qxbus::Bytes;

class Record {
 public:
  explicit Record(std::size_t size) : bytes_(size) {}

  template <typename Number>
  Record& number(std::size_t offset, Number value) {
    std::memcpy(&bytes_[offset], &value, sizeof value);
    return *this;
  }

  // The field keeps one NUL at least.
  Record& text(std::size_t offset, std::size_t fieldSize, const std::string& text) {
    const std::string_view cut = base::cutBetweenCharacters(text, fieldSize - 1);
    std::copy(cut.begin(), cut.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
    return *this;
  }

  operator Bytes() && { return std::move(bytes_); }

 private:
  Bytes bytes_;
};

constexpr std::size_t kNameSize = 128;
constexpr std::size_t kPolicyTextSize = 256;

// What devices and network printers have in common.
Record deviceRecord(std::uint16_t number, DeviceStatus status, std::uint64_t sourceId,
                    std::uint32_t vm, const std::string& name, const std::string& policyText) {
  Record record(kDeviceRecordSize);
  record.number(0, number)
      .number(8, static_cast<std::uint16_t>(status))
      .number(12, sourceId)
      .number(20, vm)
      .text(296, kNameSize, name)
      .text(424, kPolicyTextSize, policyText);
  return record;
}

}  // namespace

Bytes recordOf(const Device& device) {
  return std::move(deviceRecord(device.number, device.status, device.sourceId, device.vm,
                                device.name, device.policyText)
                       .number(2, std::uint16_t{device.isMounted})
                       .number(10, device.policy)
                       .number(24, device.vid)
                       .number(26, device.pid)
                       .number(28, static_cast<std::uint16_t>(device.type)));
}

Bytes recordOf(const Printer& printer) {
  return std::move(Record(kPrinterRecordSize)
                       .number(0, printer.number)
                       .number(8, printer.vm)
                       .number(12, static_cast<std::int32_t>(printer.status))
                       .text(16, kNameSize, printer.name));
}

Bytes deviceRecordOf(const Printer& printer) {
  return std::move(deviceRecord(printer.number, printer.status, printer.sourceId, printer.vm,
                                printer.name, printer.address)
                       .number(28, static_cast<std::uint16_t>(DeviceType::kNetworkPrinter)));
}

Bytes recordOf(const VidPidPolicy& policy) {
  constexpr unsigned kPropertyIsSet = 1;
  constexpr unsigned kTurboTextIsSet = 2;
  const unsigned isSet =
      (policy.property ? kPropertyIsSet : 0) | (policy.turboText ? kTurboTextIsSet : 0);
  return std::move(Record(kVidPidPolicyRecordSize)
                       .number(0, policy.id.vid)
                       .number(2, policy.id.pid)
                       .number(4, policy.deviceType)
                       .number(6, static_cast<std::uint16_t>(isSet))
                       .number(8, policy.property.value_or(policy.builtInProperty))
                       .text(12, kPolicyTextSize, policy.turboText.value_or("")));
}

Bytes recordOf(std::uint16_t position, const Joystick& joystick) {
  return std::move(Record(kJoystickRecordSize)
                       .number(0, position)
                       .number(2, joystick.vid)
                       .number(4, joystick.pid)
                       .number(6, joystick.mapping)
                       .number(8, std::uint16_t{joystick.isCalibrated})
                       .text(10, kNameSize, joystick.name));
}

Bytes joystickMappingRecord(std::uint16_t position, const std::string& name) {
  return std::move(Record(kJoystickMappingRecordSize).number(0, position).text(2, kNameSize, name));
}

Bytes recordOf(const NewDeviceResult& result) {
  Record record(kNewDeviceResultSize);
  if (result.device) {
    constexpr std::size_t kResultNameSize = 256;
    record.number(0, result.device->vid)
        .number(2, result.device->pid)
        .text(20, kResultNameSize, result.device->name);
  }
  constexpr std::size_t kCodeSize = 64;
  return std::move(record.number(4, result.sourceId)
                       .number(18, std::uint16_t{result.status == Status::kOk})
                       .text(276, kCodeSize, nameOf(result.status)));
}

Bytes recordOf(const DiagnosisStep& step, VmNumber vm) {
  return std::move(Record(kDiagnosisHeaderSize + step.text.size() + 1)
                       .number(0, step.id)
                       .number(8, static_cast<std::uint32_t>(step.status))
                       .number(12, vm)
                       .text(kDiagnosisHeaderSize, step.text.size() + 1, step.text));
}

Bytes recordOf(const CommandAnswer& answer) {
  return std::move(Record(answer.text.size() + 1).text(0, answer.text.size() + 1, answer.text));
}

}  // namespace velsim
