// velctl new-device: configures newly plugged-in devices.

#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

struct Configuration {
  unsigned long long source = 0;
  unsigned short type = 0;
  unsigned short autoConnect = 0;
  unsigned short popup = 0;
  std::string vmId;
};

Json configurationDetails(const Configuration& given) {
  return {{"source", given.source},
          {"type", given.type},
          {"autoConnect", given.autoConnect},
          {"popup", given.popup}};
}

void connectNewDevice(const Output& output, const Configuration& given) {
  const Operation operation("configNewDeviceAsConnect", given.vmId, configurationDetails(given));
  const auto result = operation.slowly("attaching the device", [&] {
    return operation.client().attachNewDevice(given.vmId, vel::SourceId(given.source),
                                              vel::DeviceType(given.type), given.autoConnect,
                                              given.popup);
  });
  operation.finish(output, result, "source " + std::to_string(given.source) + " connected");
}

void ignore(const Output& output, const Configuration& given) {
  const Operation operation("configNewDeviceAsIgnore", configurationDetails(given));
  const auto result = operation.slowly("ignoring the device", [&] {
    return operation.client().ignoreNewDevice(
        vel::SourceId(given.source), vel::DeviceType(given.type), given.autoConnect, given.popup);
  });
  operation.finish(output, result, "source " + std::to_string(given.source) + " ignored");
}

struct StorageCommand {
  unsigned long long source = 0;
  unsigned short command = 0;
  std::string vmId;
};

void runStorageCommand(const Output& output, const StorageCommand& given) {
  const Operation operation("ConfigUdisks2Command", given.vmId,
                            Json{{"source", given.source}, {"command", given.command}});
  const auto result = operation.slowly("waiting for the answer to the command", [&] {
    return operation.client().commandStorage(given.vmId, vel::SourceId(given.source),
                                             given.command);
  });
  operation.finish(output, result,
                   "command " + std::to_string(given.command) + " done for the storage of source " +
                       std::to_string(given.source));
}

void addSource(const ParserCommand& command, unsigned long long& source) {
  addNumber(command, "source", source, "Source id of the device").required();
}

Added<Configuration> addConfiguration(CommandLine& commandLine, const ParserCommand& group,
                                      const std::string& name, const std::string& help,
                                      void (*run)(const Output&, const Configuration&)) {
  const Added<Configuration> added = addCommand(commandLine, group, name, help, run);
  const auto [command, given] = added;
  addSource(command, given.source);
  addNumber(command, "--type", given.type, "Type of the device (a number of the service) [0]");
  addNumber(command, "--auto-connect", given.autoConnect,
            "Whether to attach it automatically next time (a number of the service) [0]");
  addNumber(command, "--popup", given.popup,
            "Whether to show its card next time (a number of the service) [0]");
  return added;
}

}  // namespace

void addNewDeviceCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("new-device", "Configure a newly plugged-in device");

  const auto [connectCommand, configuration] =
      addConfiguration(commandLine, group, "connect",
                       "Attach the device to a VM (takes up to 10 s)", connectNewDevice);
  addVm(connectCommand, configuration.vmId).required();
  addConfiguration(commandLine, group, "ignore", "Ignore the device", ignore);

  const auto [command, given] =
      addCommand(commandLine, group, "storage",
                 "Run a command for a storage device (takes up to 10 s)", runStorageCommand);
  addSource(command, given.source);
  addNumber(command, "command", given.command, "The command (a number of the service)").required();
  addVm(command, given.vmId).required();
}

}  // namespace velctl
