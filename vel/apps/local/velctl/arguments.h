// Commands, and the arguments that many of them have.

#ifndef VEL_APPS_LOCAL_VELCTL_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELCTL_ARGUMENTS_H

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/command_line.h"
#include "vel/client/client.h"

namespace velctl {

// A command, and the structure that its options fill in.
template <typename Arguments>
struct Added {
  ParserCommand command;
  Arguments& arguments;
};

// Adds a command that runs with arguments.
template <typename Arguments>
Added<Arguments> addCommand(CommandLine& commandLine, const ParserCommand& group,
                            const std::string& name, const std::string& help,
                            void (*run)(const Output&, const Arguments&)) {
  const auto arguments = std::make_shared<Arguments>();
  const ParserCommand command = commandLine.command(
      group, name, help, [run, arguments](const Output& output) { run(output, *arguments); });
  return {command, *arguments};
}

// --- Numbers -------------------------------------------------------------------------------------

// "must be a number from 0 to 65535, decimal or 0x..."
std::string numberRule(unsigned long long most);

// Adds an option, or a positional argument, for a number up to most: decimal, or hexadecimal behind
// 0x. The parser's own conversion accepts -1 and numbers that are too large, and takes 010 for 8.
ParserOption addNumber(const ParserCommand& command, const std::string& name,
                       unsigned long long most, const std::string& help,
                       std::function<void(unsigned long long)> take);

// The same into a variable, up to its largest number.
template <typename Unsigned>
ParserOption addNumber(const ParserCommand& command, const std::string& name, Unsigned& number,
                       const std::string& help) {
  return addNumber(command, name, std::numeric_limits<Unsigned>::max(), help,
                   [&number](unsigned long long given) { number = static_cast<Unsigned>(given); });
}

// The same for a number that may be missing.
template <typename Unsigned>
ParserOption addNumber(const ParserCommand& command, const std::string& name,
                       std::optional<Unsigned>& number, const std::string& help) {
  return addNumber(command, name, std::numeric_limits<Unsigned>::max(), help,
                   [&number](unsigned long long given) { number = static_cast<Unsigned>(given); });
}

// --- VMs -----------------------------------------------------------------------------------------

// Describes an argument that names a VM.
constexpr char kVmHelp[] = "Name of the VM; \"\" is this machine";

// Adds --vm NAME. An empty name stands for this machine.
ParserOption addVm(const ParserCommand& command, std::string& vmId);

// --- USB devices ---------------------------------------------------------------------------------

// 046d:0825
std::string toText(vel::UsbId id);

// Adds the argument "id", a USB id in that form.
ParserOption addUsbId(const ParserCommand& command, vel::UsbId& id);

// --- Texts ---------------------------------------------------------------------------------------

// The argument; for "-" standard input without the newlines at its end.
std::string textOrStandardInput(const std::string& argument);

// Throws Failure for a text of more bytes than its field holds.
void refuseLonger(const std::string& text, std::size_t most);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_ARGUMENTS_H
