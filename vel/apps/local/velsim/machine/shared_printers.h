// Printers that other machines share: which there are to be found, which searches are running, and
// which printers clients have added.
//
// Found after a second of searching; at every other address there is nobody:
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

  // Whether a machine can have this address: IPv4, with or without a port.
  static bool isAddress(const std::string& text);
  // What the machine at an address shares. The port does not matter.
  static std::vector<SharedPrinter> at(const std::string& address);

  Search beginSearch();
  bool isRunning(Search search) const { return searches_.count(search) != 0; }
  void endSearch(Search search) { searches_.erase(search); }
  // Ends all of them.
  Status stopSearches();

  const std::vector<SharedPrinter>& added() const { return added_; }
  // All of them or, when one cannot be, none. Address and name together identify one.
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
