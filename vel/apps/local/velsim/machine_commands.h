// Control commands that act as a user at the simulated machine does, and those that show its state.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_COMMANDS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_COMMANDS_H

#include <vector>

#include "vel/apps/local/velsim/control.h"

namespace velsim {

// Those below; plug, unplug, replug, camera, vm, list, and the queries of service/queries.h. The
// simulator must outlive them.
std::vector<Command> machineCommands(Simulator& simulator);

// device_commands.cpp: attach, detach, mount, unmount, trouble.
std::vector<Command> deviceCommands(Simulator& simulator);
// report_commands.cpp: diagnosis, answer, joystick.
std::vector<Command> reportCommands(Simulator& simulator);
// report_commands.cpp: one for each command of a scenario, with its answer.
std::vector<Command> answeringCommands(const std::vector<CommandSetup>& setup);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_COMMANDS_H
