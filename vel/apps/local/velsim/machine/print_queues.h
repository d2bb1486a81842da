// The print queues of the simulated machine, and their printer drivers.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_PRINT_QUEUES_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_PRINT_QUEUES_H

#include <map>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

class PrintQueues {
 public:
  // The queues and drivers of the setup, which outlives the object.
  explicit PrintQueues(const Setup& setup) : setup_(setup) { reset(); }

  // By name.
  const std::map<std::string, PrintQueue>& all() const { return queues_; }

  // The best one first. All drivers for an empty text.
  std::vector<std::string> driversFor(const std::string& printer) const;

  Status add(const std::string& name, const std::string& uri, const std::string& driver);
  // With the best driver for the model, or for the name when the model is empty. kUnknownDriver
  // when none fits.
  Status addWithBestDriver(const std::string& name, const std::string& uri,
                           const std::string& model);
  Status remove(const std::string& name);
  Status changeDriver(const std::string& name, const std::string& driver);
  Status printTestPage(const std::string& name);

  // Restores the queues of the setup.
  void reset();

 private:
  bool isDriver(const std::string& name) const;

  const Setup& setup_;
  std::map<std::string, PrintQueue> queues_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_PRINT_QUEUES_H
