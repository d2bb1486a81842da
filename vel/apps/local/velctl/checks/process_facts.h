// What the system says of a process of this machine.

#ifndef VEL_APPS_LOCAL_VELCTL_CHECKS_PROCESS_FACTS_H
#define VEL_APPS_LOCAL_VELCTL_CHECKS_PROCESS_FACTS_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace velctl {

struct ProcessFacts {
  std::string command;  // its name, which some systems cut short, and others give with its path
  std::chrono::seconds age{0};
};

// Asks ps, at most ten seconds. nullopt: there is no such process, this user may not see it, or
// this system has no ps that takes the question.
std::optional<ProcessFacts> processFactsOf(pid_t process);

// The line of `ps -o etime= -o comm=`: "2-03:04:05 velserviced".
std::optional<ProcessFacts> parseProcessFacts(std::string_view line);

// The name of a user; nullopt for one without a name.
std::optional<std::string> userNameOf(uid_t user);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_CHECKS_PROCESS_FACTS_H
