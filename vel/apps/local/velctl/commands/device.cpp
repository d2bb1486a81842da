// velctl device: devices of this machine and of the network.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

struct OptionalVm {
  std::optional<std::string> vmId;
};

void listDevices(const Output& output, const OptionalVm& vm) {
  if (vm.vmId) {
    const Operation operation("getDeviceList", *vm.vmId);
    finishDevices(output, operation, operation.client().devices(*vm.vmId));
  } else {
    const Operation operation("getDeviceList");
    finishDevices(output, operation, operation.client().localDevices());
  }
}

struct DeviceNumber {
  unsigned short device = 0;
};

void showDevice(const Output& output, const DeviceNumber& given) {
  const Operation operation("getDeviceStatus", Json{{"device", given.device}});
  const auto devices = operation.client().device(vel::DeviceNumber(given.device));
  operation.check(devices);
  if (devices->empty()) {
    operation.failRefused("the service has no such device; velctl device list shows its devices");
  }
  finishDevices(output, operation, devices);
}

// A device by its number or by its source id: exactly one of them is given.
struct Attachment {
  std::optional<unsigned short> device;
  std::optional<unsigned long long> source;
  std::string vmId;
};

template <typename Subject>
using ChangeOf = vel::Result<void> (vel::Client::*)(const std::string&, Subject) const;

struct AttachmentChange {
  const char* method;
  ChangeOf<vel::DeviceNumber> byNumber;
  const char* methodBySource;
  ChangeOf<vel::SourceId> bySource;
  const char* done;
};

constexpr AttachmentChange kConnect = {"connectDevice", &vel::Client::attach,
                                       "connectDeviceBySrcId", &vel::Client::attach, "connected"};
constexpr AttachmentChange kDisconnect = {"disconnectDevice", &vel::Client::detach,
                                          "disconnectDeviceBySrcId", &vel::Client::detach,
                                          "disconnected"};

void changeAttachment(const AttachmentChange& change, const Output& output,
                      const Attachment& attachment) {
  const std::string& vmId = attachment.vmId;
  if (attachment.device.has_value() == attachment.source.has_value()) {
    throw Failure(kExitUsage, std::string(change.method) +
                                  ": name the device by its number or with --source, not both");
  }
  if (attachment.source) {
    const Operation operation(change.methodBySource, vmId, Json{{"source", *attachment.source}});
    operation.finish(output,
                     (operation.client().*change.bySource)(vmId, vel::SourceId(*attachment.source)),
                     "source " + std::to_string(*attachment.source) + " " + change.done);
  } else {
    const Operation operation(change.method, vmId, Json{{"device", *attachment.device}});
    operation.finish(
        output, (operation.client().*change.byNumber)(vmId, vel::DeviceNumber(*attachment.device)),
        "device " + std::to_string(*attachment.device) + " " + change.done);
  }
}

void connectDevice(const Output& output, const Attachment& attachment) {
  changeAttachment(kConnect, output, attachment);
}

void disconnectDevice(const Output& output, const Attachment& attachment) {
  changeAttachment(kDisconnect, output, attachment);
}

struct Redirection {
  unsigned short first = 0;
  unsigned short second = 0;
  std::string vmId;
};

void redirect(const Output& output, const Redirection& redirection) {
  const Operation operation("redirectDevice", redirection.vmId,
                            Json{{"first", redirection.first}, {"second", redirection.second}});
  operation.finish(
      output,
      operation.client().redirect(redirection.vmId, vel::DeviceNumber(redirection.first),
                                  redirection.second),
      "redirected " + std::to_string(redirection.first) + " " + std::to_string(redirection.second));
}

struct NewNetworkDevice {
  int type = 0;
  std::string device;
};

void addToNetwork(const Output& output, const NewNetworkDevice& added) {
  const Operation operation("addNetworkDevice",
                            Json{{"type", added.type}, {"device", jsonText(added.device)}});
  operation.finish(output, operation.client().addNetworkDevice(added.type, added.device),
                   printableInQuotes(added.device) + " added");
}

struct RemovedNetworkDevice {
  std::string device;
  std::string detail;
};

void removeFromNetwork(const Output& output, const RemovedNetworkDevice& removed) {
  const Operation operation("deleteNetworkDevice", Json{{"device", jsonText(removed.device)},
                                                        {"detail", jsonText(removed.detail)}});
  operation.finish(output, operation.client().removeNetworkDevice(removed.device, removed.detail),
                   printableInQuotes(removed.device) + " removed");
}

void addAttachmentCommand(CommandLine& commandLine, const ParserCommand& group,
                          const std::string& name, const std::string& help,
                          void (*run)(const Output&, const Attachment&)) {
  const auto [command, attachment] = addCommand(commandLine, group, name, help, run);
  addNumber(command, "device", attachment.device, "Number of the device");
  addNumber(command, "--source", attachment.source,
            "Source id of the device, in place of its number");
  addVm(command, attachment.vmId).required();
}

void addNetworkCommands(CommandLine& commandLine, const ParserCommand& devices) {
  const ParserCommand group = devices.addGroup("network", "Network devices");
  const auto add = addCommand(commandLine, group, "add", "Add a network device", addToNetwork);
  add.command.addOption("type", add.arguments.type, "Type of the device (a number of the service)")
      .required();
  add.command.addOption("device", add.arguments.device, "Description of the device").required();
  const auto remove =
      addCommand(commandLine, group, "remove", "Remove a network device", removeFromNetwork);
  remove.command.addOption("device", remove.arguments.device, "Description it was added with")
      .required();
  remove.command.addOption("detail", remove.arguments.detail,
                           "Further detail for the service (default: none)");
}

}  // namespace

void addDeviceCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("device", "Devices of this machine and of the network");

  const auto listed =
      addCommand(commandLine, group, "list",
                 "List the devices of this machine, or those that a VM can have", listDevices);
  listed.command.addOption("--vm", listed.arguments.vmId, "Devices that this VM can have")
      .typeName("NAME");

  const auto status = addCommand(commandLine, group, "status", "Show one device", showDevice);
  addNumber(status.command, "device", status.arguments.device, "Number of the device").required();

  addAttachmentCommand(commandLine, group, "connect", "Attach a device to a VM", connectDevice);
  addAttachmentCommand(commandLine, group, "disconnect", "Detach a device from a VM",
                       disconnectDevice);

  const auto redirection =
      addCommand(commandLine, group, "redirect",
                 "Redirect a device by two numbers, whose meaning the service defines", redirect);
  addNumber(redirection.command, "first", redirection.arguments.first, "First number").required();
  addNumber(redirection.command, "second", redirection.arguments.second, "Second number")
      .required();
  addVm(redirection.command, redirection.arguments.vmId).required();

  addNetworkCommands(commandLine, group);
}

}  // namespace velctl
