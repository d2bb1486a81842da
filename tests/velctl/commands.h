// Every command that makes one request, as a row.

#ifndef TESTS_VELCTL_COMMANDS_H
#define TESTS_VELCTL_COMMANDS_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "bus/dbus/value.h"

namespace velctl_tests {

// What velctl makes of the integer that the service answers.
enum class Answer {
  kStatus,   // anything but 0 is a refusal
  kContent,  // what the user asked for, or the beginning of a list
  kIgnored,  // the library does not tell
  kUntold,   // the library does not wait for it, nor for an error
};

struct Command {
  std::string name;
  std::vector<std::string> arguments;
  std::vector<std::string> requests;  // the last that is not getVmList is the command's own
  Answer answer;
  qxbus::Values reply;
  std::string text;
  std::string json;

  // Of the command's own request.
  std::string method() const;
};

// The reply of a service that has done its part.
inline const qxbus::Values kDone = {std::int32_t{0}};
// The request whose reply shows that the service has had those before it.
constexpr char kConfirmation[] = "getVmList(int32 0)";

void PrintTo(const Command& command, std::ostream* stream);

const std::vector<Command>& commands();

// By what they are about.
std::vector<Command> sessionCommands();
std::vector<Command> deviceCommands();
std::vector<Command> policyCommands();
std::vector<Command> printerCommands();
std::vector<Command> serviceCommands();

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_COMMANDS_H
