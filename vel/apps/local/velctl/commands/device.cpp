// velctl device: devices of this machine and of the network.

#include <cstdint>
#include <string>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

void listDevices(Invocation& invocation) {
  finishRecords(invocation, "devices", deviceFields(),
                invocation.call([](const vel::Client& client, const Values& values) {
                  return values.hasVm() ? client.devices(values.vm()) : client.localDevices();
                }));
}

// A device by its number or by its source id: exactly one of them is given.
template <typename Subject>
using ChangeOf = vel::Result<void> (vel::Client::*)(const std::string&, Subject) const;

struct AttachmentChange {
  ChangeOf<vel::DeviceNumber> byNumber;
  ChangeOf<vel::SourceId> bySource;
  const char* done;
};

template <const AttachmentChange& change>
void changeAttachment(Invocation& invocation) {
  const bool isBySource = invocation.values().has("--source");
  const auto result =
      invocation.call([isBySource](const vel::Client& client, const Values& values) {
        return isBySource ? (client.*change.bySource)(values.vm(), values.source("--source"))
                          : (client.*change.byNumber)(values.vm(), values.device());
      });
  invocation.finish(result, (isBySource ? "source {--source} " : "device {DEVICE} ") +
                                std::string(change.done) + " {--vm}");
}

constexpr AttachmentChange kAttach = {&vel::Client::attach, &vel::Client::attach, "attached to"};
constexpr AttachmentChange kDetach = {&vel::Client::detach, &vel::Client::detach, "detached from"};

template <const AttachmentChange& change>
Action changes(const std::string& method, const std::string& methodBySource) {
  Action action = runs(method, &changeAttachment<change>, statusMembers());
  action.methodBySource = methodBySource;
  return action;
}

}  // namespace

Parameter sourceOption() {
  return source("--source", "Source id of the device, in place of DEVICE");
}

std::string onlyOneDevice(const Arguments& arguments) {
  return arguments.count("--source") == arguments.count("DEVICE")
             ? "name the device as DEVICE or with --source, not both"
             : "";
}

std::vector<Command> deviceCommands() {
  Action listing = runs("getDeviceList", &listDevices);
  listing.list = "devices";
  listing.elements = membersOf(deviceFields());
  return {
      {"device list",
       "List the devices of this machine, or those that a VM can have",
       {vmOption()},
       listing,
       {{"device list", "All devices of this machine"},
        {"device list --vm win11", "The devices that the VM win11 can have"}}},
      {"device show",
       "Show one device in full",
       {deviceArgument()},
       shows("getDeviceStatus", "device", "velctl device list", deviceFields(),
             [](const vel::Client& client, const Values& values) {
               return client.device(values.device());
             }),
       {{"device show 12", "The device with the number 12"},
        {"device show 'Front camera' --json", "The device with this name, in JSON"}},
       "",
       "device status"},
      {"device attach",
       "Attach a device to a VM",
       {deviceArgument().optional(), sourceOption(), vmOption().required()},
       changes<kAttach>("connectDevice", "connectDeviceBySrcId"),
       {{"device attach 12 --vm win11", "Attach the device with the number 12"}},
       "",
       "device connect",
       &onlyOneDevice},
      {"device detach",
       "Detach a device from a VM",
       {deviceArgument().optional(), sourceOption(), vmOption().required()},
       changes<kDetach>("disconnectDevice", "disconnectDeviceBySrcId"),
       {{"device detach 12 --vm win11", "Take the device back from win11"}},
       "",
       "device disconnect",
       &onlyOneDevice},
      {"device redirect",
       "Redirect a device in a direction, which is a number of the service",
       {deviceArgument(),
        number<std::uint16_t>("DIRECTION",
                              "Of velsim 0: back to this machine, 1: into the VM, from another VM "
                              "as well"),
        vmOption().required()},
       asks(
           "redirectDevice",
           [](const vel::Client& client, const Values& values) {
             return client.redirect(values.vm(), values.device(),
                                    values.number<std::uint16_t>("DIRECTION"));
           },
           "device {DEVICE} redirected for {--vm}: {DIRECTION}"),
       {{"device redirect 12 1 --vm win11", "Into win11, also from another VM"}}},
      diagnoseCommand(),
  };
}

}  // namespace velctl
