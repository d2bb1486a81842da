#include "vel/apps/local/velctl/output/records.h"

#include <cstdint>

#include "base/text.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl {
namespace {

using velprotocol::Legend;

// The two members of a VM.
template <typename Record>
Json vmOf(const Record& record) {
  return {{"vm", record.vm.empty() ? Json() : Json(record.vm)},
          {"vmNumber", record.vmNumber.value()}};
}

std::string hexOf16(std::uint16_t number) {
  const char bytes[] = {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
  return base::hexOf({bytes, sizeof bytes});
}

Member deviceStatus() {
  return {"status", Type::kMeaning, Legend("", velprotocol::kDeviceStatuses)};
}

Member localPolicy() {
  return {"policy", Type::kMeaning, Legend("", velprotocol::kLocalPolicies)};
}

Member deviceType() {
  return {"type", Type::kMeaning, Legend("", velprotocol::kDeviceTypes)};
}

}  // namespace

std::string toText(vel::UsbId id) {
  return hexOf16(id.vendor) + ':' + hexOf16(id.product);
}

const std::vector<Field<vel::Vm>>& vmFields() {
  using Record = vel::Vm;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"vm", Type::kText}, "NAME", [](const Record& vm) -> Json { return vm.name; }},
      {{"vmNumber", Type::kInteger},
       "NUMBER",
       [](const Record& vm) -> Json { return vm.number.value(); }},
  };
  return fields;
}

const std::vector<Field<vel::Device>>& deviceFields() {
  using Record = vel::Device;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"device", Type::kInteger},
       "NUMBER",
       [](const Record& device) -> Json { return device.number.value(); }},
      {deviceStatus(), "STATUS",
       [](const Record& device) -> Json { return vel::number(device.status); }},
      {localPolicy(), "POLICY",
       [](const Record& device) -> Json { return vel::number(device.policy); }},
      {{"policyText", Type::kText},
       "",
       [](const Record& device) -> Json { return device.policyText; }},
      {{"vm", Type::kVm}, "VM", &vmOf<Record>},
      {{"name", Type::kText}, "NAME", [](const Record& device) -> Json { return device.name; }},
      {{"source", Type::kLong},
       "",
       [](const Record& device) -> Json { return device.source.value(); }},
      {{"usbId", Type::kText}, "", [](const Record& device) -> Json { return toText(device.usb); }},
      {deviceType(), "", [](const Record& device) -> Json { return vel::number(device.type); }},
      {{"isMounted", Type::kBoolean},
       "",
       [](const Record& device) -> Json { return device.isMounted; }},
  };
  return fields;
}

const std::vector<Field<vel::Printer>>& printerFields() {
  using Record = vel::Printer;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"printer", Type::kInteger},
       "NUMBER",
       [](const Record& printer) -> Json { return printer.number.value(); }},
      {deviceStatus(), "STATUS",
       [](const Record& printer) -> Json { return vel::number(printer.status); }},
      {{"vm", Type::kVm}, "VM", &vmOf<Record>},
      {{"name", Type::kText}, "NAME", [](const Record& printer) -> Json { return printer.name; }},
  };
  return fields;
}

const std::vector<Field<vel::NetworkPrinter>>& networkPrinterFields() {
  using Record = vel::NetworkPrinter;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"device", Type::kInteger},
       "NUMBER",
       [](const Record& printer) -> Json { return printer.number.value(); }},
      {deviceStatus(), "STATUS",
       [](const Record& printer) -> Json { return vel::number(printer.status); }},
      {localPolicy(), "POLICY",
       [](const Record& printer) -> Json { return vel::number(printer.policy); }},
      {{"vm", Type::kVm}, "VM", &vmOf<Record>},
      {{"address", Type::kText},
       "ADDRESS",
       [](const Record& printer) -> Json { return printer.address; }},
      {{"name", Type::kText}, "NAME", [](const Record& printer) -> Json { return printer.name; }},
  };
  return fields;
}

const std::vector<Field<vel::SharedPrinter>>& sharedPrinterFields() {
  using Record = vel::SharedPrinter;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"address", Type::kText},
       "ADDRESS",
       [](const Record& printer) -> Json { return printer.address; }},
      {{"name", Type::kText}, "NAME", [](const Record& printer) -> Json { return printer.name; }},
      {{"description", Type::kText},
       "DESCRIPTION",
       [](const Record& printer) -> Json { return printer.description; }},
  };
  return fields;
}

const std::vector<Field<vel::UsbPolicy>>& usbPolicyFields() {
  using Record = vel::UsbPolicy;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"usbId", Type::kText},
       "USB ID",
       [](const Record& policy) -> Json { return toText(policy.usb); }},
      {deviceType(), "TYPE", [](const Record& policy) -> Json { return vel::number(policy.type); }},
      {{"property", Type::kInteger},
       "PROPERTY",
       [](const Record& policy) -> Json {
         return policy.property ? Json(*policy.property) : Json();
       }},
      {{"turboConfig", Type::kText},
       "TURBO CONFIGURATION",
       [](const Record& policy) -> Json {
         return policy.turboConfig ? Json(*policy.turboConfig) : Json();
       }},
  };
  return fields;
}

const std::vector<Field<vel::Joystick>>& joystickFields() {
  using Record = vel::Joystick;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"joystick", Type::kInteger},
       "POSITION",
       [](const Record& joystick) -> Json { return joystick.index.value(); }},
      {{"mapping", Type::kInteger},
       "MAPPING",
       [](const Record& joystick) -> Json { return joystick.mapping.value(); }},
      {{"isCalibrated", Type::kBoolean},
       "CALIBRATED",
       [](const Record& joystick) -> Json { return joystick.isCalibrated; }},
      {{"usbId", Type::kText},
       "USB ID",
       [](const Record& joystick) -> Json { return toText(joystick.usb); }},
      {{"name", Type::kText}, "NAME", [](const Record& joystick) -> Json { return joystick.name; }},
      {{"hex", Type::kHex},
       "",
       [](const Record& joystick) -> Json { return base::hexOf(textOf(joystick.bytes)); }},
  };
  return fields;
}

const std::vector<Field<vel::JoystickMapping>>& mappingFields() {
  using Record = vel::JoystickMapping;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"mapping", Type::kInteger},
       "POSITION",
       [](const Record& mapping) -> Json { return mapping.index.value(); }},
      {{"name", Type::kText}, "NAME", [](const Record& mapping) -> Json { return mapping.name; }},
      {{"hex", Type::kHex},
       "",
       [](const Record& mapping) -> Json { return base::hexOf(textOf(mapping.bytes)); }},
  };
  return fields;
}

}  // namespace velctl
