// The commands of velctl: one function for each noun, or for nouns that belong together.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H
#define VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H

#include <string>
#include <vector>

#include "vel/apps/local/velctl/line/command.h"

namespace velctl {

std::vector<Command> statusCommands();
std::vector<Command> doctorCommands();
std::vector<Command> waitCommands();
std::vector<Command> vmCommands();
std::vector<Command> deviceCommands();
std::vector<Command> joystickCommands();
std::vector<Command> newDeviceCommands();
std::vector<Command> penCommands();
std::vector<Command> policyCommands();
std::vector<Command> printerCommands();
std::vector<Command> queueCommands();
std::vector<Command> serviceCommandCommands();
std::vector<Command> serviceCommands();
std::vector<Command> sharedPrinterCommands();
std::vector<Command> velctlCommands();
std::vector<Command> watchCommands();

// Rows beside others of their noun, in sources of their own.
Command diagnoseCommand();
Command joystickWatchCommand();

// Parts of rows for a device by its number or by its source id, of which exactly one is given.
Parameter sourceOption();
std::string onlyOneDevice(const Arguments& arguments);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H
