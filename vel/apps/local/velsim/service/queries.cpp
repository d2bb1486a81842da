#include "vel/apps/local/velsim/service/queries.h"

#include "base/text.h"

namespace velsim {
namespace {

// All 16 digits.
std::string hex(std::uint64_t number) {
  constexpr int kHighestByte = 56;
  constexpr int kBitsOfByte = 8;
  std::string text = "0x";
  for (int shift = kHighestByte; shift >= 0; shift -= kBitsOfByte) {
    base::appendHex(&text, static_cast<unsigned char>(number >> shift));
  }
  return text;
}

Json vmsOf(const MachineState& machine) {
  Json list = Json::array();
  for (const auto& [vmId, number] : machine.vms.numbers()) {
    const VmSession& session = *machine.vms.find(number);
    list.push_back({{"vm", vmId},
                    {"number", number},
                    {"isConnected", session.attachment.has_value()},
                    {"isStarted", session.isStarted},
                    {"pipes", session.pipes.size()},
                    {"ports", session.ports.size()},
                    {"hasFocus", machine.vms.focus() && machine.vms.focus()->vm == number}});
  }
  return {{"vms", list}};
}

Json devicesOf(const MachineState& machine) {
  Json list = Json::array();
  for (const auto& [number, device] : machine.devices.all()) {
    Json entry = {{"number", number},
                  {"type", wordFor(device.type)},
                  {"name", device.name},
                  {"sourceId", hex(device.sourceId)},
                  {"status", static_cast<int>(device.status)},
                  {"vm", device.vm},
                  {"policy", device.policy},
                  {"policyText", device.policyText}};
    if (device.type == DeviceType::kStorage) {
      entry["isMounted"] = device.isMounted;
    }
    if (device.type == DeviceType::kNetwork) {
      entry["networkType"] = device.networkType;
    }
    list.push_back(entry);
  }
  return {{"devices", list}, {"camera", static_cast<int>(machine.devices.cameraStatus())}};
}

Json printersOf(const MachineState& machine) {
  Json list = Json::array();
  for (const auto& [number, printer] : machine.printers.all()) {
    Json entry = {{"number", number},
                  {"name", printer.name},
                  {"sourceId", hex(printer.sourceId)},
                  {"status", static_cast<int>(printer.status)},
                  {"vm", printer.vm}};
    if (printer.trouble != PrinterTrouble::kNone) {
      entry["trouble"] = wordFor(printer.trouble);
    }
    if (printer.isNetwork) {
      entry["address"] = printer.address;
      entry["extra"] = printer.extra;
    }
    list.push_back(entry);
  }
  return {{"printers", list}};
}

Json policiesOf(const MachineState& machine) {
  Json autoConnects = Json::array();
  for (const auto& [type, setting] : machine.policies.autoConnects()) {
    autoConnects.push_back({{"deviceType", type}, {"setting", setting}});
  }
  Json cards = Json::array();
  for (const auto& [type, setting] : machine.policies.popupCards()) {
    cards.push_back({{"deviceType", type}, {"setting", setting}});
  }
  Json byVidPid = Json::array();
  for (const auto& [id, policy] : machine.policies.byVidPid()) {
    Json entry = {{"vid", id.vid},
                  {"pid", id.pid},
                  {"deviceType", policy.deviceType},
                  {"property", policy.property.value_or(policy.builtInProperty)}};
    if (policy.turboText) {
      entry["turbo"] = *policy.turboText;
    }
    byVidPid.push_back(entry);
  }
  return {{"autoConnect", autoConnects}, {"popupCards", cards}, {"byVidPid", byVidPid}};
}

Json joysticksOf(const MachineState& machine) {
  Json list = Json::array();
  for (const Joystick& joystick : machine.joysticks.all()) {
    list.push_back({{"name", joystick.name},
                    {"mapping", machine.joysticks.mappings()[joystick.mapping]},
                    {"isCalibrated", joystick.isCalibrated}});
  }
  return {{"joysticks", list}, {"subscribers", machine.joysticks.subscribers().size()}};
}

Json qualityOf(const MachineState& machine) {
  Json list = Json::array();
  for (const auto& [vm, report] : machine.streamReports.all()) {
    Json entry = {{"vm", vm}};
    if (report.bandwidth) {
      entry["bandwidth"] = {report.bandwidth->first, report.bandwidth->second};
    }
    Json quality = Json::array();
    for (const auto& [type, figure] : report.quality) {
      quality.push_back({{"type", type}, {"figure", figure ? Json(*figure) : Json()}});
    }
    entry["quality"] = quality;
    list.push_back(entry);
  }
  return {{"reports", list}};
}

Json usbOf(const MachineState& machine) {
  Json list = Json::array();
  for (const auto& [vm, report] : machine.streamReports.all()) {
    for (const auto& [identity, usbStatus] : report.usbStatus) {
      list.push_back({{"vm", vm}, {"identity", hex(identity)}, {"status", usbStatus}});
    }
  }
  return {{"usb", list}};
}

}  // namespace

const std::vector<Query>& queries() {
  static const std::vector<Query> rows = {
      {"vms", "VM sessions, in JSON, as all that follow", vmsOf},
      {"devices", "devices, and whether the camera may be used", devicesOf},
      {"printers", "printers and network printers", printersOf},
      {"policies", "settings by type, and by vendor and product id", policiesOf},
      {"joysticks", "joysticks", joysticksOf},
      {"quality", "bandwidth and quality reported by clients", qualityOf},
      {"usb", "USB devices redirected by clients", usbOf},
  };
  return rows;
}

}  // namespace velsim
