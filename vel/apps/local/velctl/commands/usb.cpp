// velctl usb: USB devices that a client redirects through its own channel.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

struct StatusReport {
  vel::UsbDevice device;
  unsigned short status = 0;
  std::string vmId;
};

void reportStatus(const Output& output, const StatusReport& report) {
  const std::string device = base::hexOf(textOf(report.device.bytes));
  const Operation operation("setUsbredirStatus", report.vmId,
                            Json{{"device", device}, {"deviceStatus", report.status}});
  operation.finish(output,
                   operation.client().setUsbStatus(report.vmId, report.device, report.status),
                   "USB device " + device + " has status " + std::to_string(report.status));
}

void addDevice(const ParserCommand& command, vel::UsbDevice& device) {
  const auto read = [&device](const std::string& digits) {
    const std::optional<std::string> bytes = base::parseHex(digits);
    if (!bytes || bytes->size() != device.bytes.size()) {
      return digits + ": must be 16 hexadecimal digits";
    }
    std::copy(bytes->begin(), bytes->end(), device.bytes.begin());
    return std::string();
  };
  command.addOption("device", read, "The client's 8 bytes for the device")
      .required()
      .typeName("HEX");
}

}  // namespace

void addUsbCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("usb", "USB devices that a client redirects through its own channel");
  const auto [command, report] =
      addCommand(commandLine, group, "status",
                 "Report the status of a USB device that the client redirects", reportStatus);
  addDevice(command, report.device);
  addNumber(command, "status", report.status, "Status of the device (a number of the service)")
      .required();
  addVm(command, report.vmId).required();
}

}  // namespace velctl
