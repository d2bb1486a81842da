// A velsim in this process, at a socket of its own, whose faults a test sets.

#ifndef TESTS_FAULTS_SIMULATED_VEL_H
#define TESTS_FAULTS_SIMULATED_VEL_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/mutex.h"
#include "vel/apps/local/velsim/bus_service.h"
#include "vel/apps/local/velsim/faults/faults.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace fault_tests {

// THREADS   Use it from one thread.
class SimulatedVel {
 public:
  // Not on the bus yet. The first one of a process sets QXBUS_ADDRESS.
  SimulatedVel();
  ~SimulatedVel();

  SimulatedVel(const SimulatedVel&) = delete;
  SimulatedVel& operator=(const SimulatedVel&) = delete;

  velsim::Simulator& simulator() { return simulator_; }
  velsim::Faults& faults() { return faults_; }

  void appear();
  void vanish();
  // Waits until a fault has ended the service.
  bool waitForDeath();
  // Undoes what clients did, and clears the faults.
  void restore();

 private:
  // Closes what a dead service had open, as the system does.
  void bury();

  velsim::Log log_{true};
  velsim::Simulator simulator_;
  velsim::Faults faults_{[](const std::string& /*seed*/) {}};

  platform::Mutex mutex_;
  platform::Condition changed_;
  std::unique_ptr<velsim::BusService> bus_ QX_GUARDED_BY(mutex_);
  bool isDying_ QX_GUARDED_BY(mutex_) = false;
  bool hasEnded_ QX_GUARDED_BY(mutex_) = false;
  std::thread undertaker_;
};

}  // namespace fault_tests

#endif  // TESTS_FAULTS_SIMULATED_VEL_H
