// velctl policy: the service's policies for devices, by number, by type, or by USB vendor and
// product id.

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

// --- One device ----------------------------------------------------------------------------------

struct LocalPolicy {
  unsigned short device = 0;
  short policy = 0;
  std::optional<std::string> name;
  std::optional<std::string> text;
};

// The record with the present name and text of a device.
CommonDevice presentRecord(unsigned short number) {
  constexpr std::size_t kFixedPart = offsetof(CommonDevice, vmIdText);
  Operation operation("getDeviceStatus", Json{{"device", number}});
  const Devices devices = callForRecords(operation, &qx::VelProxy::GetDeviceStatus, number);
  operation.check();
  const auto found = std::find_if(devices.begin(), devices.end(), [number](const auto& device) {
    return device->devNumber == number;
  });
  if (found == devices.end()) {
    operation.failRefused("the service has no such device; velctl device list shows its devices");
  }
  // Texts that the service has not sent would be sent back to it as empty ones.
  if (found->length() < kFixedPart) {
    operation.failWithoutAnswer("the record of the device has " + std::to_string(found->length()) +
                                " of " + std::to_string(kFixedPart) +
                                " bytes; give --name and --text");
  }
  CommonDevice record = {};
  std::memcpy(static_cast<void*>(&record), &**found, kFixedPart);
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
  Operation operation("setLocalPolicy", Json{{"device", policy.device}, {"policy", policy.policy}});
  const int status = operation.call(&qx::VelProxy::SetDeviceLocalPolicy, &record);
  operation.finish(
      output, status,
      "device " + std::to_string(policy.device) + " has policy " + std::to_string(policy.policy));
}

// --- A type of device ----------------------------------------------------------------------------

struct DeviceType {
  unsigned short type = 0;
};

void getAutoConnect(const Output& output, const DeviceType& given) {
  Operation operation("getAutoConnect", Json{{"type", given.type}});
  const int value = operation.call(&qx::VelProxy::GetAutoConnect, given.type);
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

struct AutoConnect {
  unsigned short type = 0;
  unsigned short value = 0;
};

void setAutoConnect(const Output& output, const AutoConnect& setting) {
  Operation operation("setAutoConnect", Json{{"type", setting.type}, {"value", setting.value}});
  const int status = operation.call(&qx::VelProxy::SetAutoConnect, setting.type, setting.value);
  operation.finish(output, status,
                   "auto-connect of type " + std::to_string(setting.type) + " is " +
                       std::to_string(setting.value));
}

// --- A USB vendor and product --------------------------------------------------------------------

struct Property {
  UsbId id;
  unsigned short type = 0;
  int value = 0;
};

// The getters of the library take a type too, and do not send it.
constexpr unsigned short kNoType = 0;

void getProperty(const Output& output, const UsbId& id) {
  Operation operation("getDevicePropertyWithVidPid", Json{{"usbId", toText(id)}});
  const int value =
      operation.call(&qx::VelProxy::GetDevicePropertyWithVidPid, id.vendor, id.product, kNoType);
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void getLocalProperty(const Output& output, const UsbId& id) {
  Operation operation("getLocalDevicePropertyWithVidPid", Json{{"usbId", toText(id)}});
  const int value = operation.call(&qx::VelProxy::GetLocalDevicePropertyWithVidPid, id.vendor,
                                   id.product, kNoType);
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void setProperty(const Output& output, const Property& property) {
  const UsbId& id = property.id;
  Operation operation(
      "setDevicePropertyWithVidPid",
      Json{{"usbId", toText(id)}, {"type", property.type}, {"value", property.value}});
  const int status = operation.call(&qx::VelProxy::SetDevicePropertyWithVidPid, id.vendor,
                                    id.product, property.type, property.value);
  operation.finish(output, status,
                   "property of " + toText(id) + " is " + std::to_string(property.value));
}

void getTurbo(const Output& output, const UsbId& id) {
  Operation operation("getTurboConfigWithVidPid", Json{{"usbId", toText(id)}});
  const std::string config =
      operation.call(&qx::VelProxy::GetTurboConfigWithVidPid, id.vendor, id.product);
  operation.finishWith(output, printableLines(config), Json{{"config", jsonText(config)}});
}

struct Turbo {
  UsbId id;
  std::string config;
};

void setTurbo(const Output& output, const Turbo& turbo) {
  const UsbId& id = turbo.id;
  const std::string config = textOrStandardInput(turbo.config);
  Operation operation("setTurboConfigWithVidPid", Json{{"usbId", toText(id)}});
  const int status =
      operation.call(&qx::VelProxy::SetTurboConfigWithVidPid, id.vendor, id.product, config);
  operation.finish(
      output, status,
      "turbo configuration of " + toText(id) + " has " + std::to_string(config.size()) + " bytes");
}

// --- All devices ---------------------------------------------------------------------------------

void listPolicies(const Output& output) {
  Operation operation("getPolicyListByVidPid");
  // Only the service knows the content of a policy.
  const auto policies = operation.call(&qx::VelProxy::GetPolicyListByVidPid);
  const std::size_t count = policies.size();
  operation.proxy().FreePolicyList(policies);
  operation.finishWith(output, std::to_string(count), Json{{"policies", count}});
}

void resetProperties(const Output& output) {
  Operation operation("resetAllDeviceProperty");
  const int status = operation.call(&qx::VelProxy::ResetAllDeviceProperty);
  operation.finish(output, status, "all properties reset");
}

// --- Commands ------------------------------------------------------------------------------------

void addType(const ParserCommand& command, unsigned short& type) {
  addNumber(command, "type", type, "Type of device (a number of the service)").required();
}

void addDevicePolicies(CommandLine& commandLine, const ParserCommand& group) {
  const auto [command, policy] =
      addCommand(commandLine, group, "local", "Set the local policy of a device", setLocal);
  addNumber(command, "device", policy.device, "Number of the device").required();
  command.addOption("policy", policy.policy, "The policy (a number of the service)").required();
  command.addOption("--name", policy.name, "New name of the device (default: unchanged)");
  command.addOption("--text", policy.text, "New text of the policy (default: unchanged)");
}

void addAutoConnect(CommandLine& commandLine, const ParserCommand& policies) {
  const ParserCommand group =
      policies.addGroup("auto-connect", "Automatic attachment of devices by their type");
  const auto get = addCommand(commandLine, group, "get", "Show the setting", getAutoConnect);
  addType(get.command, get.arguments.type);
  const auto set = addCommand(commandLine, group, "set", "Change the setting", setAutoConnect);
  addType(set.command, set.arguments.type);
  addNumber(set.command, "value", set.arguments.value, "The setting (a number of the service)")
      .required();
}

void addProperties(CommandLine& commandLine, const ParserCommand& policies) {
  const ParserCommand group =
      policies.addGroup("property", "Properties of devices by USB vendor and product id");
  const auto get = addCommand(commandLine, group, "get", "Show a property", getProperty);
  addUsbId(get.command, get.arguments);
  const auto local =
      addCommand(commandLine, group, "local", "Show a property of this machine", getLocalProperty);
  addUsbId(local.command, local.arguments);
  const auto set = addCommand(commandLine, group, "set", "Change a property", setProperty);
  addUsbId(set.command, set.arguments.id);
  addType(set.command, set.arguments.type);
  set.command.addOption("value", set.arguments.value, "The property (a number of the service)")
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
  const ParserCommand group = commandLine.group("policy", "Policies for devices");
  commandLine.command(
      group, "list",
      "Count the policies by USB vendor and product id; only the service knows their content",
      listPolicies);
  addDevicePolicies(commandLine, group);
  addAutoConnect(commandLine, group);
  addProperties(commandLine, group);
  addTurbo(commandLine, group);
  commandLine.command(group, "reset", "Reset all properties", resetProperties);
}

}  // namespace velctl
