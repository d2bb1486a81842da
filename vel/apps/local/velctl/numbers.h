// Numbers on the command line. The parser's own reading of unsigned ones takes -1 and what is too
// large for the largest number, and 010 for 8.

#ifndef VEL_APPS_LOCAL_VELCTL_NUMBERS_H
#define VEL_APPS_LOCAL_VELCTL_NUMBERS_H

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "vel/apps/local/velctl/parser.h"

namespace velctl {

// Decimal, or hexadecimal after 0x; empty when it is neither or larger than most.
std::optional<unsigned long long> readNumber(std::string_view text, unsigned long long most);

// What to say when there is none.
std::string notANumber(unsigned long long most);

// Adds an option, or a positional argument, that is such a number up to most, which take is given.
ParserOption addNumber(const ParserCommand& command, const std::string& name,
                       unsigned long long most, const std::string& help,
                       std::function<void(unsigned long long)> take);

// The same into a variable, up to its largest number.
template <typename Unsigned>
ParserOption addNumber(const ParserCommand& command, const std::string& name, Unsigned& number,
                       const std::string& help) {
  return addNumber(command, name, std::numeric_limits<Unsigned>::max(), help,
                   [&number](unsigned long long read) { number = static_cast<Unsigned>(read); });
}

// The same for a number that may be missing.
template <typename Unsigned>
ParserOption addNumber(const ParserCommand& command, const std::string& name,
                       std::optional<Unsigned>& number, const std::string& help) {
  return addNumber(command, name, std::numeric_limits<Unsigned>::max(), help,
                   [&number](unsigned long long read) { number = static_cast<Unsigned>(read); });
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_NUMBERS_H
