#include "vel/apps/local/velctl/commands/commands.h"

namespace velctl {

// In the order of the help.
void addCommands(CommandLine& commandLine) {
  addStatusCommand(commandLine);
  addVmCommands(commandLine);
  addPipeCommands(commandLine);
  addDeviceCommands(commandLine);
  addPolicyCommands(commandLine);
  addNewDeviceCommands(commandLine);
  addPrinterCommands(commandLine);
  addJoystickCommands(commandLine);
  addPenCommands(commandLine);
  addCameraCommand(commandLine);
  addUsbCommands(commandLine);
  addQualityCommands(commandLine);
  addDiagnoseCommands(commandLine);
  addExecCommands(commandLine);
  addResetCommand(commandLine);
  addWatchCommand(commandLine);
}

}  // namespace velctl
