// Printers that other machines share: the results of searches, the running searches, and the
// printers that clients have added.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_SHARED_PRINTERS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_SHARED_PRINTERS_H

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

class SharedPrinters {
 public:
  using Search = std::uint64_t;

  // The setup outlives the object.
  explicit SharedPrinters(const SharedPrinterSetup& setup) : setup_(setup) { reset(); }

  // Whether the text is an IPv4 address, with or without a port.
  static bool isAddress(const std::string& text);
  // The printers at an address. The port does not matter.
  std::vector<SharedPrinter> at(const std::string& address) const;

  std::chrono::milliseconds searchTime() const { return setup_.searchTime; }

  Search beginSearch();
  bool isRunning(Search search) const { return searches_.count(search) != 0; }
  void endSearch(Search search) { searches_.erase(search); }
  // Ends all running searches.
  Status stopSearches();

  const std::vector<SharedPrinter>& added() const { return added_; }
  // Adds all of them or, when one is refused, none. Address and name together identify a printer.
  Status add(const std::vector<SharedPrinter>& printers);
  Status remove(const std::string& address, const std::string& name);

  void reset();

 private:
  const SharedPrinterSetup& setup_;
  Search lastSearch_ = 0;
  std::set<Search> searches_;
  std::vector<SharedPrinter> added_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_SHARED_PRINTERS_H
