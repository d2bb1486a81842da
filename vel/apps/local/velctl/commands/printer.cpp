// velctl printer: redirection of printers into VMs.

#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

struct PrinterVm {
  std::string vmId;
};

void listPrinters(const Output& output, const PrinterVm& vm) {
  const Operation operation("getPrinterList", vm.vmId);
  finishPrinters(output, operation, operation.client().printers(vm.vmId));
}

struct PrinterNumber {
  unsigned short printer = 0;
};

void showPrinter(const Output& output, const PrinterNumber& given) {
  const Operation operation("getPrinterStatus", Json{{"printer", given.printer}});
  const auto printers = operation.client().printer(vel::PrinterNumber(given.printer));
  operation.check(printers);
  if (printers->empty()) {
    operation.failRefused(
        "the service has no such printer; velctl printer list shows its printers");
  }
  finishPrinters(output, operation, printers);
}

struct PrinterAttachment {
  unsigned short printer = 0;
  std::string vmId;
};

void connectPrinter(const Output& output, const PrinterAttachment& attachment) {
  const Operation operation("connectPrinter", attachment.vmId,
                            Json{{"printer", attachment.printer}});
  const auto result =
      operation.client().attach(attachment.vmId, vel::PrinterNumber(attachment.printer));
  operation.finish(output, result, "printer " + std::to_string(attachment.printer) + " connected");
}

void disconnectPrinter(const Output& output, const PrinterAttachment& attachment) {
  const Operation operation("disconnectPrinter", attachment.vmId,
                            Json{{"printer", attachment.printer}});
  const auto result =
      operation.client().detach(attachment.vmId, vel::PrinterNumber(attachment.printer));
  operation.finish(output, result,
                   "printer " + std::to_string(attachment.printer) + " disconnected");
}

struct PrinterCommand {
  unsigned long long source = 0;
  unsigned short command = 0;
  std::string vmId;
};

void runPrinterCommand(const Output& output, const PrinterCommand& given) {
  const Operation operation("ConfigPrinterCommand", given.vmId,
                            Json{{"source", given.source}, {"command", given.command}});
  const auto result = operation.slowly("waiting for the answer to the command", [&] {
    return operation.client().commandPrinter(given.vmId, vel::SourceId(given.source),
                                             given.command);
  });
  operation.finish(output, result,
                   "command " + std::to_string(given.command) + " given to the printer of source " +
                       std::to_string(given.source));
}

void addPrinterAttachmentCommand(CommandLine& commandLine, const ParserCommand& group,
                                 const std::string& name, const std::string& help,
                                 void (*run)(const Output&, const PrinterAttachment&)) {
  const auto [command, attachment] = addCommand(commandLine, group, name, help, run);
  addNumber(command, "printer", attachment.printer, "Number of the printer").required();
  addVm(command, attachment.vmId).required();
}

}  // namespace

void addPrinterCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group(
      "printer", "Printers: redirection, network printers, shared printers, print queues");

  const auto listed =
      addCommand(commandLine, group, "list", "List the printers that can be redirected into a VM",
                 listPrinters);
  addVm(listed.command, listed.arguments.vmId);

  const auto status = addCommand(commandLine, group, "status", "Show one printer", showPrinter);
  addNumber(status.command, "printer", status.arguments.printer, "Number of the printer")
      .required();

  addPrinterAttachmentCommand(commandLine, group, "connect", "Redirect a printer into a VM",
                              connectPrinter);
  addPrinterAttachmentCommand(commandLine, group, "disconnect",
                              "End the redirection of a printer into a VM", disconnectPrinter);

  const auto [command, given] = addCommand(
      commandLine, group, "command",
      "Run a command for a printer; the service does not report the result", runPrinterCommand);
  addNumber(command, "source", given.source, "Source id of the printer").required();
  addNumber(command, "command", given.command, "The command (a number of the service)").required();
  addVm(command, given.vmId).required();

  addNetworkPrinterCommands(commandLine, group);
  addSharedPrinterCommands(commandLine, group);
  addPrintQueueCommands(commandLine, group);
}

}  // namespace velctl
