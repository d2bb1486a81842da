// What is wrong with a line that CLI11 has refused.

#ifndef VEL_APPS_LOCAL_VELCTL_LINE_MISTAKES_H
#define VEL_APPS_LOCAL_VELCTL_LINE_MISTAKES_H

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace velctl {

// What keeps the parser from taking a text apart; no argument of a process contains it.
inline constexpr char kGuard = '\0';

std::string withoutGuard(std::string text);

// "velctl device attach"
std::string pathOf(const CLI::App& app);

// One line, which begins with the words that were understood.
//
// named      the innermost command or noun that the user has named, of a parser that knows all
// unknown    the arguments that the parser did not understand
std::string mistakeOf(const std::vector<std::string>& arguments, const CLI::App& named,
                      std::vector<std::string> unknown, const CLI::ParseError& error);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LINE_MISTAKES_H
