// Printers that other machines share.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

Values found(const std::vector<SharedPrinter>& printers) {
  Values list = status(Status::kOk);
  list.emplace_back(static_cast<std::int32_t>(printers.size()));
  for (const SharedPrinter& printer : printers) {
    list.emplace_back(printer.address);
    list.emplace_back(printer.name);
    list.emplace_back(printer.description);
  }
  return list;
}

Later searchSharePrinter(MachineState& machine, const Values& arguments) {
  const std::string address = qxbus::readString(arguments, 0);
  if (!SharedPrinters::isAddress(address)) {
    return {std::chrono::seconds(0), [](const MachineState&) { return true; },
            [](MachineState&) { return status(Status::kBadAddress); }};
  }
  const SharedPrinters::Search search = machine.sharedPrinters.beginSearch();
  const auto isStopped = [search](const MachineState& now) {
    return !now.sharedPrinters.isRunning(search);
  };
  return {machine.sharedPrinters.searchTime(), isStopped,
          [search, isStopped, address](MachineState& now) {
            if (isStopped(now)) {
              return status(Status::kSearchStopped);
            }
            now.sharedPrinters.endSearch(search);
            return found(now.sharedPrinters.at(address));
          }};
}

Values stopSearchSharePrinter(MachineState& machine, const Values&) {
  return status(machine.sharedPrinters.stopSearches());
}

Values addSharePrinter(MachineState& machine, const Values& arguments) {
  std::vector<SharedPrinter> printers;
  constexpr int kTexts = 3;
  for (int index = 1; index < static_cast<int>(arguments.size()); index += kTexts) {
    printers.push_back({qxbus::readString(arguments, index),
                        qxbus::readString(arguments, index + 1),
                        qxbus::readString(arguments, index + 2)});
  }
  return status(machine.sharedPrinters.add(printers));
}

Values deleteSharePrinter(MachineState& machine, const Values& arguments) {
  return status(machine.sharedPrinters.remove(qxbus::readString(arguments, 0),
                                              qxbus::readString(arguments, 1)));
}

}  // namespace

const std::vector<MethodRow>& sharedPrinterMethods() {
  static const std::vector<MethodRow> rows = {
      {"searchSharePrinter", searchSharePrinter},
      {"stopSearchSharePrinter", stopSearchSharePrinter},
      {"addSharePrinter", addSharePrinter},
      {"deleteSharePrinter", deleteSharePrinter},
  };
  return rows;
}

}  // namespace velsim
