// The printers of the simulated machine: plugged-in printers, and network printers that clients
// have added. Both can be attached to a VM.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTERS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTERS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/events.h"
#include "vel/apps/local/velsim/machine/number_pool.h"
#include "vel/apps/local/velsim/machine/printer.h"
#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/status.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

// "none", "out-of-paper", and so on.
std::string wordFor(PrinterTrouble trouble);
std::optional<PrinterTrouble> troubleWithWord(const std::string& word);
std::vector<std::string> troubleWords();

// A printer without a source id gets its own: that of a plugged-in device, with 0x0100 as its
// product id, or 0x0101 for a network printer.
void complete(Printer& printer);

// Every change of a printer adds an event.
class Printers {
 public:
  // With the printers of the setup, which are complete.
  Printers(const Setup& setup, NumberPool& numbers, Events& events);

  const std::map<std::uint16_t, Printer>& all() const { return printers_; }
  // The printers that are attached to the VM, or to none.
  std::vector<const Printer*> of(VmNumber vm) const;
  std::vector<const Printer*> network() const;
  // Null when there is no such printer.
  const Printer* find(std::uint16_t number) const;
  const Printer* findBySource(std::uint64_t sourceId) const;

  // Null when all numbers are in use.
  const Printer* plug(const std::string& name);
  // Plugs in a printer of the setup that was unplugged. kExists when it is plugged in.
  Status replug(std::uint16_t number);
  // Detaches the printer first. kUnknownPrinter for a network printer, which has no plug.
  Status unplug(std::uint16_t number);

  // Attaching to the same VM again succeeds.
  Status attach(std::uint16_t number, VmNumber vm);
  Status detach(std::uint16_t number, VmNumber vm);
  void detachAll(VmNumber vm);
  Status setTrouble(std::uint16_t number, PrinterTrouble trouble);

  // Network printers are identified by name.
  Status addNetwork(const std::string& address, const std::string& name, const std::string& extra);
  Status removeNetwork(const std::string& name);
  Status renameNetwork(const std::string& from, const std::string& to);

  // Reports every printer.
  void emitAll();

  // Undoes all changes by clients. Plugged-in printers stay, and unplugged ones stay away.
  void reset();

 private:
  Printer* printer(std::uint16_t number);
  Printer* networkPrinter(const std::string& name);
  Printer& add(std::uint16_t number, const std::string& name, bool isNetwork);
  void restore(Printer& printer, const Printer& state);
  void remove(Printer& printer);
  void release(Printer& printer);
  void emit(const Printer& printer, VmNumber vm = 0);

  NumberPool& numbers_;
  Events& events_;
  std::map<std::uint16_t, Printer> initial_;  // those of the setup
  std::map<std::uint16_t, Printer> printers_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_PRINTERS_H
