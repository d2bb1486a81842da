// The commands of velctl: one function per group adds them to the command line.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H
#define VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H

#include "vel/apps/local/velctl/command_line.h"

namespace velctl {

// Adds all commands.
void addCommands(CommandLine& commandLine);

void addStatusCommand(CommandLine& commandLine);
void addVmCommands(CommandLine& commandLine);
void addPipeCommands(CommandLine& commandLine);
void addDeviceCommands(CommandLine& commandLine);
void addPolicyCommands(CommandLine& commandLine);
void addNewDeviceCommands(CommandLine& commandLine);
void addPrinterCommands(CommandLine& commandLine);
void addJoystickCommands(CommandLine& commandLine);
void addPenCommands(CommandLine& commandLine);
void addCameraCommand(CommandLine& commandLine);
void addUsbCommands(CommandLine& commandLine);
void addQualityCommands(CommandLine& commandLine);
void addDiagnoseCommands(CommandLine& commandLine);
void addExecCommands(CommandLine& commandLine);
void addResetCommand(CommandLine& commandLine);
void addWatchCommand(CommandLine& commandLine);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMANDS_COMMANDS_H
