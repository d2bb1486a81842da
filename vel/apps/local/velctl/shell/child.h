// A command of velctl shell as a process.

#ifndef VEL_APPS_LOCAL_VELCTL_SHELL_CHILD_H
#define VEL_APPS_LOCAL_VELCTL_SHELL_CHILD_H

#include <string>
#include <vector>

#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl {

// Runs a program to its end, and returns its exit status. Meanwhile SIGINT is for the program
// alone, and a SIGTERM or SIGHUP ends both.
//
// out        its standard output
// hasInput   it reads the terminal; otherwise its standard input is empty
ExitCode runChild(const std::vector<std::string>& command, int out, bool hasInput);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_SHELL_CHILD_H
