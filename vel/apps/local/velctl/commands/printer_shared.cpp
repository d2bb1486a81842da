// velctl printer shared: printers that other machines share.

#include <memory>
#include <string>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/printer_groups.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

constexpr char kSearch[] = "searchSharePrinter";
constexpr std::size_t kTextsPerPrinter = 3;

vel::SharedPrinter printerOf(const std::string& address, const std::string& name,
                             const std::string& description) {
  constexpr std::size_t kLongestText = 127;
  for (const std::string& text : {address, name, description}) {
    refuseLonger(text, kLongestText);
  }
  return {address, name, description};
}

Json printerJson(const vel::SharedPrinter& printer) {
  return {{"address", jsonText(printer.address)},
          {"name", jsonText(printer.name)},
          {"description", jsonText(printer.description)}};
}

// --- Search --------------------------------------------------------------------------------------

struct Address {
  std::string address;
};

using Search = vel::Task<std::vector<vel::SharedPrinter>>;

// Without a stop the service would go on with the search. Returns the result as a message.
std::string stopSearch(Search& search) {
  const vel::Result<void> stopped = search.cancel();
  search.detach();
  return stopped ? "the service was asked to stop the search"
                 : "the search could not be stopped: " + base::printable(stopped.error().text());
}

Shown showSharedPrinter(const vel::SharedPrinter& printer) {
  return {printerJson(printer),
          {base::printable(printer.address), base::printable(printer.name),
           base::printable(printer.description)}};
}

void searchSharedPrinters(const Output& output, const Address& given) {
  if (!vel::Client::isAddress(given.address)) {
    throw Failure(kExitUsage, std::string(kSearch) + ": " + printableInQuotes(given.address) +
                                  " is not an IPv4 address such as 10.0.0.7 or 10.0.0.7:631");
  }
  struct Ended {};
  const Operation operation(kSearch, Json{{"address", given.address}});
  const auto ends = std::make_shared<Inbox<Ended>>();
  const Interruption interruption([ends] { ends->stop(); });
  Search search = operation.client().startSharedPrinterSearch(
      given.address, [ends](const auto&) { ends->addAlways({}); });
  const bool hasEnded = withElapsedTime("searching for shared printers", timeLimitOf(kSearch),
                                        [&ends] { return ends->next().has_value(); });
  if (!hasEnded) {
    throw Failure(kExitInterrupted, std::string(kSearch) + " " + printableInQuotes(given.address) +
                                        ": interrupted; " + stopSearch(search));
  }
  if (const auto& found = search.get(); !found) {
    operation.finish(output, vel::unexpected<vel::Error>(found.error()), "");
  }
  operation.finishList(output, "printers", {"ADDRESS", "NAME", "DESCRIPTION"}, search.get(),
                       &showSharedPrinter);
}

void stop(const Output& output) {
  const Operation operation("stopSearchSharePrinter");
  operation.finish(output, operation.client().stopSharedPrinterSearch(), "search stopped");
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
  std::vector<vel::SharedPrinter> printers;
  Json elements = Json::array();
  for (std::size_t i = 0; i < added.texts.size(); i += kTextsPerPrinter) {
    printers.push_back(printerOf(added.texts[i], added.texts[i + 1], added.texts[i + 2]));
    elements.push_back(printerJson(printers.back()));
  }
  const Operation operation("addSharePrinter", Json{{"printers", elements}});
  operation.finish(output, operation.client().addSharedPrinters(printers),
                   base::counted(printers.size(), "printer") + " added");
}

void removeSharedPrinter(const Output& output, const vel::SharedPrinter& removed) {
  const vel::SharedPrinter printer = printerOf(removed.address, removed.name, "");
  const Operation operation("deleteSharePrinter", Json{{"address", jsonText(removed.address)},
                                                       {"name", jsonText(removed.name)}});
  operation.finish(output, operation.client().removeSharedPrinter(printer),
                   printableInQuotes(removed.name) + " deleted");
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
