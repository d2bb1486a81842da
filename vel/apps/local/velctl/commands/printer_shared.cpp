// velctl printer shared: printers that other machines share.

#include <list>
#include <string>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/background.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

constexpr char kSearch[] = "searchSharePrinter";
constexpr std::size_t kTextsPerPrinter = 3;

_SharePrinterDevice printerOf(const std::string& address, const std::string& name,
                              const std::string& description) {
  _SharePrinterDevice printer = {};
  setText(printer.addr, address);
  setText(printer.name, name);
  setText(printer.desc, description);
  return printer;
}

Json printerJson(const _SharePrinterDevice& printer) {
  return {{"address", jsonText(textIn(printer.addr))},
          {"name", jsonText(textIn(printer.name))},
          {"description", jsonText(textIn(printer.desc))}};
}

// --- Search --------------------------------------------------------------------------------------

struct Address {
  std::string address;
};

// Writes the result of a search. Only the main thread writes, and not after an interruption.
using WriteResult = std::function<void(const Output&)>;

WriteResult searchAt(const std::string& address) {
  const auto operation = std::make_shared<Operation>(kSearch, Json{{"address", address}});
  std::list<_SharePrinterDevice> found;
  const int status = operation->call(&qx::VelProxy::SearchSharePrinterDevice, address, found);
  return [operation, found, status](const Output& output) {
    if (status != 0) {
      operation->finish(output, status, "");
    }
    Json elements = Json::array();
    Table table({"ADDRESS", "NAME", "DESCRIPTION"});
    for (const _SharePrinterDevice& printer : found) {
      elements.push_back(printerJson(printer));
      table.add({base::printable(textIn(printer.addr)), base::printable(textIn(printer.name)),
                 base::printable(textIn(printer.desc))});
    }
    operation->finishList(output, "printers", elements, table.text());
  };
}

// Without a stop the service would go on with the search. Returns the result as a message.
std::string stopSearch() {
  // The search holds the call mutex of the library's one instance, so this takes another.
  qx::VelProxy proxy;
  proxy.Init();
  proxy.StopSearchSharePrinterDevice();
  const qx::VelError error = qx::VelProxy::lastError();
  return error.kind == qx::VelError::Kind::kNone
             ? "the service was asked to stop the search"
             : "the search could not be stopped: " + base::printable(error.text);
}

void searchSharedPrinters(const Output& output, const Address& given) {
  if (!qx::checkIpAddr(given.address)) {
    throw Failure(kExitUsage, std::string(kSearch) + ": " + printableInQuotes(given.address) +
                                  " is not an IPv4 address such as 10.0.0.7 or 10.0.0.7:631");
  }
  struct Ended {};
  const auto ends = std::make_shared<Inbox<Ended>>();
  const Interruption interruption([ends] { ends->stop(); });
  Background<WriteResult> request(
      "search", [address = given.address] { return searchAt(address); },
      [ends] { ends->addAlways({}); });
  const bool hasEnded = withElapsedTime("searching for shared printers", timeLimitOf(kSearch),
                                        [&ends] { return ends->next().has_value(); });
  if (!hasEnded) {
    throw Failure(kExitInterrupted, std::string(kSearch) + " " + printableInQuotes(given.address) +
                                        ": interrupted; " + stopSearch());
  }
  request.get()(output);
}

void stop(const Output& output) {
  Operation operation("stopSearchSharePrinter");
  const int status = operation.call(&qx::VelProxy::StopSearchSharePrinterDevice);
  operation.finish(output, status, "search stopped");
}

// --- Shared printers on this machine -------------------------------------------------------------

// Address, name and description of each printer, one after the other.
struct NewPrinters {
  std::vector<std::string> texts;
};

void addSharedPrinters(const Output& output, const NewPrinters& added) {
  if (added.texts.size() % kTextsPerPrinter != 0) {
    throw Failure(kExitUsage,
                  "addSharePrinter: each printer needs an address, a name and a description; "
                  "give \"\" where there is none");
  }
  std::list<_SharePrinterDevice> printers;
  Json elements = Json::array();
  for (std::size_t i = 0; i < added.texts.size(); i += kTextsPerPrinter) {
    printers.push_back(printerOf(added.texts[i], added.texts[i + 1], added.texts[i + 2]));
    elements.push_back(printerJson(printers.back()));
  }
  Operation operation("addSharePrinter", Json{{"printers", elements}});
  const int status = operation.call(&qx::VelProxy::AddSharePrinterDevice, printers);
  operation.finish(output, status, base::counted(printers.size(), "printer") + " added");
}

struct SharedPrinter {
  std::string address;
  std::string name;
};

void removeSharedPrinter(const Output& output, const SharedPrinter& removed) {
  _SharePrinterDevice printer = printerOf(removed.address, removed.name, "");
  Operation operation("deleteSharePrinter", Json{{"address", jsonText(removed.address)},
                                                 {"name", jsonText(removed.name)}});
  const int status = operation.call(&qx::VelProxy::DeleteSharePrinterDevice, printer);
  operation.finish(output, status, printableInQuotes(removed.name) + " deleted");
}

}  // namespace

void addSharedPrinterCommands(CommandLine& commandLine, const ParserCommand& printers) {
  const ParserCommand group = printers.addGroup("shared", "Printers that other machines share");

  const auto [searchCommand, searched] = addCommand(
      commandLine, group, "search", "List the printers that a machine shares (takes up to 10 s)",
      searchSharedPrinters);
  searchCommand
      .addOption("address", searched.address, "IPv4 address of the machine, with or without a port")
      .required();

  commandLine.command(group, "stop", "Stop all searches of the service", stop);

  const auto [addition, added] = addCommand(
      commandLine, group, "add", "Add shared printers, as a search shows them", addSharedPrinters);
  addition.addOption("printers", added.texts, "Address, name and description of each printer")
      .required()
      .typeName("ADDRESS NAME DESCRIPTION");

  const auto [removal, removed] =
      addCommand(commandLine, group, "delete", "Delete a shared printer", removeSharedPrinter);
  removal.addOption("address", removed.address, "Address of the printer").required();
  removal.addOption("name", removed.name, "Name of the printer").required();
}

}  // namespace velctl
