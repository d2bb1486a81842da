// Control commands that act as a user at the simulated machine does, and those that show its state.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_COMMANDS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_COMMANDS_H

#include <vector>

#include "vel/apps/local/velsim/control.h"

namespace velsim {

// plug, unplug, camera, vm, list, and the queries of service/queries.h. The simulator must outlive
// them.
std::vector<Command> machineCommands(Simulator& simulator);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_COMMANDS_H
