// velctl printer queue: print queues of this machine and their drivers.

#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

// A text that client and service agree on; velctl does not interpret it.
void finishText(const Output& output, const Operation& operation, const std::string& text) {
  operation.finishWith(output, printableLines(text), Json{{"text", jsonText(text)}});
}

void searchAllPrinters(const Output& output) {
  Operation operation("searchAllPrinter");
  const std::string found =
      operation.callSlowly("searching for printers", &qx::VelProxy::SearchAllPrinter);
  finishText(output, operation, found);
}

struct PrinterName {
  std::string printer;
};

void listDrivers(const Output& output, const PrinterName& given) {
  Operation operation("getPrinterDriverlList", Json{{"printer", jsonText(given.printer)}});
  const std::string drivers = operation.callSlowly(
      "looking for drivers", &qx::VelProxy::GetPrinterDriverlList, given.printer);
  finishText(output, operation, drivers);
}

// The library does not define the meaning of the texts.
struct NewPrinter {
  std::string first;
  std::string second;
  std::string third;
};

Json detailsOf(const NewPrinter& added) {
  return {{"first", jsonText(added.first)},
          {"second", jsonText(added.second)},
          {"third", jsonText(added.third)}};
}

void addQueue(const Output& output, const NewPrinter& added) {
  Operation operation("addPrinter", detailsOf(added));
  const int status =
      operation.call(&qx::VelProxy::AddLocalPrinter, added.first, added.second, added.third);
  operation.finish(output, status, printableInQuotes(added.first) + " added");
}

void addWithAnyDriver(const Output& output, const NewPrinter& added) {
  Operation operation("autoAddPrinter", detailsOf(added));
  const int status = operation.callSlowly("adding the printer", &qx::VelProxy::AutoAddPrinter,
                                          added.first, added.second, added.third);
  operation.finish(output, status, printableInQuotes(added.first) + " added");
}

void removeQueue(const Output& output, const PrinterName& removed) {
  Operation operation("deletePrinter", Json{{"printer", jsonText(removed.printer)}});
  const int status = operation.call(&qx::VelProxy::DeletePrinter, removed.printer);
  operation.finish(output, status, printableInQuotes(removed.printer) + " deleted");
}

struct DriverChange {
  std::string printer;
  std::string driver;
};

void changeDriver(const Output& output, const DriverChange& change) {
  Operation operation("changePrinterDriver", Json{{"printer", jsonText(change.printer)},
                                                  {"driver", jsonText(change.driver)}});
  const int status =
      operation.call(&qx::VelProxy::ChangePrinterDriver, change.printer, change.driver);
  operation.finish(
      output, status,
      printableInQuotes(change.printer) + " has driver " + printableInQuotes(change.driver));
}

void printTestPage(const Output& output, const PrinterName& given) {
  Operation operation("printTestPage", Json{{"printer", jsonText(given.printer)}});
  const int status = operation.callSlowly("waiting for the test page", &qx::VelProxy::PrintTestPage,
                                          given.printer);
  operation.finish(output, status, "test page sent to " + printableInQuotes(given.printer));
}

void addPrinterCommand(CommandLine& commandLine, const ParserCommand& group,
                       const std::string& name, const std::string& help,
                       void (*run)(const Output&, const PrinterName&)) {
  const auto [command, given] = addCommand(commandLine, group, name, help, run);
  command.addOption("printer", given.printer, "Name of the printer").required();
}

void addAdditionCommand(CommandLine& commandLine, const ParserCommand& group,
                        const std::string& name, const std::string& help,
                        void (*run)(const Output&, const NewPrinter&)) {
  const auto [command, added] = addCommand(commandLine, group, name, help, run);
  command.addOption("first", added.first, "First text for the service").required();
  command.addOption("second", added.second, "Second text for the service").required();
  command.addOption("third", added.third, "Third text for the service").required();
}

}  // namespace

void addPrintQueueCommands(CommandLine& commandLine, const ParserCommand& printers) {
  const ParserCommand group =
      printers.addGroup("queue", "Print queues of this machine and their drivers");
  commandLine.command(group, "search",
                      "Show all printers that the service can reach (takes up to 30 s)",
                      searchAllPrinters);
  addPrinterCommand(commandLine, group, "drivers",
                    "Show the drivers for a printer (takes up to 30 s)", listDrivers);
  addAdditionCommand(commandLine, group, "add", "Add a printer, described by three texts",
                     addQueue);
  addAdditionCommand(commandLine, group, "auto-add",
                     "Add a printer with a driver that the service chooses (takes up to 30 s)",
                     addWithAnyDriver);
  addPrinterCommand(commandLine, group, "delete", "Delete a printer", removeQueue);
  const auto [command, change] =
      addCommand(commandLine, group, "driver", "Change the driver of a printer", changeDriver);
  command.addOption("printer", change.printer, "Name of the printer").required();
  command.addOption("driver", change.driver, "Name of the driver").required();
  addPrinterCommand(commandLine, group, "test-page", "Print a test page (takes up to 10 s)",
                    printTestPage);
}

}  // namespace velctl
