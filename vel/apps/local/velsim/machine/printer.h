// One printer of the simulated machine.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTER_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTER_H

#include <cstdint>
#include <string>

#include "vel/apps/local/velsim/machine/device.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

// Trouble at the printer itself. Takes the place of the status in records of the printer.
enum class PrinterTrouble : std::uint16_t {
  kNone = 0,
  kOutOfPaper = static_cast<std::uint16_t>(DeviceStatus::kOutOfPaper),
  kPaperJam = static_cast<std::uint16_t>(DeviceStatus::kPaperJam),
  kOutOfInk = static_cast<std::uint16_t>(DeviceStatus::kOutOfInk),
  kOffline = static_cast<std::uint16_t>(DeviceStatus::kOffline),
};

struct Printer {
  std::uint16_t number = 0;
  std::uint64_t sourceId = 0;
  std::string name;
  DeviceStatus status = DeviceStatus::kAvailable;
  VmNumber vm = 0;  // the VM that it is attached to; 0: none
  PrinterTrouble trouble = PrinterTrouble::kNone;
  bool isNetwork = false;
  std::string address;  // of a network printer
  std::string extra;    // of a network printer, as its client gave it
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTER_H
