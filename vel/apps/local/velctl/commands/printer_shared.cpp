// velctl shared-printer: printers that other machines share.

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

constexpr char kSearch[] = "searchSharePrinter";
constexpr std::size_t kTextsPerPrinter = 3;
constexpr std::size_t kLongestText = 127;

// --- Search --------------------------------------------------------------------------------------

using Search = vel::Task<std::vector<vel::SharedPrinter>>;

// Without a stop the service would go on with the search. Returns the result as a message.
//
// The search may be about to be sent: then there is nothing to stop yet, or the stop ends another
// client's search.
std::string stopSearch(const Search& search) {
  constexpr std::chrono::milliseconds kEndOfSearch{100};
  constexpr int kMostTries = 20;
  vel::Result<void> stopped;
  for (int i = 0; i < kMostTries; ++i) {
    stopped = search.cancel();
    const bool isSilent = !stopped && stopped.error().kind() != vel::ErrorKind::kRefused;
    if (isSilent || search.isReady(kEndOfSearch)) {
      break;
    }
  }
  return stopped ? "the service was asked to stop the search"
                 : "the search could not be stopped: " + base::printable(stopped.error().text());
}

void searchSharedPrinters(Invocation& invocation) {
  // Otherwise the search could not be stopped before it is connected.
  invocation.check(
      invocation.call([](const vel::Client& client, const Values&) { return client.connect(); }));
  struct Ended {};
  const auto ends = std::make_shared<Inbox<Ended>>();
  const Session::Activity activity = invocation.activityOf("searching for shared printers");
  Progress progress(activity.text, activity.limit, invocation.output().isQuiet());
  const Background<std::vector<vel::SharedPrinter>> search(vel::Client().startSharedPrinterSearch(
      invocation.values().text("ADDRESS"), [ends](const auto&) { ends->addAlways({}); }));
  try {
    static_cast<void>(invocation.session().next(*ends, progress));
  } catch (const Interrupted&) {
    progress.erase();
    invocation.fail(kExitInterrupted, "interrupted; " + stopSearch(search.task()));
  } catch (const TimeOver&) {
    progress.erase();
    invocation.fail(kExitNoReply,
                    "not done within the time of --timeout; " + stopSearch(search.task()));
  }
  finishRecords(invocation, "printers", sharedPrinterFields(), search.task().get());
}

std::string mistakeInAddress(const std::string& text) {
  return vel::Client::isAddress(text)
             ? ""
             : printableInQuotes(text) +
                   " must be an IPv4 address such as 10.0.0.7 or 10.0.0.7:631";
}

// --- Shared printers on this machine -------------------------------------------------------------

std::string threeForEach(const Arguments& arguments) {
  return arguments.at("PRINTER").size() % kTextsPerPrinter == 0
             ? ""
             : "each printer needs an address, a name and a description; give \"\" where there is "
               "none";
}

std::vector<vel::SharedPrinter> printersIn(const std::vector<std::string>& texts) {
  std::vector<vel::SharedPrinter> printers;
  for (std::size_t i = 0; i + kTextsPerPrinter <= texts.size(); i += kTextsPerPrinter) {
    printers.push_back({texts[i], texts[i + 1], texts[i + 2]});
  }
  return printers;
}

void addSharedPrinters(Invocation& invocation) {
  invocation.check(invocation.call([](const vel::Client& client, const Values& values) {
    return client.addSharedPrinters(printersIn(values.texts("PRINTER")));
  }));
  Json elements = Json::array();
  for (const vel::SharedPrinter& printer : printersIn(invocation.values().texts("PRINTER"))) {
    elements.push_back(jsonOf(sharedPrinterFields(), printer));
  }
  const std::string text = base::counted(elements.size(), "printer") + " added";
  invocation.output().done(
      text, invocation.answered({{"printers", elements}, {"status", 0}, {"statusName", "ok"}}));
}

}  // namespace

std::vector<Command> sharedPrinterCommands() {
  Action searching = runs(kSearch, &searchSharedPrinters);
  searching.list = "printers";
  searching.elements = membersOf(sharedPrinterFields());
  Action adding = runs("addSharePrinter", &addSharedPrinters, statusMembers());
  adding.list = searching.list;
  adding.elements = searching.elements;
  return {
      {"shared-printer search",
       "List the printers that a machine shares (takes up to 10 s)",
       {thing(Kind::kAddress, "ADDRESS", "IPv4 address of the machine, with or without a port")
            .checked(&mistakeInAddress)},
       searching,
       {{"shared-printer search 10.0.0.7", "The printers of that machine"}},
       "",
       "printer shared search"},
      {"shared-printer stop",
       "Stop all searches of the service",
       {},
       asks(
           "stopSearchSharePrinter",
           [](const vel::Client& client, const Values&) {
             return client.stopSharedPrinterSearch();
           },
           "search stopped"),
       {{"shared-printer stop", "End the searches of all clients"}},
       "",
       "printer shared stop"},
      {"shared-printer add",
       "Add shared printers, as a search shows them",
       {text("PRINTER", "Address, name and description of each printer, one after the other")
            .repeated()
            .silent()
            .atMost(kLongestText)},
       adding,
       {{"shared-printer add 10.0.0.7 Reception 'Ground floor'", "Add one printer"}},
       "",
       "printer shared add",
       &threeForEach},
      {"shared-printer remove",
       "Remove a shared printer",
       {text("ADDRESS", "Address of the printer").atMost(kLongestText),
        text("NAME", "Name of the printer").atMost(kLongestText)},
       asks(
           "deleteSharePrinter",
           [](const vel::Client& client, const Values& values) {
             return client.removeSharedPrinter({values.text("ADDRESS"), values.text("NAME"), ""});
           },
           "{NAME} removed"),
       {{"shared-printer remove 10.0.0.7 Reception", "Remove the printer of this name there"}},
       "",
       "printer shared delete"},
  };
}

}  // namespace velctl
