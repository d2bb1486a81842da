// The printers of the simulated machine: plugged-in printers, and network printers that clients
// have added. Both can be attached to a VM.
//
// Built in:
//   number  name           source id
//       21  Office laser   0x7e57010000000015
//       22  Photo printer  0x7e57010000000016
// The source ids of network printers have 0101 in place of 0100.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTERS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTERS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/events.h"
#include "vel/apps/local/velsim/machine/number_pool.h"
#include "vel/apps/local/velsim/machine/printer.h"
#include "vel/apps/local/velsim/machine/status.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

// Every change of a printer adds an event.
class Printers {
 public:
  // With the built-in printers.
  Printers(NumberPool& numbers, Events& events);

  const std::map<std::uint16_t, Printer>& all() const { return printers_; }
  // The printers that are attached to the VM, or to none.
  std::vector<const Printer*> of(VmNumber vm) const;
  std::vector<const Printer*> network() const;
  // Null when there is no such printer.
  const Printer* find(std::uint16_t number) const;
  const Printer* findBySource(std::uint64_t sourceId) const;

  // Null when all numbers are in use.
  const Printer* plug(const std::string& name);
  // Detaches the printer first. kUnknownPrinter for a network printer, which has no plug.
  Status unplug(std::uint16_t number);

  // Attaching to the same VM again succeeds.
  Status attach(std::uint16_t number, VmNumber vm);
  Status detach(std::uint16_t number, VmNumber vm);
  void detachAll(VmNumber vm);

  // Network printers are identified by name.
  Status addNetwork(const std::string& address, const std::string& name, const std::string& extra);
  Status removeNetwork(const std::string& name);
  Status renameNetwork(const std::string& from, const std::string& to);

  // Reports every printer.
  void emitAll();

  // Undoes all changes by clients. Plugged-in printers stay.
  void reset();

 private:
  Printer* printer(std::uint16_t number);
  Printer* networkPrinter(const std::string& name);
  Printer& add(std::uint16_t number, const std::string& name, bool isNetwork);
  void remove(Printer& printer);
  void release(Printer& printer);
  void emit(const Printer& printer, VmNumber vm = 0);

  NumberPool& numbers_;
  Events& events_;
  std::map<std::uint16_t, Printer> printers_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTERS_H
