// velctl new-device: what is to become of a device that has just been plugged in.

#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

constexpr std::chrono::seconds kLimit{10};
constexpr std::chrono::seconds kIgnoreLimit{2};

struct Choice {
  unsigned long long source = 0;
  unsigned short type = 0;
  unsigned short autoConnect = 0;
  unsigned short popup = 0;
  std::string vmId;
};

Json detailsOf(const Choice& choice) {
  return {{"source", choice.source},
          {"type", choice.type},
          {"autoConnect", choice.autoConnect},
          {"popup", choice.popup}};
}

void connect(const Output& output, const Choice& choice) {
  const Operation operation("configNewDeviceAsConnect", choice.vmId, detailsOf(choice));
  const int status = withElapsedTime("attaching the device", kLimit, [&] {
    return operation->ConfigNewDeviceAsConnect(choice.vmId, choice.source, choice.type,
                                               choice.autoConnect, choice.popup);
  });
  operation.finish(output, status, "source " + std::to_string(choice.source) + " connected");
}

void ignore(const Output& output, const Choice& choice) {
  const Operation operation("configNewDeviceAsIgnore", detailsOf(choice));
  const int status = withElapsedTime("ignoring the device", kIgnoreLimit, [&] {
    return operation->ConfigNewDeviceAsIgnore(choice.source, choice.type, choice.autoConnect,
                                              choice.popup);
  });
  operation.finish(output, status, "source " + std::to_string(choice.source) + " ignored");
}

struct Command {
  unsigned long long source = 0;
  unsigned short command = 0;
  std::string vmId;
};

void storage(const Output& output, const Command& given) {
  const Operation operation("ConfigUdisks2Command", given.vmId,
                            Json{{"source", given.source}, {"command", given.command}});
  const int status = withElapsedTime("waiting for the answer to the command", kLimit, [&] {
    return operation->ConfigUdisks2Command(given.vmId, given.source, given.command);
  });
  operation.finish(output, status,
                   "command " + std::to_string(given.command) + " done for the storage of source " +
                       std::to_string(given.source));
}

void addSource(const ParserCommand& command, unsigned long long& source) {
  addNumber(command, "source", source, "Id of the device's source").required();
}

Added<Choice> addChoice(CommandLine& commandLine, const ParserCommand& group,
                        const std::string& name, const std::string& help,
                        void (*run)(const Output&, const Choice&)) {
  const Added<Choice> added = addCommand(commandLine, group, name, help, run);
  const auto [command, choice] = added;
  addSource(command, choice.source);
  addNumber(command, "--type", choice.type, "Type of the device, in the service's numbers [0]");
  addNumber(command, "--auto-connect", choice.autoConnect,
            "Whether it is attached by itself next time, in the service's numbers [0]");
  addNumber(command, "--popup", choice.popup,
            "Whether its card pops up next time, in the service's numbers [0]");
  return added;
}

}  // namespace

void addNewDeviceCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("new-device", "What is to become of a device that was plugged in");

  const auto [connectCommand, choice] = addChoice(
      commandLine, group, "connect", "Attach a new device to a VM (takes up to 10 s)", connect);
  addVm(connectCommand, choice.vmId).required();
  addChoice(commandLine, group, "ignore", "Leave a new device alone", ignore);

  const auto [command, given] =
      addCommand(commandLine, group, "storage",
                 "Give a command for a storage device (takes up to 10 s)", storage);
  addSource(command, given.source);
  addNumber(command, "command", given.command, "The command, in the service's numbers").required();
  addVm(command, given.vmId).required();
}

}  // namespace velctl
