// velctl shell: commands one after the other, from a terminal, a file or a pipe.

#ifndef VEL_APPS_LOCAL_VELCTL_SHELL_SHELL_H
#define VEL_APPS_LOCAL_VELCTL_SHELL_SHELL_H

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/line/command_line.h"
#include "vel/apps/local/velctl/output/output.h"

namespace velctl {

// Each command is a velctl of its own, with the global options of this one, so that nothing of a
// command that fails or is interrupted stays behind.
//
// returns    kExitDone at a terminal, otherwise the status of the last command that failed
ExitCode runShell(const ParsedLine& line, const Output& output);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_SHELL_SHELL_H
