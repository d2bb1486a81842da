#include "vel/apps/local/velctl/record_display.h"

#include "base/printable.h"
#include "vel/apps/local/velctl/arguments.h"

namespace velctl {
namespace {

// The text at the end of a record, which always has a NUL.
std::string textAtEnd(const char* text) {
  return text;
}

// The members for the VM of a printer or a device.
void addVm(Json& json, qx::VelProxy& proxy, unsigned int number) {
  json["vmNumber"] = number;
  const std::string name = proxy.GetVmIdString(number);
  json["vm"] = name.empty() ? Json() : jsonText(name);
}

}  // namespace

std::string vmNameOrNumber(qx::VelProxy& proxy, unsigned int number) {
  if (number == 0) {
    return "-";
  }
  const std::string name = proxy.GetVmIdString(number);
  return name.empty() ? std::to_string(number) : base::printable(name);
}

std::string describe(qx::VelProxy& proxy, const PrinterDevice& printer) {
  return "printer " + std::to_string(printer.devNum) + ": status " +
         std::to_string(printer.status) + ", VM " +
         vmNameOrNumber(proxy, static_cast<unsigned int>(printer.vmId)) + ", " +
         printableInQuotes(textAtEnd(printer.name));
}

std::string describe(qx::VelProxy& proxy, const CommonDevice& device) {
  return "device " + std::to_string(device.devNumber) + ": status " +
         std::to_string(device.status) + ", policy " + std::to_string(device.policy) + ", VM " +
         vmNameOrNumber(proxy, device.vmId) + ", " + printableInQuotes(textIn(device.name));
}

std::string describe(const _ConfigNewDeviceResult& result) {
  return "new device " + toText(UsbId{result.vid, result.pid}) + ": " +
         (result.isSuccess != 0 ? "configured" : "not configured") + ", result " +
         printableInQuotes(textAtEnd(result.code)) + ", " + printableInQuotes(textIn(result.name));
}

std::string describe(const Progress& progress) {
  return "diagnosis " + std::to_string(progress.id) + ": status " +
         std::to_string(progress.status) + ", VM " +
         (progress.vmId.empty() ? "-" : base::printable(progress.vmId)) + ", " +
         printableInQuotes(progress.text);
}

Json toJson(qx::VelProxy& proxy, const PrinterDevice& printer) {
  Json json = {{"printer", printer.devNum}, {"status", printer.status}};
  addVm(json, proxy, static_cast<unsigned int>(printer.vmId));
  json["name"] = jsonText(textAtEnd(printer.name));
  return json;
}

Json toJson(qx::VelProxy& proxy, const CommonDevice& device) {
  Json json = {{"device", device.devNumber}, {"status", device.status}, {"policy", device.policy}};
  json["policyText"] = jsonText(textIn(device.policyText));
  addVm(json, proxy, device.vmId);
  json["name"] = jsonText(textIn(device.name));
  return json;
}

Json toJson(const _ConfigNewDeviceResult& result) {
  return {{"usbId", toText(UsbId{result.vid, result.pid})},
          {"isConfigured", result.isSuccess != 0},
          {"result", jsonText(textAtEnd(result.code))},
          {"name", jsonText(textIn(result.name))}};
}

Json toJson(const Progress& progress) {
  return {{"vm", jsonText(progress.vmId)},
          {"id", progress.id},
          {"status", progress.status},
          {"text", jsonText(progress.text)}};
}

void finishPrinters(const Output& output, const Operation& operation, const Printers& printers) {
  qx::VelProxy& proxy = operation.proxy();
  Json elements = Json::array();
  Table table({"NUMBER", "STATUS", "VM", "NAME"});
  for (const auto& printer : printers) {
    elements.push_back(toJson(proxy, *printer));
    table.add({std::to_string(printer->devNum), std::to_string(printer->status),
               vmNameOrNumber(proxy, static_cast<unsigned int>(printer->vmId)),
               base::printable(textAtEnd(printer->name))});
  }
  operation.finishList(output, "printers", elements, table.text());
}

void finishDevices(const Output& output, const Operation& operation, const std::string& name,
                   const Devices& devices) {
  qx::VelProxy& proxy = operation.proxy();
  Json elements = Json::array();
  Table table({"NUMBER", "STATUS", "POLICY", "VM", "NAME"});
  for (const auto& device : devices) {
    elements.push_back(toJson(proxy, *device));
    table.add({std::to_string(device->devNumber), std::to_string(device->status),
               std::to_string(device->policy), vmNameOrNumber(proxy, device->vmId),
               base::printable(textIn(device->name))});
  }
  operation.finishList(output, name, elements, table.text());
}

}  // namespace velctl
