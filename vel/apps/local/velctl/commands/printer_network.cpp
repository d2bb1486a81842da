// velctl printer network: network printers.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

// The library refuses empty texts here, too, but does not name the argument.
void refuseEmpty(const std::string& method, const std::string& meaning, const std::string& text) {
  if (text.empty()) {
    throw Failure(kExitUsage,
                  method + ": the " + meaning + " is empty; give at least one character");
  }
}

void listNetworkPrinters(const Output& output) {
  const Operation operation("getNetworkPrinterList");
  finishPrinters(output, operation, operation.client().networkPrinters());
}

struct NetworkPrinter {
  std::string address;
  std::optional<std::string> name;
  std::string extra;
};

void addNetworkPrinter(const Output& output, const NetworkPrinter& added) {
  refuseEmpty("addNetworkPrinter", "address", added.address);
  refuseEmpty("addNetworkPrinter", "name", added.name.value_or("default"));
  Json details = {{"address", jsonText(added.address)}};
  if (added.name) {
    details["name"] = jsonText(*added.name);
    details["extra"] = jsonText(added.extra);
  }
  const Operation operation("addNetworkPrinter", details);
  const vel::Client& client = operation.client();
  const auto result = added.name ? client.addNetworkPrinter(added.address, *added.name, added.extra)
                                 : client.addNetworkPrinter(added.address);
  operation.finish(output, result, printableInQuotes(added.address) + " added");
}

struct NetworkPrinterName {
  std::string name;
};

void removeNetworkPrinter(const Output& output, const NetworkPrinterName& removed) {
  const Operation operation("deleteNetworkPrinter", Json{{"name", jsonText(removed.name)}});
  operation.finish(output, operation.client().removeNetworkPrinter(removed.name),
                   printableInQuotes(removed.name) + " deleted");
}

struct Renaming {
  std::string oldName;
  std::string newName;
};

void rename(const Output& output, const Renaming& renaming) {
  refuseEmpty("renameNetworkPrinter", "old name", renaming.oldName);
  refuseEmpty("renameNetworkPrinter", "new name", renaming.newName);
  const Operation operation("renameNetworkPrinter", Json{{"oldName", jsonText(renaming.oldName)},
                                                         {"newName", jsonText(renaming.newName)}});
  operation.finish(
      output, operation.client().renameNetworkPrinter(renaming.oldName, renaming.newName),
      printableInQuotes(renaming.oldName) + " is now " + printableInQuotes(renaming.newName));
}

}  // namespace

void addNetworkPrinterCommands(CommandLine& commandLine, const ParserCommand& printers) {
  const ParserCommand group = printers.addGroup("network", "Network printers");
  commandLine.command(group, "list", "List the network printers", listNetworkPrinters);

  const auto [addition, added] =
      addCommand(commandLine, group, "add", "Add a network printer", addNetworkPrinter);
  addition.addOption("address", added.address, "Address of the printer").required();
  addition.addOption("name", added.name, "Name of the printer (default: the library's)");
  addition.addOption("extra", added.extra, "Further text for the service");

  const auto [removal, removed] =
      addCommand(commandLine, group, "delete", "Delete a network printer", removeNetworkPrinter);
  removal.addOption("name", removed.name, "Name of the printer").required();

  const auto [renamingCommand, renaming] =
      addCommand(commandLine, group, "rename", "Rename a network printer", rename);
  renamingCommand.addOption("old", renaming.oldName, "Present name of the printer").required();
  renamingCommand.addOption("new", renaming.newName, "New name of the printer").required();
}

}  // namespace velctl
