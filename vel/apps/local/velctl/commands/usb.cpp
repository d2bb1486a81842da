// velctl usb: USB devices that a client redirects through a channel of its own.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

struct Status {
  UDevInfo device = {};
  unsigned short status = 0;
  std::string vmId;
};

void status(const Output& output, const Status& told) {
  const std::string device =
      hex({reinterpret_cast<const char*>(told.device.bytes), sizeof told.device.bytes});
  const Operation operation("setUsbredirStatus", told.vmId,
                            Json{{"device", device}, {"deviceStatus", told.status}});
  operation.finish(output, operation->SetUsbredirStatus(told.vmId, told.device, told.status),
                   "USB device " + device + " has status " + std::to_string(told.status));
}

// Two hexadecimal digits for each byte. False when they are not.
bool readDevice(const std::string& digits, UDevInfo* device) {
  if (digits.size() != 2 * sizeof device->bytes) {
    return false;
  }
  for (std::size_t i = 0; i < sizeof device->bytes; ++i) {
    constexpr unsigned long long kMost = 0xFF;
    const std::optional<unsigned long long> byte =
        readNumber("0x" + digits.substr(2 * i, 2), kMost);
    if (!byte) {
      return false;
    }
    device->bytes[i] = static_cast<unsigned char>(*byte);
  }
  return true;
}

void addDevice(const ParserCommand& command, UDevInfo& device) {
  const auto read = [&device](const std::string& digits) {
    return readDevice(digits, &device) ? "" : digits + ": must be 16 hexadecimal digits";
  };
  command.addOption("device", read, "The client's 8 bytes for the device")
      .required()
      .typeName("HEX");
}

}  // namespace

void addUsbCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("usb", "USB devices that a client redirects through its own channel");
  const auto [command, told] = addCommand(commandLine, group, "status",
                                          "Tell that such a device has changed its state", status);
  addDevice(command, told.device);
  addNumber(command, "status", told.status, "Its state, in the service's numbers").required();
  addVm(command, told.vmId).required();
}

}  // namespace velctl
