// velctl policy, auto-connect, property, turbo: the service's policies for devices, by number, by
// type, or by USB vendor and product id.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/data_streams.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/run/actions.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl {
namespace {

using velprotocol::Legend;

// --- One device ---------------------------------------------------------------------------------

// The present texts of a device, which go back to the service: byte by byte, and only when the
// record holds them whole. A vel::Device shows neither.
struct PresentTexts {
  bool isKnown = false;
  std::size_t length = 0;  // of the record
  std::string name;
  std::string text;
};

constexpr std::size_t kFixedPart = offsetof(CommonDevice, vmIdText);

// The text of a field of fixed size.
template <std::size_t size>
std::string textIn(const char (&field)[size]) {
  return std::string(field, strnlen(field, size));
}

vel::Result<PresentTexts> presentTexts(const vel::Client& client, const Values& values) {
  const std::uint16_t number = values.device().value();
  qx::VelProxy& proxy = client.proxy();
  const std::list<CommonDevice*> records = proxy.GetDeviceStatus(number);
  const vel::Result<void> outcome = vel::Client::outcome();
  std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  PresentTexts texts;
  for (const CommonDevice* const record : records) {
    const std::size_t length = lengths.front();
    lengths.erase(lengths.begin());
    if (length >= sizeof number && record->devNumber == number) {
      texts.isKnown = true;
      texts.length = length;
      if (length >= kFixedPart) {
        texts.name = textIn(record->name);
        texts.text = textIn(record->policyText);
      }
      break;
    }
  }
  proxy.FreeDeviceList(records);
  if (!outcome) {
    return vel::unexpected<vel::Error>(outcome.error());
  }
  return texts;
}

void setPolicy(Invocation& invocation) {
  const Values& values = invocation.values();
  std::optional<std::string> name = values.optionalText("--name");
  std::optional<std::string> text = values.optionalText("--text");
  if (!name || !text) {
    invocation.setMethod("getDeviceStatus", ' ' + std::to_string(values.device().value()));
    const PresentTexts present = invocation.valueOf(invocation.call(&presentTexts));
    if (!present.isKnown) {
      invocation.fail(kExitUnknown,
                      "the service has no such device; velctl device list shows them");
    }
    if (present.length < kFixedPart) {
      invocation.fail(kExitErrorReply, "no usable answer: the record of the device has " +
                                           std::to_string(present.length) + " of " +
                                           std::to_string(kFixedPart) +
                                           " bytes; give --name and --text");
    }
    name = name.value_or(present.name);
    text = text.value_or(present.text);
    invocation.setMethod("setLocalPolicy");
  }
  invocation.finish(invocation.call([name, text](const vel::Client& client, const Values& given) {
    return client.setLocalPolicy(
        given.device(), vel::LocalPolicy(given.number<std::int16_t>("POLICY")), *name, *text);
  }),
                    "device {DEVICE} has policy {POLICY}");
}

Parameter policyArgument() {
  return number<std::int16_t>("POLICY", "The policy")
      .withWords(Legend("", velprotocol::kLocalPolicies));
}

const std::vector<Field<vel::Device>>& policyFields() {
  static const auto& fields = *[] {
    auto* const some = new std::vector<Field<vel::Device>>;
    for (const Field<vel::Device>& field : deviceFields()) {
      const std::string& name = field.member.name;
      if (name == "device" || name == "name" || name == "policy" || name == "policyText") {
        some->push_back(field);
      }
    }
    return some;
  }();
  return fields;
}

std::vector<Command> policiesOfDevices() {
  constexpr std::size_t kLongestName = 127;
  constexpr std::size_t kLongestText = 255;
  return {
      {"policy list",
       "List what is set by USB vendor and product id",
       {},
       lists("getPolicyListByVidPid", "policies", usbPolicyFields(),
             [](const vel::Client& client, const Values&) { return client.policies(); }),
       {{"policy list", "Properties and turbo configurations"}}},
      {"policy get",
       "Show the local policy of a device",
       {deviceArgument()},
       shows("getDeviceStatus", "device", "velctl device list", policyFields(),
             [](const vel::Client& client, const Values& values) {
               return client.device(values.device());
             }),
       {{"policy get 12", "The policy of the device with the number 12"}}},
      {"policy set",
       "Set the local policy of a device",
       {deviceArgument(), policyArgument(),
        text("--name", "New name of the device (default: unchanged)").atMost(kLongestName).silent(),
        text("--text", "New text of the policy (default: unchanged)")
            .atMost(kLongestText)
            .silent()},
       runs("setLocalPolicy", &setPolicy, statusMembers()),
       {{"policy set 12 forbidden", "The device may not be attached"},
        {"policy set 12 allowed --text 'Asked by the desk'", "Allowed again, with a reason"}},
       "",
       "policy local"},
  };
}

// --- A type of device ---------------------------------------------------------------------------

Parameter typeArgument() {
  return number<std::uint16_t>("TYPE", "Type of the device")
      .withWords(Legend("", velprotocol::kDeviceTypes));
}

std::vector<Command> autoConnection() {
  return {
      {"auto-connect get",
       "Show whether devices of a type are attached by themselves",
       {typeArgument()},
       gets("getAutoConnect", {"value", Type::kInteger},
            [](const vel::Client& client, const Values& values) {
              return client.autoConnect(vel::DeviceType(values.number<std::uint16_t>("TYPE")));
            }),
       {{"auto-connect get camera", "0: no; the service defines the other numbers"}},
       "",
       "policy auto-connect get"},
      {"auto-connect set",
       "Set whether devices of a type are attached by themselves",
       {typeArgument(), number<std::uint16_t>("VALUE", "The setting, a number of the service")},
       asks(
           "setAutoConnect",
           [](const vel::Client& client, const Values& values) {
             return client.setAutoConnect(vel::DeviceType(values.number<std::uint16_t>("TYPE")),
                                          values.number<std::uint16_t>("VALUE"));
           },
           "auto-connect of type {TYPE} is {VALUE}"),
       {{"auto-connect set camera 1", "Attach cameras by themselves"}},
       "",
       "policy auto-connect set"},
  };
}

// --- A USB vendor and product -------------------------------------------------------------------

void getProperty(Invocation& invocation) {
  const bool isLocal = invocation.values().has("--local");
  const std::int32_t value = invocation.valueOf(
      invocation.call([isLocal](const vel::Client& client, const Values& values) {
        return isLocal ? client.localProperty(values.usbId()) : client.property(values.usbId());
      }));
  invocation.finishWith(std::to_string(value), Json{{"value", value}});
}

void setTurbo(Invocation& invocation) {
  const std::string config = textOrStandardInput(invocation.values().text("CONFIG"));
  invocation.finish(
      invocation.call([config](const vel::Client& client, const Values& values) {
        return client.setTurboConfig(values.usbId(), config);
      }),
      "turbo configuration of {USB-ID} has " + std::to_string(config.size()) + " bytes");
}

std::vector<Command> policiesOfUsbIds() {
  Action getting = runs("getDevicePropertyWithVidPid", &getProperty, {{"value", Type::kInteger}});
  getting.methodOfLocal = "getLocalDevicePropertyWithVidPid";
  return {
      {"property get",
       "Show the property of a USB vendor and product id",
       {usbId(), flag("--local", "The property on this machine")},
       getting,
       {{"property get 046d:0825", "The property of this camera"}},
       "",
       "policy property get, policy property local"},
      {"property set",
       "Set the property of a USB vendor and product id",
       {usbId(), typeArgument(),
        number<std::int32_t>("VALUE", "The property, a number of the service")},
       asks(
           "setDevicePropertyWithVidPid",
           [](const vel::Client& client, const Values& values) {
             return client.setProperty(values.usbId(),
                                       vel::DeviceType(values.number<std::uint16_t>("TYPE")),
                                       values.number<std::int32_t>("VALUE"));
           },
           "property of {USB-ID} is {VALUE}"),
       {{"property set 046d:0825 camera 1", "Set the property of this camera"}},
       "",
       "policy property set"},
      {"property reset",
       "Reset all properties",
       {},
       asks(
           "resetAllDeviceProperty",
           [](const vel::Client& client, const Values&) { return client.resetProperties(); },
           "all properties reset"),
       {{"property reset", "As after the installation"}},
       "",
       "policy reset"},
      {"turbo get",
       "Show the turbo configuration of a USB vendor and product id",
       {usbId()},
       reads("getTurboConfigWithVidPid", "config",
             [](const vel::Client& client, const Values& values) {
               return client.turboConfig(values.usbId());
             }),
       {{"turbo get 046d:0825", "The configuration of this camera"}},
       "",
       "policy turbo get"},
      {"turbo set",
       "Set the turbo configuration of a USB vendor and product id",
       {usbId(), text("CONFIG", "The configuration; - reads it from standard input").silent()},
       runs("setTurboConfigWithVidPid", &setTurbo, statusMembers()),
       {{"turbo set 046d:0825 - < turbo.json", "From a file"}},
       "",
       "policy turbo set"},
  };
}

}  // namespace

std::vector<Command> policyCommands() {
  std::vector<Command> commands = policiesOfDevices();
  for (const auto& more : {autoConnection(), policiesOfUsbIds()}) {
    commands.insert(commands.end(), more.begin(), more.end());
  }
  return commands;
}

}  // namespace velctl
