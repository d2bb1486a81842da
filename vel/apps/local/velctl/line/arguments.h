// The parameters of a command as the user has given them: texts without a mistake.

#ifndef VEL_APPS_LOCAL_VELCTL_LINE_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELCTL_LINE_ARGUMENTS_H

#include <map>
#include <string>
#include <vector>

namespace velctl {

// By the name of the parameter. Without those that were not given; a flag has no text.
using Arguments = std::map<std::string, std::vector<std::string>>;

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LINE_ARGUMENTS_H
