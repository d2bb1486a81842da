// velctl policy: the service's policies for devices, by number, by type, or by USB vendor and
// product id.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {
namespace {

// --- One device ----------------------------------------------------------------------------------

struct LocalPolicy {
  unsigned short device = 0;
  short policy = 0;
  std::optional<std::string> name;
  std::optional<std::string> text;
};

struct Texts {
  std::string name;
  std::string text;
};

// The text of a field of fixed size.
template <std::size_t size>
std::string textIn(const char (&field)[size]) {
  return std::string(field, strnlen(field, size));
}

// The present texts of a device, which go back to the service: byte by byte, and only when the
// record holds them whole. A vel::Device shows neither.
Texts presentTexts(unsigned short number) {
  constexpr std::size_t kFixedPart = offsetof(CommonDevice, vmIdText);
  const Operation operation("getDeviceStatus", Json{{"device", number}});
  qx::VelProxy& proxy = operation.client().proxy();
  const std::list<CommonDevice*> records = proxy.GetDeviceStatus(number);
  const vel::Result<void> outcome = vel::Client::outcome();
  std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  std::optional<std::size_t> found;
  Texts texts;
  for (const CommonDevice* const record : records) {
    const std::size_t length = lengths.front();
    lengths.erase(lengths.begin());
    if (length >= sizeof number && record->devNumber == number) {
      found = length;
      texts =
          length < kFixedPart ? Texts() : Texts{textIn(record->name), textIn(record->policyText)};
      break;
    }
  }
  proxy.FreeDeviceList(records);
  operation.check(outcome);
  if (!found) {
    operation.failRefused("the service has no such device; velctl device list shows its devices");
  }
  if (*found < kFixedPart) {
    operation.failWithoutAnswer("the record of the device has " + std::to_string(*found) + " of " +
                                std::to_string(kFixedPart) + " bytes; give --name and --text");
  }
  return texts;
}

void setLocal(const Output& output, const LocalPolicy& policy) {
  constexpr std::size_t kLongestName = 127;
  constexpr std::size_t kLongestText = 255;
  refuseLonger(policy.name.value_or(""), kLongestName);
  refuseLonger(policy.text.value_or(""), kLongestText);
  const Texts present = policy.name && policy.text ? Texts() : presentTexts(policy.device);
  const Operation operation("setLocalPolicy",
                            Json{{"device", policy.device}, {"policy", policy.policy}});
  operation.finish(
      output,
      operation.client().setLocalPolicy(
          vel::DeviceNumber(policy.device), vel::LocalPolicy(policy.policy),
          policy.name.value_or(present.name), policy.text.value_or(present.text)),
      "device " + std::to_string(policy.device) + " has policy " + std::to_string(policy.policy));
}

// --- A type of device ----------------------------------------------------------------------------

struct DeviceType {
  unsigned short type = 0;
};

void getAutoConnect(const Output& output, const DeviceType& given) {
  const Operation operation("getAutoConnect", Json{{"type", given.type}});
  const std::int32_t value =
      operation.valueOf(operation.client().autoConnect(vel::DeviceType(given.type)));
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

struct AutoConnect {
  unsigned short type = 0;
  unsigned short value = 0;
};

void setAutoConnect(const Output& output, const AutoConnect& setting) {
  const Operation operation("setAutoConnect",
                            Json{{"type", setting.type}, {"value", setting.value}});
  operation.finish(output,
                   operation.client().setAutoConnect(vel::DeviceType(setting.type), setting.value),
                   "auto-connect of type " + std::to_string(setting.type) + " is " +
                       std::to_string(setting.value));
}

// --- A USB vendor and product --------------------------------------------------------------------

struct Property {
  vel::UsbId id;
  unsigned short type = 0;
  int value = 0;
};

void getProperty(const Output& output, const vel::UsbId& id) {
  const Operation operation("getDevicePropertyWithVidPid", Json{{"usbId", toText(id)}});
  const std::int32_t value = operation.valueOf(operation.client().property(id));
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void getLocalProperty(const Output& output, const vel::UsbId& id) {
  const Operation operation("getLocalDevicePropertyWithVidPid", Json{{"usbId", toText(id)}});
  const std::int32_t value = operation.valueOf(operation.client().localProperty(id));
  operation.finishWith(output, std::to_string(value), Json{{"value", value}});
}

void setProperty(const Output& output, const Property& property) {
  const vel::UsbId id = property.id;
  const Operation operation(
      "setDevicePropertyWithVidPid",
      Json{{"usbId", toText(id)}, {"type", property.type}, {"value", property.value}});
  const auto result =
      operation.client().setProperty(id, vel::DeviceType(property.type), property.value);
  operation.finish(output, result,
                   "property of " + toText(id) + " is " + std::to_string(property.value));
}

void getTurbo(const Output& output, const vel::UsbId& id) {
  const Operation operation("getTurboConfigWithVidPid", Json{{"usbId", toText(id)}});
  const std::string config = operation.valueOf(operation.client().turboConfig(id));
  operation.finishWith(output, printableLines(config), Json{{"config", jsonText(config)}});
}

struct Turbo {
  vel::UsbId id;
  std::string config;
};

void setTurbo(const Output& output, const Turbo& turbo) {
  const std::string config = textOrStandardInput(turbo.config);
  const Operation operation("setTurboConfigWithVidPid", Json{{"usbId", toText(turbo.id)}});
  operation.finish(output, operation.client().setTurboConfig(turbo.id, config),
                   "turbo configuration of " + toText(turbo.id) + " has " +
                       std::to_string(config.size()) + " bytes");
}

// --- All devices ---------------------------------------------------------------------------------

void listPolicies(const Output& output) {
  const Operation operation("getPolicyListByVidPid");
  // Only the service knows the content of a policy.
  const std::size_t count = operation.valueOf(operation.client().policies()).size();
  operation.finishWith(output, std::to_string(count), Json{{"policies", count}});
}

void resetProperties(const Output& output) {
  const Operation operation("resetAllDeviceProperty");
  operation.finish(output, operation.client().resetProperties(), "all properties reset");
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
