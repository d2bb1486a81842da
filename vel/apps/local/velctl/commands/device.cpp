// velctl device: devices of this machine and of the network.

#include <memory>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"

namespace velctl {
namespace {

struct Vm {
  std::optional<std::string> vmId;
};

void list(const Output& output, const Vm& vm) {
  if (vm.vmId) {
    const Operation operation("getDeviceList", *vm.vmId);
    const OwnedRecords<CommonDevice> devices(operation->GetDeviceList(*vm.vmId));
    finishDevices(output, operation, "devices", devices);
  } else {
    const Operation operation("getDeviceList");
    const OwnedRecords<CommonDevice> devices(operation->GetLocalDeviceList());
    finishDevices(output, operation, "devices", devices);
  }
}

struct One {
  unsigned short device = 0;
};

void status(const Output& output, const One& one) {
  const Operation operation("getDeviceStatus", Json{{"device", one.device}});
  const OwnedRecords<CommonDevice> devices(operation->GetDeviceStatus(one.device));
  operation.check();
  if (devices.size() == 0) {
    operation.failRefused("that it has none; velctl device list shows those it has");
  }
  finishDevices(output, operation, "devices", devices);
}

// A device by its number or by the id of its source, whichever was given.
struct Attachment {
  std::optional<unsigned short> device;
  std::optional<unsigned long long> source;
  std::string vmId;
};

struct Change {
  const char* method;
  int (qx::VelProxy::*byNumber)(std::string, unsigned short);
  const char* methodBySource;
  int (qx::VelProxy::*bySource)(std::string, unsigned long long);
  const char* done;
};

constexpr Change kConnect = {"connectDevice", &qx::VelProxy::ConnectDevice, "connectDeviceBySrcId",
                             &qx::VelProxy::ConnectDeviceBySrcId, "connected"};
constexpr Change kDisconnect = {"disconnectDevice", &qx::VelProxy::DisconnectDevice,
                                "disconnectDeviceBySrcId", &qx::VelProxy::DisconnectDeviceBySrcId,
                                "disconnected"};

void make(const Change& change, const Output& output, const Attachment& attachment) {
  if (attachment.device.has_value() == attachment.source.has_value()) {
    throw Failure(kExitUsage, std::string(change.method) +
                                  ": name the device by its number or with --source, not both");
  }
  if (attachment.source) {
    const Operation operation(change.methodBySource, attachment.vmId,
                              Json{{"source", *attachment.source}});
    operation.finish(
        output, (operation.operator->()->*change.bySource)(attachment.vmId, *attachment.source),
        "source " + std::to_string(*attachment.source) + " " + change.done);
  } else {
    const Operation operation(change.method, attachment.vmId, Json{{"device", *attachment.device}});
    operation.finish(
        output, (operation.operator->()->*change.byNumber)(attachment.vmId, *attachment.device),
        "device " + std::to_string(*attachment.device) + " " + change.done);
  }
}

void connect(const Output& output, const Attachment& attachment) {
  make(kConnect, output, attachment);
}

void disconnect(const Output& output, const Attachment& attachment) {
  make(kDisconnect, output, attachment);
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
      output, operation->RedirectDevice(redirection.vmId, redirection.first, redirection.second),
      "redirected " + std::to_string(redirection.first) + " " + std::to_string(redirection.second));
}

struct NetworkDevice {
  int type = 0;
  std::string device;
  std::string detail;
};

void addToNetwork(const Output& output, const NetworkDevice& added) {
  const Operation operation("addNetworkDevice",
                            Json{{"type", added.type}, {"device", jsonText(added.device)}});
  std::string device = added.device;
  operation.finish(output, operation->AddNetworkDevice(added.type, device),
                   inQuotes(device) + " added");
}

void removeFromNetwork(const Output& output, const NetworkDevice& removed) {
  const Operation operation("deleteNetworkDevice", Json{{"device", jsonText(removed.device)},
                                                        {"detail", jsonText(removed.detail)}});
  std::string device = removed.device;
  std::string detail = removed.detail;
  operation.finish(output, operation->DeleteNetworkDevice(device, detail),
                   inQuotes(device) + " removed");
}

void addChange(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
               const std::string& help, void (*run)(const Output&, const Attachment&)) {
  const auto [command, attachment] = addCommand(commandLine, group, name, help, run);
  addNumber(command, "device", attachment.device, "Number of the device");
  addNumber(command, "--source", attachment.source, "Id of its source, instead of the number");
  addVm(command, attachment.vmId).required();
}

void addNetworkCommands(CommandLine& commandLine, const ParserCommand& devices) {
  const ParserCommand group =
      devices.addGroup("network", "Devices that are reached over the network");
  const auto add =
      addCommand(commandLine, group, "add", "Add a device of the network", addToNetwork);
  add.command.addOption("type", add.arguments.type, "Its type, in the service's numbers")
      .required();
  add.command.addOption("device", add.arguments.device, "What the service is to know of it")
      .required();
  const auto remove =
      addCommand(commandLine, group, "remove", "Remove a device of the network", removeFromNetwork);
  remove.command.addOption("device", remove.arguments.device, "What it was added as").required();
  remove.command.addOption("detail", remove.arguments.detail,
                           "What the service needs besides (default: nothing)");
}

}  // namespace

void addDeviceCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("device", "Devices of this machine and of the network");

  const auto listed = addCommand(commandLine, group, "list",
                                 "List the devices of this machine, or those for a VM", list);
  listed.command.addOption("--vm", listed.arguments.vmId, "Those that can be attached to this VM")
      .typeName("NAME");

  const auto one = addCommand(commandLine, group, "status", "Show one device", status);
  addNumber(one.command, "device", one.arguments.device, "Number of the device").required();

  addChange(commandLine, group, "connect", "Attach a device to a VM", connect);
  addChange(commandLine, group, "disconnect", "Take a device back from a VM", disconnect);

  const auto redirection =
      addCommand(commandLine, group, "redirect",
                 "Redirect a device in a way that the service defines by two numbers", redirect);
  addNumber(redirection.command, "first", redirection.arguments.first, "First number").required();
  addNumber(redirection.command, "second", redirection.arguments.second, "Second number")
      .required();
  addVm(redirection.command, redirection.arguments.vmId).required();

  addNetworkCommands(commandLine, group);
}

}  // namespace velctl
