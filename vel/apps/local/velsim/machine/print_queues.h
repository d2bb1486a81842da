// The print queues of the simulated machine, and their printer drivers.
//
// A driver fits a printer whose name or model holds one of the driver's words, in any case; the
// "Generic text" driver fits every printer.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_PRINT_QUEUES_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_PRINT_QUEUES_H

#include <map>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

struct PrintQueue {
  std::string uri;
  std::string driver;
  unsigned testPages = 0;
};

class PrintQueues {
 public:
  // With the built-in queues.
  PrintQueues() { reset(); }

  // By name.
  const std::map<std::string, PrintQueue>& all() const { return queues_; }

  // The best one first. All drivers for an empty text.
  static std::vector<std::string> driversFor(const std::string& printer);

  Status add(const std::string& name, const std::string& uri, const std::string& driver);
  // With the best driver for the model, or for the name when the model is empty.
  Status addWithBestDriver(const std::string& name, const std::string& uri,
                           const std::string& model);
  Status remove(const std::string& name);
  Status changeDriver(const std::string& name, const std::string& driver);
  Status printTestPage(const std::string& name);

  // Restores the built-in queues.
  void reset();

 private:
  std::map<std::string, PrintQueue> queues_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_PRINT_QUEUES_H
