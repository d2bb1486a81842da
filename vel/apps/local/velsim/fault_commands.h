// Control commands that set, show and clear faults.

#ifndef VEL_APPS_LOCAL_VELSIM_FAULT_COMMANDS_H
#define VEL_APPS_LOCAL_VELSIM_FAULT_COMMANDS_H

#include <vector>

#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/faults/faults.h"

namespace velsim {

// fault, faults, clear-faults. The faults must outlive them.
std::vector<Command> faultCommands(Faults& faults);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_FAULT_COMMANDS_H
