// The name of this program, by which it runs itself again.

#ifndef VEL_APPS_LOCAL_VELCTL_OWN_PROGRAM_H
#define VEL_APPS_LOCAL_VELCTL_OWN_PROGRAM_H

#include <string>

namespace velctl {

// As the process was started: a path, or a name to look for in PATH. "velctl" until it is set.
const std::string& ownProgram();
// Before other threads start.
void setOwnProgram(const std::string& name);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OWN_PROGRAM_H
