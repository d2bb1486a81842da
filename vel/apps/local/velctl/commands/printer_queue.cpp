// velctl printer queue: print queues of this machine and their drivers.

#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

constexpr std::chrono::seconds kLongLimit{30};
constexpr std::chrono::seconds kTestPageLimit{10};

// A text that client and service agree on, and that nobody else reads.
void finishText(const Output& output, const Operation& operation, const std::string& text) {
  operation.finishWith(output, printableLines(text), Json{{"text", jsonText(text)}});
}

void search(const Output& output) {
  const Operation operation("searchAllPrinter");
  finishText(output, operation, withElapsedTime("searching for printers", kLongLimit, [&] {
               return operation->SearchAllPrinter();
             }));
}

struct Printer {
  std::string printer;
};

void drivers(const Output& output, const Printer& given) {
  const Operation operation("getPrinterDriverlList", Json{{"printer", jsonText(given.printer)}});
  finishText(output, operation, withElapsedTime("looking for drivers", kLongLimit, [&] {
               return operation->GetPrinterDriverlList(given.printer);
             }));
}

struct Texts {
  std::string first;
  std::string second;
  std::string third;
};

Json detailsOf(const Texts& texts) {
  return {{"first", jsonText(texts.first)},
          {"second", jsonText(texts.second)},
          {"third", jsonText(texts.third)}};
}

void add(const Output& output, const Texts& texts) {
  const Operation operation("addPrinter", detailsOf(texts));
  operation.finish(output, operation->AddLocalPrinter(texts.first, texts.second, texts.third),
                   inQuotes(texts.first) + " added");
}

void autoAdd(const Output& output, const Texts& texts) {
  const Operation operation("autoAddPrinter", detailsOf(texts));
  const int status = withElapsedTime("adding the printer", kLongLimit, [&] {
    return operation->AutoAddPrinter(texts.first, texts.second, texts.third);
  });
  operation.finish(output, status, inQuotes(texts.first) + " added");
}

void remove(const Output& output, const Printer& deleted) {
  const Operation operation("deletePrinter", Json{{"printer", jsonText(deleted.printer)}});
  operation.finish(output, operation->DeletePrinter(deleted.printer),
                   inQuotes(deleted.printer) + " deleted");
}

struct Driver {
  std::string printer;
  std::string driver;
};

void driver(const Output& output, const Driver& changed) {
  const Operation operation("changePrinterDriver", Json{{"printer", jsonText(changed.printer)},
                                                        {"driver", jsonText(changed.driver)}});
  operation.finish(output, operation->ChangePrinterDriver(changed.printer, changed.driver),
                   inQuotes(changed.printer) + " has driver " + inQuotes(changed.driver));
}

void testPage(const Output& output, const Printer& tested) {
  const Operation operation("printTestPage", Json{{"printer", jsonText(tested.printer)}});
  const int status = withElapsedTime("waiting for the test page", kTestPageLimit,
                                     [&] { return operation->PrintTestPage(tested.printer); });
  operation.finish(output, status, "test page sent to " + inQuotes(tested.printer));
}

void addPrinter(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
                const std::string& help, void (*run)(const Output&, const Printer&)) {
  const auto [command, arguments] = addCommand(commandLine, group, name, help, run);
  command.addOption("printer", arguments.printer, "Name of the printer").required();
}

void addTexts(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
              const std::string& help, void (*run)(const Output&, const Texts&)) {
  const auto [command, texts] = addCommand(commandLine, group, name, help, run);
  command.addOption("first", texts.first, "First text for the service").required();
  command.addOption("second", texts.second, "Second text for the service").required();
  command.addOption("third", texts.third, "Third text for the service").required();
}

}  // namespace

void addPrintQueueCommands(CommandLine& commandLine, const ParserCommand& printers) {
  const ParserCommand group =
      printers.addGroup("queue", "Print queues of this machine and their drivers");
  commandLine.command(group, "search",
                      "Show all printers that the service can see (takes up to 30 s)", search);
  addPrinter(commandLine, group, "drivers", "Show the drivers for a printer (takes up to 30 s)",
             drivers);
  addTexts(commandLine, group, "add", "Add a printer, described by three texts", add);
  addTexts(commandLine, group, "auto-add",
           "The same with a driver that the service finds (takes up to 30 s)", autoAdd);
  addPrinter(commandLine, group, "delete", "Delete a printer", remove);
  const auto [command, changed] =
      addCommand(commandLine, group, "driver", "Change the driver of a printer", driver);
  command.addOption("printer", changed.printer, "Name of the printer").required();
  command.addOption("driver", changed.driver, "Name of the driver").required();
  addPrinter(commandLine, group, "test-page", "Print a test page (takes up to 10 s)", testPage);
}

}  // namespace velctl
