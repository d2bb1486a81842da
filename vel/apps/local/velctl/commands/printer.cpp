// velctl printer: redirecting printers into VMs.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"

namespace velctl {
namespace {

constexpr std::chrono::seconds kCommandLimit{10};

struct Vm {
  std::string vmId;
};

void list(const Output& output, const Vm& vm) {
  const Operation operation("getPrinterList", vm.vmId);
  const OwnedRecords<PrinterDevice> printers(operation->GetPrinterList(vm.vmId));
  finishPrinters(output, operation, printers);
}

struct One {
  unsigned short printer = 0;
};

void status(const Output& output, const One& one) {
  const Operation operation("getPrinterStatus", Json{{"printer", one.printer}});
  const OwnedRecords<PrinterDevice> printers(operation->GetPrinterStatus(one.printer));
  operation.check();
  if (printers.size() == 0) {
    operation.failRefused("that it has none; velctl printer list shows those it has");
  }
  finishPrinters(output, operation, printers);
}

struct Attachment {
  unsigned short printer = 0;
  std::string vmId;
};

void connect(const Output& output, const Attachment& attachment) {
  const Operation operation("connectPrinter", attachment.vmId,
                            Json{{"printer", attachment.printer}});
  operation.finish(output, operation->ConnectPrinter(attachment.vmId, attachment.printer),
                   "printer " + std::to_string(attachment.printer) + " connected");
}

void disconnect(const Output& output, const Attachment& attachment) {
  const Operation operation("disconnectPrinter", attachment.vmId,
                            Json{{"printer", attachment.printer}});
  operation.finish(output, operation->DisconnectPrinter(attachment.vmId, attachment.printer),
                   "printer " + std::to_string(attachment.printer) + " disconnected");
}

struct Command {
  unsigned long long source = 0;
  unsigned short command = 0;
  std::string vmId;
};

void command(const Output& output, const Command& given) {
  const Operation operation("ConfigPrinterCommand", given.vmId,
                            Json{{"source", given.source}, {"command", given.command}});
  const int status = withElapsedTime("waiting for the answer to the command", kCommandLimit, [&] {
    return operation->ConfigPrinterCommand(given.vmId, given.source, given.command);
  });
  operation.finish(output, status,
                   "command " + std::to_string(given.command) + " given to the printer of source " +
                       std::to_string(given.source));
}

void addChange(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
               const std::string& help, void (*run)(const Output&, const Attachment&)) {
  const auto [command, attachment] = addCommand(commandLine, group, name, help, run);
  addNumber(command, "printer", attachment.printer, "Number of the printer").required();
  addVm(command, attachment.vmId).required();
}

}  // namespace

void addPrinterCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("printer", "Printers: redirection, network, shares, print queues");

  const auto listed = addCommand(commandLine, group, "list",
                                 "List the printers that can be redirected into a VM", list);
  addVm(listed.command, listed.arguments.vmId);

  const auto one = addCommand(commandLine, group, "status", "Show one printer", status);
  addNumber(one.command, "printer", one.arguments.printer, "Number of the printer").required();

  addChange(commandLine, group, "connect", "Redirect a printer into a VM", connect);
  addChange(commandLine, group, "disconnect", "Take a printer back from a VM", disconnect);

  const auto given = addCommand(commandLine, group, "command",
                                "Give a command for a printer; its outcome is not told", command);
  addNumber(given.command, "source", given.arguments.source, "Id of the printer's source")
      .required();
  addNumber(given.command, "command", given.arguments.command,
            "The command, in the service's numbers")
      .required();
  addVm(given.command, given.arguments.vmId).required();

  addNetworkPrinterCommands(commandLine, group);
  addSharedPrinterCommands(commandLine, group);
  addPrintQueueCommands(commandLine, group);
}

}  // namespace velctl
