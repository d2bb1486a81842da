// velctl printer network: printers of the network.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"

namespace velctl {
namespace {

// The library sends nothing for an empty text here.
void refuseEmpty(const std::string& method, const std::string& name, const std::string& text) {
  if (text.empty()) {
    throw Failure(kExitUsage, method + ": the " + name + " is empty; give at least one character");
  }
}

void list(const Output& output) {
  const Operation operation("getNetworkPrinterList");
  const OwnedRecords<CommonDevice> printers(operation->GetNetworkPrinterList());
  finishDevices(output, operation, "printers", printers);
}

struct NewPrinter {
  std::string address;
  std::optional<std::string> name;
  std::string extra;
};

void add(const Output& output, const NewPrinter& added) {
  refuseEmpty("addNetworkPrinter", "address", added.address);
  refuseEmpty("addNetworkPrinter", "name", added.name.value_or("default"));
  Json details = {{"address", jsonText(added.address)}};
  if (added.name) {
    details["name"] = jsonText(*added.name);
    details["extra"] = jsonText(added.extra);
  }
  const Operation operation("addNetworkPrinter", details);
  const int status = added.name
                         ? operation->AddNetworkPrinter(added.address, *added.name, added.extra)
                         : operation->AddNetworkPrinter(added.address.c_str());
  operation.finish(output, status, inQuotes(added.address) + " added");
}

struct Deleted {
  std::string name;
};

void remove(const Output& output, const Deleted& deleted) {
  const Operation operation("deleteNetworkPrinter", Json{{"name", jsonText(deleted.name)}});
  operation.finish(output, operation->DeleteNetworkPrinter(deleted.name),
                   inQuotes(deleted.name) + " deleted");
}

struct Renamed {
  std::string oldName;
  std::string newName;
};

void rename(const Output& output, const Renamed& renamed) {
  refuseEmpty("renameNetworkPrinter", "old name", renamed.oldName);
  refuseEmpty("renameNetworkPrinter", "new name", renamed.newName);
  const Operation operation("renameNetworkPrinter", Json{{"oldName", jsonText(renamed.oldName)},
                                                         {"newName", jsonText(renamed.newName)}});
  operation.finish(output, operation->RenameNetworkPrinter(renamed.oldName, renamed.newName),
                   inQuotes(renamed.oldName) + " is now " + inQuotes(renamed.newName));
}

}  // namespace

void addNetworkPrinterCommands(CommandLine& commandLine, const ParserCommand& printers) {
  const ParserCommand group = printers.addGroup("network", "Printers of the network");
  commandLine.command(group, "list", "List the network printers", list);

  const auto [addCommandLine, added] =
      addCommand(commandLine, group, "add", "Add a network printer", add);
  addCommandLine.addOption("address", added.address, "Its address").required();
  addCommandLine.addOption("name", added.name, "Its name (default: the library's)");
  addCommandLine.addOption("extra", added.extra, "What the service needs besides");

  const auto [deleteCommand, deleted] =
      addCommand(commandLine, group, "delete", "Delete a network printer", remove);
  deleteCommand.addOption("name", deleted.name, "Its name").required();

  const auto [renameCommand, renamed] =
      addCommand(commandLine, group, "rename", "Rename a network printer", rename);
  renameCommand.addOption("old", renamed.oldName, "Its name until now").required();
  renameCommand.addOption("new", renamed.newName, "Its name from now on").required();
}

}  // namespace velctl
