// Numbers on the command line. The parser's own reading of unsigned ones takes -1 and what is too
// large for the largest number, and 010 for 8.

#ifndef VEL_APPS_LOCAL_VELCTL_NUMBERS_H
#define VEL_APPS_LOCAL_VELCTL_NUMBERS_H

#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

namespace velctl {

// Decimal, or hexadecimal after 0x; empty when it is neither or larger than most.
std::optional<unsigned long long> readNumber(std::string_view text, unsigned long long most);

// What to say when there is none.
std::string notANumber(unsigned long long most);

// Adds an option, or a positional argument, that is such a number.
template <typename Unsigned>
CLI::Option& addNumber(CLI::App& command, const std::string& name, Unsigned& number,
                       const std::string& help) {
  constexpr Unsigned kMost = std::numeric_limits<Unsigned>::max();
  return *command
              .add_option_function<std::string>(
                  name,
                  [&number, name](const std::string& text) {
                    const std::optional<unsigned long long> read = readNumber(text, kMost);
                    if (!read) {
                      throw CLI::ValidationError(name, text + ": " + notANumber(kMost));
                    }
                    number = static_cast<Unsigned>(*read);
                  },
                  help)
              ->type_name("NUMBER");
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_NUMBERS_H
