// The commands of velctl: one function for each noun, or for nouns that belong together.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H
#define VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H

#include <vector>

#include "vel/apps/local/velctl/line/command.h"

namespace velctl {

std::vector<Command> statusCommands();
std::vector<Command> doctorCommands();
std::vector<Command> waitCommands();
std::vector<Command> vmCommands();
std::vector<Command> deviceCommands();
std::vector<Command> newDeviceCommands();
std::vector<Command> policyCommands();
std::vector<Command> printerCommands();
std::vector<Command> queueCommands();
std::vector<Command> joystickCommands();
std::vector<Command> serviceCommands();

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H
