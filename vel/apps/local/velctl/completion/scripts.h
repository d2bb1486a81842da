// The completion of velctl as scripts of shells.

#ifndef VEL_APPS_LOCAL_VELCTL_COMPLETION_SCRIPTS_H
#define VEL_APPS_LOCAL_VELCTL_COMPLETION_SCRIPTS_H

#include <string>
#include <vector>

namespace velctl {

// The shells that have one: bash, zsh, fish.
std::vector<std::string> completedShells();

// The script, which the shell reads when it starts. It knows nothing of the commands, but asks the
// velctl in PATH (entry.h), so that it fits each version.
std::string completionScript(const std::string& shell);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMPLETION_SCRIPTS_H
