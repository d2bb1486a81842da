// velctl policy: how the service treats devices, by number, by type, or by USB vendor and product.

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"

namespace velctl {
namespace {

// --- One device ----------------------------------------------------------------------------------

struct LocalPolicy {
  unsigned short device = 0;
  short policy = 0;
  std::optional<std::string> name;
  std::optional<std::string> text;
};

// The name and the text that the service has for the device now.
CommonDevice presentRecord(unsigned short number) {
  const Operation operation("getDeviceStatus", Json{{"device", number}});
  const OwnedRecords<CommonDevice> devices(operation->GetDeviceStatus(number));
  operation.check();
  const auto found = std::find_if(devices.begin(), devices.end(), [number](const auto* device) {
    return device->devNumber == number;
  });
  if (found == devices.end()) {
    operation.failRefused("that it has none; velctl device list shows those it has");
  }
  CommonDevice record = {};
  // The fixed part is all that there may be.
  std::memcpy(static_cast<void*>(&record), *found, offsetof(CommonDevice, vmIdText));
  return record;
}

void fill(CommonDevice& record, const LocalPolicy& policy) {
  record.devNumber = policy.device;
  record.policy = policy.policy;
  if (policy.name) {
    setText(record.name, *policy.name);
  }
  if (policy.text) {
    setText(record.policyText, *policy.text);
  }
}

void setLocal(const Output& output, const LocalPolicy& policy) {
  CommonDevice record = {};
  // Also finds mistakes before anything is sent.
  fill(record, policy);
  if (!policy.name || !policy.text) {
    record = presentRecord(policy.device);
    fill(record, policy);
  }
  const Operation operation("setLocalPolicy",
                            Json{{"device", policy.device}, {"policy", policy.policy}});
  operation.finish(
      output, operation->SetDeviceLocalPolicy(&record),
      "device " + std::to_string(policy.device) + " has policy " + std::to_string(policy.policy));
}

// --- A type of device ----------------------------------------------------------------------------

struct AutoConnect {
  unsigned short type = 0;
  unsigned short value = 0;
};

void getAutoConnect(const Output& output, const AutoConnect& asked) {
  const Operation operation("getAutoConnect", Json{{"type", asked.type}});
  const int value = operation->GetAutoConnect(asked.type);
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void setAutoConnect(const Output& output, const AutoConnect& wanted) {
  const Operation operation("setAutoConnect", Json{{"type", wanted.type}, {"value", wanted.value}});
  operation.finish(output, operation->SetAutoConnect(wanted.type, wanted.value),
                   "auto-connect of type " + std::to_string(wanted.type) + " is " +
                       std::to_string(wanted.value));
}

// --- A USB vendor and product --------------------------------------------------------------------

struct Property {
  UsbId id;
  unsigned short type = 0;
  int value = 0;
};

// The library takes a type too, and does not send it.
constexpr unsigned short kNoType = 0;

void getProperty(const Output& output, const UsbId& id) {
  const Operation operation("getDevicePropertyWithVidPid", Json{{"usbId", shown(id)}});
  const int value = operation->GetDevicePropertyWithVidPid(id.vendor, id.product, kNoType);
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void getLocalProperty(const Output& output, const UsbId& id) {
  const Operation operation("getLocalDevicePropertyWithVidPid", Json{{"usbId", shown(id)}});
  const int value = operation->GetLocalDevicePropertyWithVidPid(id.vendor, id.product, kNoType);
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void setProperty(const Output& output, const Property& property) {
  const Operation operation(
      "setDevicePropertyWithVidPid",
      Json{{"usbId", shown(property.id)}, {"type", property.type}, {"value", property.value}});
  operation.finish(output,
                   operation->SetDevicePropertyWithVidPid(property.id.vendor, property.id.product,
                                                          property.type, property.value),
                   "property of " + shown(property.id) + " is " + std::to_string(property.value));
}

struct Turbo {
  UsbId id;
  std::string config;
};

void getTurbo(const Output& output, const UsbId& id) {
  const Operation operation("getTurboConfigWithVidPid", Json{{"usbId", shown(id)}});
  const std::string config = operation->GetTurboConfigWithVidPid(id.vendor, id.product);
  operation.finishWith(output, printableLines(config), Json{{"config", jsonText(config)}});
}

void setTurbo(const Output& output, const Turbo& turbo) {
  const std::string config = textOrStandardInput(turbo.config);
  const Operation operation("setTurboConfigWithVidPid", Json{{"usbId", shown(turbo.id)}});
  operation.finish(output,
                   operation->SetTurboConfigWithVidPid(turbo.id.vendor, turbo.id.product, config),
                   "turbo configuration of " + shown(turbo.id) + " has " +
                       std::to_string(config.size()) + " bytes");
}

// --- All -----------------------------------------------------------------------------------------

void list(const Output& output) {
  const Operation operation("getPolicyListByVidPid");
  const OwnedRecords<CommonVidPidPolicy> policies(operation->GetPolicyListByVidPid());
  // What a policy says is between the service and its configuration.
  operation.finishWith(output, std::to_string(policies.size()),
                       Json{{"policies", policies.size()}});
}

void reset(const Output& output) {
  const Operation operation("resetAllDeviceProperty");
  operation.finish(output, operation->ResetAllDeviceProperty(), "all properties reset");
}

void addType(const ParserCommand& command, unsigned short& type) {
  addNumber(command, "type", type, "Type of device, in the service's numbers").required();
}

void addDevicePolicies(CommandLine& commandLine, const ParserCommand& group) {
  const auto [command, policy] = addCommand(
      commandLine, group, "local", "Set the local policy of a device of this machine", setLocal);
  addNumber(command, "device", policy.device, "Number of the device").required();
  command.addOption("policy", policy.policy, "The policy, in the service's numbers").required();
  command.addOption("--name", policy.name, "Name of the device (default: as it is)");
  command.addOption("--text", policy.text, "Text of the policy (default: as it is)");
}

void addAutoConnect(CommandLine& commandLine, const ParserCommand& policies) {
  const ParserCommand group =
      policies.addGroup("auto-connect", "Whether devices of a type are attached by themselves");
  const auto get = addCommand(commandLine, group, "get", "Show the setting", getAutoConnect);
  addType(get.command, get.arguments.type);
  const auto set = addCommand(commandLine, group, "set", "Change the setting", setAutoConnect);
  addType(set.command, set.arguments.type);
  addNumber(set.command, "value", set.arguments.value, "The setting, in the service's numbers")
      .required();
}

void addProperties(CommandLine& commandLine, const ParserCommand& policies) {
  const ParserCommand group =
      policies.addGroup("property", "Properties of devices by USB vendor and product id");
  const auto get = addCommand(commandLine, group, "get", "Show a property", getProperty);
  addUsbId(get.command, get.arguments);
  const auto local =
      addCommand(commandLine, group, "local", "Show a property on this machine", getLocalProperty);
  addUsbId(local.command, local.arguments);
  const auto set = addCommand(commandLine, group, "set", "Change a property", setProperty);
  addUsbId(set.command, set.arguments.id);
  addType(set.command, set.arguments.type);
  set.command.addOption("value", set.arguments.value, "The property, in the service's numbers")
      .required();
}

void addTurbo(CommandLine& commandLine, const ParserCommand& policies) {
  const ParserCommand group =
      policies.addGroup("turbo", "Turbo configurations by USB vendor and product id");
  const auto get = addCommand(commandLine, group, "get", "Show a configuration", getTurbo);
  addUsbId(get.command, get.arguments);
  const auto set = addCommand(commandLine, group, "set", "Change a configuration", setTurbo);
  addUsbId(set.command, set.arguments.id);
  set.command
      .addOption("config", set.arguments.config,
                 "The configuration; - reads it from standard input")
      .required();
}

}  // namespace

void addPolicyCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("policy", "How the service treats devices");
  commandLine.command(
      group, "list",
      "Count the policies by USB vendor and product id; their content is the service's", list);
  addDevicePolicies(commandLine, group);
  addAutoConnect(commandLine, group);
  addProperties(commandLine, group);
  addTurbo(commandLine, group);
  commandLine.command(group, "reset", "Reset all properties", reset);
}

}  // namespace velctl
