// The service and the bus of a run, as an injury treats them: velsim, as a process of its own, at a
// bus daemon or at a socket of its own.
//
// Each instance of velsim has a number from 1 on, which stands in the names of its devices
// ("i12 camera") and in the numbers of its VMs (12 * 100 + 1).
//
// THREADS   Use it from one thread; instance() from any.
// ERRORS    std::runtime_error when a process cannot be started.

#ifndef TESTS_CHAOS_WORLD_H
#define TESTS_CHAOS_WORLD_H

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/processes/private_bus.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace chaos {

enum class Bus { kDaemon, kDirect };

// The VMs of each instance. The first one is that of the table of operations.
extern const std::string kVmNames[4];

class World {
 public:
  // Makes a directory, and starts bus and service. Sets the environment of the library.
  explicit World(Bus bus);
  ~World() { end(); }

  World(const World&) = delete;
  World& operator=(const World&) = delete;

  // Ends service and bus, and removes the directory.
  void end();

  bool hasDaemon() const { return bus_ != nullptr; }
  const std::filesystem::path& logDirectory() const { return logDirectory_; }
  unsigned instance() const { return instance_; }
  unsigned long restarts() const { return restarts_; }

  bool isServing() { return velsim_ && !velsim_->hasEnded(); }
  // SIGKILL.
  void killService();
  void endService();
  // The next instance.
  void startService();
  void stopService();
  void continueService();
  // A control line. Empty: refused, or no velsim is there.
  std::string control(const std::string& line);

  void killBus();
  void startBus();
  void stopBus();
  void continueBus();

 private:
  void writeScenario() const;

  std::filesystem::path directory_;
  std::filesystem::path logDirectory_;
  std::unique_ptr<processes::PrivateBus> bus_;
  std::unique_ptr<velsim_testing::VelsimProcess> velsim_;
  std::atomic<unsigned> instance_{0};
  unsigned long restarts_ = 0;
};

}  // namespace chaos

#endif  // TESTS_CHAOS_WORLD_H
