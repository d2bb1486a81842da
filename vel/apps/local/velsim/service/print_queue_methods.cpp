// Print queues and their drivers.
//
// searchAllPrinter answers {"printers":[...]}, each with "name", "source" and more that depends on
// the source:
//   queue   "uri", "driver", "testPages"    a print queue of this machine
//   local   "number"                        a printer that is plugged in
//   network "number", "address"             a network printer that a client has added
//   shared  "address", "description"        one that another machine shares and a client has added
// getPrinterDriverlList answers {"printer":"...","drivers":["...", ...]}, the best driver first.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/json_text.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

Values searchAllPrinter(MachineState& machine, const Values&) {
  Json printers = Json::array();
  for (const auto& [name, queue] : machine.printQueues.all()) {
    printers.push_back({{"name", name},
                        {"source", "queue"},
                        {"uri", queue.uri},
                        {"driver", queue.driver},
                        {"testPages", queue.testPages}});
  }
  for (const auto& [number, printer] : machine.printers.all()) {
    Json entry = {{"name", printer.name},
                  {"source", printer.isNetwork ? "network" : "local"},
                  {"number", number}};
    if (printer.isNetwork) {
      entry["address"] = printer.address;
    }
    printers.push_back(entry);
  }
  for (const SharedPrinter& printer : machine.sharedPrinters.added()) {
    printers.push_back({{"name", printer.name},
                        {"source", "shared"},
                        {"address", printer.address},
                        {"description", printer.description}});
  }
  return {jsonText({{"printers", printers}})};
}

Values getPrinterDriverlList(MachineState& machine, const Values& arguments) {
  const std::string printer = qxbus::readString(arguments, 0);
  return {jsonText({{"printer", printer}, {"drivers", machine.printQueues.driversFor(printer)}})};
}

Values addPrinter(MachineState& machine, const Values& arguments) {
  return status(machine.printQueues.add(qxbus::readString(arguments, 0),
                                        qxbus::readString(arguments, 1),
                                        qxbus::readString(arguments, 2)));
}

Values autoAddPrinter(MachineState& machine, const Values& arguments) {
  return status(machine.printQueues.addWithBestDriver(qxbus::readString(arguments, 0),
                                                      qxbus::readString(arguments, 1),
                                                      qxbus::readString(arguments, 2)));
}

Values deletePrinter(MachineState& machine, const Values& arguments) {
  return status(machine.printQueues.remove(qxbus::readString(arguments, 0)));
}

Values changePrinterDriver(MachineState& machine, const Values& arguments) {
  return status(machine.printQueues.changeDriver(qxbus::readString(arguments, 0),
                                                 qxbus::readString(arguments, 1)));
}

Values printTestPage(MachineState& machine, const Values& arguments) {
  return status(machine.printQueues.printTestPage(qxbus::readString(arguments, 0)));
}

}  // namespace

const std::vector<MethodRow>& printQueueMethods() {
  static const std::vector<MethodRow> rows = {
      {"searchAllPrinter", searchAllPrinter},
      {"getPrinterDriverlList", getPrinterDriverlList},
      {"addPrinter", addPrinter},
      {"autoAddPrinter", autoAddPrinter},
      {"deletePrinter", deletePrinter},
      {"changePrinterDriver", changePrinterDriver},
      {"printTestPage", printTestPage},
  };
  return rows;
}

}  // namespace velsim
