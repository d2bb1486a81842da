// velctl network-device, new-device, storage, usb, camera: devices that come and go, and what the
// user has chosen for them.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

using velprotocol::Legend;

Parameter typeOption() {
  return number<std::uint16_t>("--type", "Type of the device")
      .orElse("0")
      .withWords(Legend("", velprotocol::kDeviceTypes));
}

Parameter autoConnectOption() {
  return number<std::uint16_t>("--auto-connect",
                               "Whether to attach it by itself next time, a number of the service")
      .orElse("0");
}

Parameter popupOption() {
  return number<std::uint16_t>("--popup",
                               "Whether to show its card next time, a number of the service")
      .orElse("0");
}

vel::DeviceType typeIn(const Values& values) {
  return vel::DeviceType(values.number<std::uint16_t>("--type"));
}

vel::UsbDevice usbDeviceIn(const Values& values) {
  vel::UsbDevice device;
  const std::optional<std::string> bytes = base::parseHex(values.text("USB"));
  std::copy(bytes->begin(), bytes->end(), device.bytes.begin());
  return device;
}

}  // namespace

std::vector<Command> newDeviceCommands() {
  return {
      {"network-device add",
       "Add a network device",
       {number<std::int32_t>("TYPE", "Type of the device, a number of the service"),
        text("TEXT", "Description of the device")},
       asks(
           "addNetworkDevice",
           [](const vel::Client& client, const Values& values) {
             return client.addNetworkDevice(values.number<std::int32_t>("TYPE"),
                                            values.text("TEXT"));
           },
           "{TEXT} added"),
       {{"network-device add 3 'Scanner in the hall'", "A device of type 3"}},
       "",
       "device network add"},
      {"network-device remove",
       "Remove a network device",
       {text("TEXT", "Description it was added with"),
        text("DETAIL", "Further detail for the service (default: none)").optional()},
       asks(
           "deleteNetworkDevice",
           [](const vel::Client& client, const Values& values) {
             return client.removeNetworkDevice(values.text("TEXT"), values.text("DETAIL"));
           },
           "{TEXT} removed"),
       {{"network-device remove 'Scanner in the hall'", "The device that was added above"}},
       "",
       "device network remove"},
      {"new-device attach",
       "Attach a newly plugged-in device to a VM (takes up to 10 s)",
       {sourceArgument(), typeOption(), autoConnectOption(), popupOption(), vmOption().required()},
       asks(
           "configNewDeviceAsConnect",
           [](const vel::Client& client, const Values& values) {
             return client.attachNewDevice(values.vm(), values.source(), typeIn(values),
                                           values.number<std::uint16_t>("--auto-connect"),
                                           values.number<std::uint16_t>("--popup"));
           },
           "source {SOURCE} attached to {--vm}", "attaching the device"),
       {{"new-device attach 'Memory stick' --vm win11", "Attach the stick that was plugged in"}},
       "",
       "new-device connect"},
      {"new-device ignore",
       "Leave a newly plugged-in device alone",
       {sourceArgument(), typeOption(), autoConnectOption(), popupOption()},
       asks(
           "configNewDeviceAsIgnore",
           [](const vel::Client& client, const Values& values) {
             return client.ignoreNewDevice(values.source(), typeIn(values),
                                           values.number<std::uint16_t>("--auto-connect"),
                                           values.number<std::uint16_t>("--popup"));
           },
           "source {SOURCE} ignored", "ignoring the device"),
       {{"new-device ignore 'Memory stick'", "Leave the stick at this machine"}}},
      {"storage command",
       "Run a command for a storage device (takes up to 10 s)",
       {sourceArgument(),
        number<std::uint16_t>("COMMAND", "Of velsim 1: mount, 2: unmount, 3: eject"),
        vmOption().required()},
       asks(
           "ConfigUdisks2Command",
           [](const vel::Client& client, const Values& values) {
             return client.commandStorage(values.vm(), values.source(),
                                          values.number<std::uint16_t>("COMMAND"));
           },
           "command {COMMAND} done for the storage of source {SOURCE}",
           "waiting for the answer to the command"),
       {{"storage command 'Memory stick' 1 --vm win11", "Mount the stick in win11"}},
       "",
       "new-device storage"},
      {"usb set",
       "Report the status of a USB device that the client redirects through its own channel",
       {thing(Kind::kUsbBytes, "USB",
              "The client's 8 bytes for the device, as 16 hexadecimal digits"),
        number<std::uint16_t>("DEVICE-STATUS", "Status of the device, a number of the service"),
        vmOption().required()},
       asks(
           "setUsbredirStatus",
           [](const vel::Client& client, const Values& values) {
             return client.setUsbStatus(values.vm(), usbDeviceIn(values),
                                        values.number<std::uint16_t>("DEVICE-STATUS"));
           },
           "USB device {USB} of {--vm} has status {DEVICE-STATUS}"),
       {{"usb set 0102030405060708 2 --vm win11", "The device has status 2"}},
       "",
       "usb status"},
      {"camera show",
       "Show whether the service may use the camera",
       {},
       gets("CheckCameraAuthStat",
            {"authorization", Type::kMeaning, Legend("", velprotocol::kCameraStatuses)},
            [](const vel::Client& client, const Values&) -> vel::Result<std::int32_t> {
              const vel::Result<vel::CameraStatus> status = client.cameraStatus();
              if (!status) {
                return vel::unexpected<vel::Error>(status.error());
              }
              return vel::number(*status);
            }),
       {{"camera show", "Whether the user has denied the camera"}},
       "",
       "camera"},
  };
}

}  // namespace velctl
