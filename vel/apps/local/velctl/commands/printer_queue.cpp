// velctl printer queue: print queues of this machine and their drivers.

#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

// A text that client and service agree on; velctl does not interpret it.
void finishText(const Output& output, const Operation& operation,
                const vel::Result<std::string>& found) {
  const std::string text = operation.valueOf(found);
  operation.finishWith(output, printableLines(text), Json{{"text", jsonText(text)}});
}

void searchAllPrinters(const Output& output) {
  const Operation operation("searchAllPrinter");
  finishText(output, operation, operation.slowly("searching for printers", [&] {
    return operation.client().allPrinters();
  }));
}

struct PrinterName {
  std::string printer;
};

void listDrivers(const Output& output, const PrinterName& given) {
  const Operation operation("getPrinterDriverlList", Json{{"printer", jsonText(given.printer)}});
  finishText(output, operation, operation.slowly("looking for drivers", [&] {
    return operation.client().printerDrivers(given.printer);
  }));
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
  const Operation operation("addPrinter", detailsOf(added));
  operation.finish(output,
                   operation.client().addLocalPrinter(added.first, added.second, added.third),
                   printableInQuotes(added.first) + " added");
}

void addWithAnyDriver(const Output& output, const NewPrinter& added) {
  const Operation operation("autoAddPrinter", detailsOf(added));
  const auto result = operation.slowly("adding the printer", [&] {
    return operation.client().autoAddPrinter(added.first, added.second, added.third);
  });
  operation.finish(output, result, printableInQuotes(added.first) + " added");
}

void removeQueue(const Output& output, const PrinterName& removed) {
  const Operation operation("deletePrinter", Json{{"printer", jsonText(removed.printer)}});
  operation.finish(output, operation.client().removePrinter(removed.printer),
                   printableInQuotes(removed.printer) + " deleted");
}

struct DriverChange {
  std::string printer;
  std::string driver;
};

void changeDriver(const Output& output, const DriverChange& change) {
  const Operation operation("changePrinterDriver", Json{{"printer", jsonText(change.printer)},
                                                        {"driver", jsonText(change.driver)}});
  operation.finish(
      output, operation.client().setPrinterDriver(change.printer, change.driver),
      printableInQuotes(change.printer) + " has driver " + printableInQuotes(change.driver));
}

void printTestPage(const Output& output, const PrinterName& given) {
  const Operation operation("printTestPage", Json{{"printer", jsonText(given.printer)}});
  const auto result = operation.slowly(
      "waiting for the test page", [&] { return operation.client().printTestPage(given.printer); });
  operation.finish(output, result, "test page sent to " + printableInQuotes(given.printer));
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
