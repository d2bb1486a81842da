// velctl queue: print queues of this machine and their drivers. The service gives the texts their
// meaning.

#include <string>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

using Change = vel::Result<void> (vel::Client::*)(const std::string&, const std::string&,
                                                  const std::string&) const;

template <Change change>
vel::Result<void> addQueue(const vel::Client& client, const Values& values) {
  return (client.*change)(values.text("FIRST"), values.text("SECOND"), values.text("THIRD"));
}

Parameter queueArgument() {
  return text("PRINTER", "Name of the printer");
}

}  // namespace

std::vector<Command> queueCommands() {
  return {
      {"queue search",
       "Show all printers that the service can reach (takes up to 30 s)",
       {},
       reads(
           "searchAllPrinter", "text",
           [](const vel::Client& client, const Values&) { return client.allPrinters(); },
           "searching for printers"),
       {{"queue search", "The answer is a text of the service; of velsim JSON"}},
       "",
       "printer queue search"},
      {"queue drivers",
       "Show the drivers for a printer (takes up to 30 s)",
       {queueArgument()},
       reads(
           "getPrinterDriverlList", "text",
           [](const vel::Client& client, const Values& values) {
             return client.printerDrivers(values.text("PRINTER"));
           },
           "looking for drivers"),
       {{"queue drivers Laser", "The drivers that fit"}},
       "",
       "printer queue drivers"},
      {"queue add",
       "Add a print queue, described by three texts",
       {text("FIRST", "First text for the service; of velsim the name"),
        text("SECOND", "Second text; of velsim the URI"),
        text("THIRD", "Third text; of velsim the driver")},
       asks("addPrinter", &addQueue<&vel::Client::addLocalPrinter>, "{FIRST} added"),
       {{"queue add Laser ipp://10.0.0.7/print generic", "A queue with a driver"}},
       "",
       "printer queue add"},
      {"queue auto-add",
       "Add a print queue with a driver that the service chooses (takes up to 30 s)",
       {text("FIRST", "First text for the service; of velsim the name"),
        text("SECOND", "Second text; of velsim the URI"),
        text("THIRD", "Third text; of velsim the model")},
       asks("autoAddPrinter", &addQueue<&vel::Client::autoAddPrinter>, "{FIRST} added",
            "adding the printer"),
       {{"queue auto-add Laser ipp://10.0.0.7/print 'Laser 2000'", "A queue for a model"}},
       "",
       "printer queue auto-add"},
      {"queue remove",
       "Remove a print queue",
       {queueArgument()},
       asks(
           "deletePrinter",
           [](const vel::Client& client, const Values& values) {
             return client.removePrinter(values.text("PRINTER"));
           },
           "{PRINTER} removed"),
       {{"queue remove Laser", "Remove the queue Laser"}},
       "",
       "printer queue delete"},
      {"queue set-driver",
       "Change the driver of a print queue",
       {queueArgument(), text("DRIVER", "Name of the driver")},
       asks(
           "changePrinterDriver",
           [](const vel::Client& client, const Values& values) {
             return client.setPrinterDriver(values.text("PRINTER"), values.text("DRIVER"));
           },
           "{PRINTER} has driver {DRIVER}"),
       {{"queue set-driver Laser generic", "Another driver for the queue"}},
       "",
       "printer queue driver"},
      {"queue test-page",
       "Print a test page (takes up to 10 s)",
       {queueArgument()},
       asks(
           "printTestPage",
           [](const vel::Client& client, const Values& values) {
             return client.printTestPage(values.text("PRINTER"));
           },
           "test page sent to {PRINTER}", "waiting for the test page"),
       {{"queue test-page Laser", "Print a test page"}},
       "",
       "printer queue test-page"},
  };
}

}  // namespace velctl
