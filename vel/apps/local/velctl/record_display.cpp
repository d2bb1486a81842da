#include "vel/apps/local/velctl/record_display.h"

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/display.h"

namespace velctl {
namespace {

template <typename Number>
std::string text(Number number) {
  return std::to_string(number.value());
}

template <typename Enumeration>
std::string textOfNumber(Enumeration value) {
  return std::to_string(vel::number(value));
}

// The members for the VM of a printer or a device.
template <typename Record>
void addVm(Json& json, const Record& record) {
  json["vmNumber"] = record.vmNumber.value();
  json["vm"] = record.vm.empty() ? Json() : jsonText(record.vm);
}

const Table::Row& deviceHeadings() {
  static const auto& headings = *new Table::Row{"NUMBER", "STATUS", "POLICY", "VM", "NAME"};
  return headings;
}

Shown shown(const vel::Device& device) {
  return {toJson(device),
          {text(device.number), textOfNumber(device.status), textOfNumber(device.policy),
           nameOrNumber(device.vm, device.vmNumber), base::printable(device.name)}};
}

Shown shown(const vel::NetworkPrinter& printer) {
  vel::Device device;
  device.number = printer.number;
  device.name = printer.name;
  device.status = printer.status;
  device.policy = printer.policy;
  device.policyText = printer.address;
  device.vmNumber = printer.vmNumber;
  device.vm = printer.vm;
  return shown(device);
}

Shown shown(const vel::Printer& printer) {
  return {toJson(printer),
          {text(printer.number), textOfNumber(printer.status),
           nameOrNumber(printer.vm, printer.vmNumber), base::printable(printer.name)}};
}

// For a list of such records.
template <typename Record>
Shown showRecord(const Record& record) {
  return shown(record);
}

}  // namespace

std::string nameOrNumber(const std::string& vm, vel::VmNumber number) {
  if (number == vel::VmNumber()) {
    return "-";
  }
  return vm.empty() ? text(number) : base::printable(vm);
}

std::string describe(const vel::Printer& printer) {
  return "printer " + text(printer.number) + ": status " + textOfNumber(printer.status) + ", VM " +
         nameOrNumber(printer.vm, printer.vmNumber) + ", " + printableInQuotes(printer.name);
}

std::string describe(const vel::Device& device) {
  return "device " + text(device.number) + ": status " + textOfNumber(device.status) + ", policy " +
         textOfNumber(device.policy) + ", VM " + nameOrNumber(device.vm, device.vmNumber) + ", " +
         printableInQuotes(device.name);
}

std::string describe(const vel::NewDeviceEvent& event) {
  return "new device " + toText(event.usb) + ": " +
         (event.isSuccess ? "configured" : "not configured") + ", result " +
         printableInQuotes(event.result) + ", " + printableInQuotes(event.name);
}

std::string describe(const vel::DiagnosisEvent& event) {
  return "diagnosis " + std::to_string(event.id) + ": status " + textOfNumber(event.status) +
         ", VM " + (event.vm.empty() ? "-" : base::printable(event.vm)) + ", " +
         printableInQuotes(event.text);
}

std::string describe(const vel::CommandEvent& event) {
  return "command answer: VM " + nameOrNumber(event.vm, event.vmNumber) + ", " +
         (event.answer ? base::hexOf(*event.answer) : "empty");
}

Json toJson(const vel::Printer& printer) {
  Json json = {{"printer", printer.number.value()}, {"status", vel::number(printer.status)}};
  addVm(json, printer);
  json["name"] = jsonText(printer.name);
  return json;
}

Json toJson(const vel::Device& device) {
  Json json = {{"device", device.number.value()},
               {"status", vel::number(device.status)},
               {"policy", vel::number(device.policy)},
               {"policyText", jsonText(device.policyText)}};
  addVm(json, device);
  json["name"] = jsonText(device.name);
  return json;
}

Json toJson(const vel::NewDeviceEvent& event) {
  return {{"usbId", toText(event.usb)},
          {"isConfigured", event.isSuccess},
          {"result", jsonText(event.result)},
          {"name", jsonText(event.name)}};
}

Json toJson(const vel::DiagnosisEvent& event) {
  return {{"vm", jsonText(event.vm)},
          {"id", event.id},
          {"status", vel::number(event.status)},
          {"text", jsonText(event.text)}};
}

Json toJson(const vel::CommandEvent& event) {
  Json json = {{"vmNumber", event.vmNumber.value()}, {"hex", nullptr}, {"text", nullptr}};
  if (event.answer) {
    json["hex"] = base::hexOf(*event.answer);
    json["text"] = jsonText(event.answer->substr(0, event.answer->find('\0')));
  }
  return json;
}

void finishPrinters(const Output& output, const Operation& operation,
                    const vel::Result<std::vector<vel::Printer>>& printers) {
  operation.finishList(output, "printers", {"NUMBER", "STATUS", "VM", "NAME"}, printers,
                       &showRecord<vel::Printer>);
}

void finishPrinters(const Output& output, const Operation& operation,
                    const vel::Result<std::vector<vel::NetworkPrinter>>& printers) {
  operation.finishList(output, "printers", deviceHeadings(), printers,
                       &showRecord<vel::NetworkPrinter>);
}

void finishDevices(const Output& output, const Operation& operation,
                   const vel::Result<std::vector<vel::Device>>& devices) {
  operation.finishList(output, "devices", deviceHeadings(), devices, &showRecord<vel::Device>);
}

}  // namespace velctl
