// Commands, and the arguments that many of them have.

#ifndef VEL_APPS_LOCAL_VELCTL_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELCTL_ARGUMENTS_H

#include <memory>
#include <string>

#include "vel/apps/local/velctl/command_line.h"
#include "vel/apps/local/velctl/numbers.h"

namespace velctl {

// A command and what its options fill in.
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

// --vm NAME. An empty name stands for this machine.
ParserOption addVm(const ParserCommand& command, std::string& vmId);

// A USB vendor and product id.
struct UsbId {
  unsigned short vendor = 0;
  unsigned short product = 0;
};

// 046d:0825
std::string shown(const UsbId& id);

// Adds the argument "id", which is a USB id in that form.
ParserOption addUsbId(const ParserCommand& command, UsbId& id);

// The argument, or with - what standard input has, without newlines at its end.
std::string textOrStandardInput(const std::string& argument);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_ARGUMENTS_H
