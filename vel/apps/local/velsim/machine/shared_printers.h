// Printers that other machines share: the results of searches, the running searches, and the
// printers that clients have added.
//
// A search takes a second and finds, at these addresses only:
//   10.0.0.7      Reception (Ground floor), Archive (Basement)
//   10.0.0.8      Workshop (no description)
//   192.168.1.20  Studio (Large format), Proofs (First floor), Labels (Dispatch)
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_SHARED_PRINTERS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_SHARED_PRINTERS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

struct SharedPrinter {
  std::string address;
  std::string name;
  std::string description;
};

class SharedPrinters {
 public:
  using Search = std::uint64_t;

  // Whether the text is an IPv4 address, with or without a port.
  static bool isAddress(const std::string& text);
  // The printers at an address. The port does not matter.
  static std::vector<SharedPrinter> at(const std::string& address);

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
  Search lastSearch_ = 0;
  std::set<Search> searches_;
  std::vector<SharedPrinter> added_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_SHARED_PRINTERS_H
