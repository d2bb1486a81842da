// The command line: the rows of the commands, as CLI11 parses them.

#ifndef VEL_APPS_LOCAL_VELCTL_LINE_COMMAND_LINE_H
#define VEL_APPS_LOCAL_VELCTL_LINE_COMMAND_LINE_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vel/apps/local/velctl/line/arguments.h"
#include "vel/apps/local/velctl/line/command.h"

namespace velctl {

// The options that every command has.
const std::vector<Parameter>& globalOptions();

// The help of a parameter with its values and its default.
std::string describedHelp(const Parameter& parameter);

struct EnvironmentVariable {
  std::string_view name;
  std::string_view meaning;
};

inline constexpr EnvironmentVariable kEnvironment[] = {
    {"QXBUS_ADDRESS",
     "Address of the bus, or direct:PATH, the socket of the service (default: the session "
     "bus, without one direct:)"},
    {"QX_APP_DATA", "Folder of the log and of the history of velctl shell"},
    {"QX_LOG_LEVEL", "debug, info, error or off (default: error)"},
    {"NO_COLOR", "No colours, unless it is empty"},
    {"COLUMNS", "Width of the terminal (default: that of its window)"},
    {"VELCTL_COMPLETION_SECONDS",
     "How long completion waits for the service, 1 to 3600 seconds (default: 1)"},
};

struct ParsedLine {
  // Null: there is nothing to run, but a text to show or a mistake.
  const Command* command = nullptr;
  Arguments arguments;
  // The text that the user has asked for: help, or the version.
  std::string help;
  // One line on a wrong command line, which begins with the words that were understood: "velctl
  // device: ...".
  std::string mistake;

  // Also of a line with a mistake, as far as they were understood.
  bool isJson = false;
  bool isQuiet = false;
  bool isVerbose = false;
  std::optional<std::chrono::milliseconds> timeout;
  std::optional<std::string> bus;
  // The global options among the arguments, for other commands.
  std::vector<std::string> globalWords;
};

// Arguments without the name of the program.
ParsedLine parseLine(const std::vector<std::string>& arguments);

// The help of velctl for an empty path, of a noun, or of a command: "device attach".
std::string helpOf(const std::string& path);

// The words of a list that are nearest to a mistyped one; none when none is near.
std::vector<std::string> nearest(const std::string& word, const std::vector<std::string>& words);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LINE_COMMAND_LINE_H
