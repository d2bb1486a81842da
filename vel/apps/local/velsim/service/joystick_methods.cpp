// Joysticks. Positions are those in the lists.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/records.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;

Values getJoystickDevList(MachineState& machine, const Values&) {
  std::vector<Bytes> records;
  for (const Joystick& joystick : machine.joysticks.all()) {
    records.push_back(recordOf(static_cast<std::uint16_t>(records.size()), joystick));
  }
  return listOf(std::move(records));
}

Values getJoystickMappingList(MachineState& machine, const Values&) {
  std::vector<Bytes> records;
  for (const std::string& name : machine.joysticks.mappings()) {
    records.push_back(joystickMappingRecord(static_cast<std::uint16_t>(records.size()), name));
  }
  return listOf(std::move(records));
}

Values setJoystickMapping(MachineState& machine, const Values& arguments) {
  return status(machine.joysticks.setMapping(qxbus::readUInt16(arguments, 0),
                                             qxbus::readUInt16(arguments, 1)));
}

Values calibrationJoystick(MachineState& machine, const Values& arguments) {
  return status(machine.joysticks.calibrate(qxbus::readUInt16(arguments, 0)));
}

Values registerJoystickCallback(MachineState& machine, const Values& arguments) {
  machine.joysticks.subscribe(numberInBlock(arguments, 0));
  return status(Status::kOk);
}

Values unregisterJoystickCallback(MachineState& machine, const Values& arguments) {
  return status(machine.joysticks.unsubscribe(numberInBlock(arguments, 0)));
}

}  // namespace

const std::vector<MethodRow>& joystickMethods() {
  static const std::vector<MethodRow> rows = {
      {"getJoystickDevList", getJoystickDevList},
      {"getJoystickMappingList", getJoystickMappingList},
      {"setJoystickMapping", setJoystickMapping},
      {"calibrationJoystick", calibrationJoystick},
      {"registerJoystickCallback", registerJoystickCallback},
      {"unregisterJoystickCallback", unregisterJoystickCallback},
  };
  return rows;
}

}  // namespace velsim
