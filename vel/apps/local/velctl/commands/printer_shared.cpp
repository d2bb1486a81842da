// velctl printer shared: printers that other machines share.

#include <list>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"

namespace velctl {
namespace {

constexpr std::chrono::seconds kSearchLimit{10};
constexpr std::size_t kTextsPerPrinter = 3;

_SharePrinterDevice printerOf(const std::string& address, const std::string& name,
                              const std::string& description) {
  _SharePrinterDevice printer = {};
  setText(printer.addr, address);
  setText(printer.name, name);
  setText(printer.desc, description);
  return printer;
}

Json toJson(const _SharePrinterDevice& printer) {
  return {{"address", jsonText(textIn(printer.addr))},
          {"name", jsonText(textIn(printer.name))},
          {"description", jsonText(textIn(printer.desc))}};
}

struct Search {
  std::string address;
};

void search(const Output& output, const Search& search) {
  if (!qx::checkIpAddr(search.address)) {
    throw Failure(kExitUsage, "searchSharePrinter: " + inQuotes(search.address) +
                                  " is not an IPv4 address such as 10.0.0.7 or 10.0.0.7:631");
  }
  const Operation operation("searchSharePrinter", Json{{"address", search.address}});
  std::list<_SharePrinterDevice> found;
  const int status = withElapsedTime("searching for shared printers", kSearchLimit, [&] {
    return operation->SearchSharePrinterDevice(search.address, found);
  });
  if (status != 0) {
    operation.finish(output, status, "");
  }
  Json elements = Json::array();
  Table table({"ADDRESS", "NAME", "DESCRIPTION"});
  for (const _SharePrinterDevice& printer : found) {
    elements.push_back(toJson(printer));
    table.add({printable(textIn(printer.addr)), printable(textIn(printer.name)),
               printable(textIn(printer.desc))});
  }
  operation.finishList(output, "printers", elements, table.text());
}

void stop(const Output& output) {
  const Operation operation("stopSearchSharePrinter");
  operation.finish(output, operation->StopSearchSharePrinterDevice(), "search stopped");
}

struct Texts {
  std::vector<std::string> texts;
};

void add(const Output& output, const Texts& added) {
  if (added.texts.size() % kTextsPerPrinter != 0) {
    throw Failure(kExitUsage,
                  "addSharePrinter: each printer needs an address, a name and a description; "
                  "give \"\" where there is none");
  }
  std::list<_SharePrinterDevice> printers;
  Json elements = Json::array();
  for (std::size_t i = 0; i < added.texts.size(); i += kTextsPerPrinter) {
    printers.push_back(printerOf(added.texts[i], added.texts[i + 1], added.texts[i + 2]));
    elements.push_back(toJson(printers.back()));
  }
  const Operation operation("addSharePrinter", Json{{"printers", elements}});
  operation.finish(output, operation->AddSharePrinterDevice(printers),
                   std::to_string(printers.size()) +
                       (printers.size() == 1 ? " printer" : " printers") + " added");
}

struct Deleted {
  std::string address;
  std::string name;
};

void remove(const Output& output, const Deleted& deleted) {
  _SharePrinterDevice printer = printerOf(deleted.address, deleted.name, "");
  const Operation operation("deleteSharePrinter", Json{{"address", jsonText(deleted.address)},
                                                       {"name", jsonText(deleted.name)}});
  operation.finish(output, operation->DeleteSharePrinterDevice(printer),
                   inQuotes(deleted.name) + " deleted");
}

}  // namespace

void addSharedPrinterCommands(CommandLine& commandLine, const ParserCommand& printers) {
  const ParserCommand group = printers.addGroup("shared", "Printers that other machines share");

  const auto [searchCommand, searched] =
      addCommand(commandLine, group, "search",
                 "List the printers that a machine shares (takes up to 10 s)", search);
  searchCommand.addOption("address", searched.address, "Its IPv4 address, with or without a port")
      .required();

  commandLine.command(group, "stop", "Stop the service's search, also one that was given up", stop);

  const auto [addCommandLine, added] =
      addCommand(commandLine, group, "add", "Add shared printers, as a search shows them", add);
  addCommandLine.addOption("printers", added.texts, "Address, name and description of each")
      .required()
      .typeName("ADDRESS NAME DESCRIPTION");

  const auto [deleteCommand, deleted] =
      addCommand(commandLine, group, "delete", "Delete a shared printer", remove);
  deleteCommand.addOption("address", deleted.address, "Its address").required();
  deleteCommand.addOption("name", deleted.name, "Its name").required();
}

}  // namespace velctl
