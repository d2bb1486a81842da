// Policies and properties by type of device, and by USB vendor and product id.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/records.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;

VidPid vidPidOf(const Values& arguments) {
  return {qxbus::readUInt16(arguments, 1), qxbus::readUInt16(arguments, 2)};
}

Values setLocalPolicy(MachineState& machine, const Values& arguments) {
  return status(machine.devices.setPolicy(qxbus::readUInt16(arguments, 0), int16Of(arguments, 1),
                                          qxbus::readString(arguments, 2),
                                          qxbus::readString(arguments, 3)));
}

Values setAutoConnect(MachineState& machine, const Values& arguments) {
  machine.policies.setAutoConnect(qxbus::readUInt16(arguments, 1), int16Of(arguments, 2));
  return status(Status::kOk);
}

Values getAutoConnect(MachineState& machine, const Values& arguments) {
  return {std::int32_t{machine.policies.autoConnect(qxbus::readUInt16(arguments, 1))}};
}

Values setDevicePropertyWithVidPid(MachineState& machine, const Values& arguments) {
  machine.policies.setProperty(vidPidOf(arguments),
                               static_cast<std::uint16_t>(int32Of(arguments, 3)),
                               int32Of(arguments, 4));
  return status(Status::kOk);
}

// The product id comes a second time, where a type would be expected.
Values getDevicePropertyWithVidPid(MachineState& machine, const Values& arguments) {
  return {machine.policies.property(vidPidOf(arguments))};
}

Values getLocalDevicePropertyWithVidPid(MachineState& machine, const Values& arguments) {
  return {machine.policies.localProperty(vidPidOf(arguments))};
}

Values getPolicyListByVidPid(MachineState& machine, const Values&) {
  std::vector<Bytes> records;
  for (const auto& [id, policy] : machine.policies.byVidPid()) {
    records.push_back(recordOf(policy));
  }
  return listOf(std::move(records));
}

Values getTurboConfigWithVidPid(MachineState& machine, const Values& arguments) {
  return {machine.policies.turboText(vidPidOf(arguments))};
}

Values setTurboConfigWithVidPid(MachineState& machine, const Values& arguments) {
  machine.policies.setTurboText(vidPidOf(arguments), qxbus::readString(arguments, 3));
  return status(Status::kOk);
}

// Auto-connect and cards are properties too.
Values resetAllDeviceProperty(MachineState& machine, const Values&) {
  machine.policies.reset();
  return status(Status::kOk);
}

}  // namespace

const std::vector<MethodRow>& policyMethods() {
  static const std::vector<MethodRow> rows = {
      {"setLocalPolicy", setLocalPolicy},
      {"setAutoConnect", setAutoConnect},
      {"getAutoConnect", getAutoConnect},
      {"setDevicePropertyWithVidPid", setDevicePropertyWithVidPid},
      {"getDevicePropertyWithVidPid", getDevicePropertyWithVidPid},
      {"getLocalDevicePropertyWithVidPid", getLocalDevicePropertyWithVidPid},
      {"getPolicyListByVidPid", getPolicyListByVidPid},
      {"getTurboConfigWithVidPid", getTurboConfigWithVidPid},
      {"setTurboConfigWithVidPid", setTurboConfigWithVidPid},
      {"resetAllDeviceProperty", resetAllDeviceProperty},
  };
  return rows;
}

}  // namespace velsim
