// Printers and network printers.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/records.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;

// Values of ConfigPrinterCommand's third argument.
enum class PrinterCommand : std::uint32_t { kAttach = 1, kDetach = 2 };

// Number 0 stands for this machine and lists every printer.
Values getPrinterList(MachineState& machine, const Values& arguments) {
  const VmNumber vm = vmOf(arguments);
  std::vector<Bytes> records;
  if (vm == 0) {
    for (const auto& [number, printer] : machine.printers.all()) {
      records.push_back(recordOf(printer));
    }
  } else if (machine.vms.find(vm)) {
    for (const Printer* const printer : machine.printers.of(vm)) {
      records.push_back(recordOf(*printer));
    }
  }
  return listOf(std::move(records));
}

Values getPrinterStatus(MachineState& machine, const Values& arguments) {
  const Printer* const printer = machine.printers.find(qxbus::readUInt16(arguments, 0));
  return printer ? listOf({recordOf(*printer)}) : listOf({});
}

Values connectPrinter(MachineState& machine, const Values& arguments) {
  const std::uint16_t number = qxbus::readUInt16(arguments, 1);
  return status(
      forVm(machine, arguments, [&](VmNumber vm) { return machine.printers.attach(number, vm); }));
}

Values disconnectPrinter(MachineState& machine, const Values& arguments) {
  const std::uint16_t number = qxbus::readUInt16(arguments, 1);
  return status(
      forVm(machine, arguments, [&](VmNumber vm) { return machine.printers.detach(number, vm); }));
}

Values configPrinterCommand(MachineState& machine, const Values& arguments) {
  const Printer* const printer = machine.printers.findBySource(numberInBlock(arguments, 1));
  const auto command = static_cast<PrinterCommand>(qxbus::readUInt32(arguments, 2));
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    if (!printer) {
      return Status::kUnknownPrinter;
    }
    switch (command) {
      case PrinterCommand::kAttach:
        return machine.printers.attach(printer->number, vm);
      case PrinterCommand::kDetach:
        return machine.printers.detach(printer->number, vm);
    }
    return Status::kUnknownCommand;
  }));
}

Values addNetworkPrinter(MachineState& machine, const Values& arguments) {
  return status(machine.printers.addNetwork(qxbus::readString(arguments, 0),
                                            qxbus::readString(arguments, 1),
                                            qxbus::readString(arguments, 2)));
}

Values deleteNetworkPrinter(MachineState& machine, const Values& arguments) {
  return status(machine.printers.removeNetwork(qxbus::readString(arguments, 0)));
}

Values renameNetworkPrinter(MachineState& machine, const Values& arguments) {
  return status(machine.printers.renameNetwork(qxbus::readString(arguments, 0),
                                               qxbus::readString(arguments, 1)));
}

Values getNetworkPrinterList(MachineState& machine, const Values&) {
  std::vector<Bytes> records;
  for (const Printer* const printer : machine.printers.network()) {
    records.push_back(deviceRecordOf(*printer));
  }
  return listOf(std::move(records));
}

}  // namespace

const std::vector<MethodRow>& printerMethods() {
  static const std::vector<MethodRow> rows = {
      {"getPrinterList", getPrinterList},
      {"getPrinterStatus", getPrinterStatus},
      {"connectPrinter", connectPrinter},
      {"disconnectPrinter", disconnectPrinter},
      {"ConfigPrinterCommand", configPrinterCommand},
      {"addNetworkPrinter", addNetworkPrinter},
      {"deleteNetworkPrinter", deleteNetworkPrinter},
      {"renameNetworkPrinter", renameNetworkPrinter},
      {"getNetworkPrinterList", getNetworkPrinterList},
  };
  return rows;
}

}  // namespace velsim
