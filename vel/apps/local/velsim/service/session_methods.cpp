// Resetting, VM sessions, their pipes, ports and focus, drive tokens.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;
using velprotocol::read;
namespace pipe = velprotocol::pipe;

std::vector<Pipe> pipesOf(const Values& arguments) {
  std::vector<Pipe> pipes;
  for (const qxbus::Value& argument : arguments) {
    if (const auto* const block = std::get_if<Bytes>(&argument)) {
      pipes.push_back({read(*block, pipe::kVm), read(*block, pipe::kHandle),
                       read(*block, pipe::kName1), read(*block, pipe::kName2)});
    }
  }
  return pipes;
}

Values resetService(MachineState& machine, const Values&) {
  machine.reset();
  return status(Status::kOk);
}

Values getVmListSize(MachineState& machine, const Values& arguments) {
  return {static_cast<std::int32_t>(machine.vms.numberOf(qxbus::readString(arguments, 0)))};
}

Values getVmList(MachineState& machine, const Values&) {
  Values list = {static_cast<std::int32_t>(machine.vms.numbers().size())};
  for (const auto& [vmId, number] : machine.vms.numbers()) {
    list.emplace_back(vmId);
    list.emplace_back(static_cast<std::int32_t>(number));
  }
  return list;
}

Values connectVm(MachineState& machine, const Values& arguments) {
  return status(machine.vms.connect(
      vmOf(arguments),
      Attachment{int32Of(arguments, 1), int32Of(arguments, 2), int32Of(arguments, 3)}));
}

Values disconnectVm(MachineState& machine, const Values& arguments) {
  return status(machine.vms.disconnect(vmOf(arguments)));
}

Values startManager(MachineState& machine, const Values& arguments) {
  return status(machine.vms.start(vmOf(arguments)));
}

Values createPipe(MachineState& machine, const Values& arguments) {
  return status(machine.vms.createPipes(vmOf(arguments), pipesOf(arguments)));
}

Values destroyPipe(MachineState& machine, const Values& arguments) {
  return status(machine.vms.destroyPipes(vmOf(arguments), pipesOf(arguments)));
}

Values setPortChannelStatus(MachineState& machine, const Values& arguments) {
  const std::uint32_t port = qxbus::readUInt32(arguments, 1);
  return status(machine.vms.setPortStatus(vmOf(arguments), port, int32Of(arguments, 2)));
}

Values onFocusChanged(MachineState& machine, const Values& arguments) {
  const bool isGained = qxbus::readUInt32(arguments, 1) != 0;
  const std::uint64_t window = qxbus::readUInt64(arguments, 2);
  return status(machine.vms.setFocus(vmOf(arguments), isGained, window));
}

Values updateDriveToken(MachineState& machine, const Values& arguments) {
  return status(machine.vms.setDriveToken(qxbus::readString(arguments, 0)));
}

}  // namespace

const std::vector<MethodRow>& sessionMethods() {
  static const std::vector<MethodRow> rows = {
      {"resetService", resetService},
      {"getVmListSize", getVmListSize},
      {"getVmList", getVmList},
      {"connectVm", connectVm},
      {"disconnectVm", disconnectVm},
      {"startManager", startManager},
      {"createPipe", createPipe},
      {"destroyPipe", destroyPipe},
      {"setPortChannelStatus", setPortChannelStatus},
      {"onFocusChanged", onFocusChanged},
      {"updateDriveToken", updateDriveToken},
  };
  return rows;
}

}  // namespace velsim
