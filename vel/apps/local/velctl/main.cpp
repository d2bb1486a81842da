// velctl: the peripheral-device service on the command line.

#include <cstdlib>
#include <exception>
#include <optional>

#include "vel/apps/local/velctl/command_line.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/output.h"

namespace {

// The library logs each step at level debug, into files that it shares with every other client of
// this user. A tool that runs often would fill them, so it keeps to errors unless asked.
void chooseLogLevel(bool isVerbose) {
  constexpr char kLevel[] = "QX_LOG_LEVEL";
  const char* const chosen = std::getenv(kLevel);
  if (isVerbose) {
    ::setenv(kLevel, "debug", 1);
  } else if (!chosen || *chosen == '\0') {
    ::setenv(kLevel, "error", 1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    velctl::CommandLine commandLine;
    velctl::addStatusCommand(commandLine);
    velctl::addVmCommands(commandLine);
    velctl::addPipeCommands(commandLine);
    velctl::addDeviceCommands(commandLine);
    velctl::addPolicyCommands(commandLine);
    velctl::addNewDeviceCommands(commandLine);
    velctl::addPrinterCommands(commandLine);
    velctl::addJoystickCommands(commandLine);
    velctl::addPenCommands(commandLine);
    velctl::addCameraCommand(commandLine);
    velctl::addUsbCommands(commandLine);
    velctl::addQualityCommands(commandLine);
    velctl::addDiagnoseCommands(commandLine);
    velctl::addExecCommands(commandLine);
    velctl::addResetCommand(commandLine);
    velctl::addWatchCommand(commandLine);
    if (const std::optional<velctl::ExitCode> done = commandLine.parse(argc, argv)) {
      return *done;
    }
    const velctl::Output output(commandLine.isJson());
    chooseLogLevel(commandLine.isVerbose());
    commandLine.run(output);
    return velctl::kExitOk;
  } catch (const velctl::Failure& failure) {
    velctl::Output::note(failure.what());
    return failure.code();
  } catch (const std::exception& error) {
    velctl::Output::note(error.what());
    return velctl::kExitFailed;
  }
}
