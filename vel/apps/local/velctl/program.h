// velctl as a function, without its process.

#ifndef VEL_APPS_LOCAL_VELCTL_PROGRAM_H
#define VEL_APPS_LOCAL_VELCTL_PROGRAM_H

#include <string>
#include <vector>

#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl {

// Runs a command line, given without the name of the program. Data goes to a descriptor, messages
// go to standard error.
ExitCode runCommandLine(const std::vector<std::string>& arguments, int dataDescriptor);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_PROGRAM_H
