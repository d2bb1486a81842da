// The groups inside velctl printer.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMANDS_PRINTER_GROUPS_H
#define VEL_APPS_LOCAL_VELCTL_COMMANDS_PRINTER_GROUPS_H

#include "vel/apps/local/velctl/command_line.h"

namespace velctl {

void addNetworkPrinterCommands(CommandLine& commandLine, const ParserCommand& printers);
void addSharedPrinterCommands(CommandLine& commandLine, const ParserCommand& printers);
void addPrintQueueCommands(CommandLine& commandLine, const ParserCommand& printers);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMANDS_PRINTER_GROUPS_H
