// Variables of launchd, the process of macOS that starts all others.

#ifndef BASE_LAUNCHD_H
#define BASE_LAUNCHD_H

#include <optional>
#include <string>

namespace base {

// Asks launchd for a variable: it gives its variables to the programs that it starts, and a program
// that was started otherwise, from a terminal for example, may lack them. Takes some milliseconds.
//
// launchctl  the program to ask, which exists on macOS only
// returns    nullopt when the variable is not set or empty, and where there is no such program
std::optional<std::string> launchdVariable(const std::string& name,
                                           const std::string& launchctl = "/bin/launchctl");

}  // namespace base

#endif  // BASE_LAUNCHD_H
