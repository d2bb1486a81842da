#include "tests/faults/simulated_vel.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "tests/processes/process.h"
#include "vel/apps/local/velsim/scenario/scenario.h"
#include "vel/apps/local/velsim/service/timer_thread.h"

namespace fault_tests {
namespace {

// A thousand times as fast: searches and diagnoses take no time that a test would notice.
class QuickClock : public velsim::Scheduler {
 public:
  void after(std::chrono::milliseconds delay, std::function<void()> task) override {
    timer_.after(delay / 1000, std::move(task));
  }
  void stop() override { timer_.stop(); }

 private:
  velsim::TimerThread timer_;
};

// The machine that the rows of the operations are about, with something in every list.
velsim::Setup setup() {
  velsim::Setup setup = velsim::builtInScenario().setup;
  velsim::VmSetup vm;
  vm.id = "linux9";
  vm.number = 109;
  setup.vms.push_back(vm);
  setup.devices.front().number = 61;
  setup.printers.front().number = 51;
  velsim::Printer hall;
  hall.number = 59;
  hall.name = "Hall";
  hall.isNetwork = true;
  hall.address = "10.0.0.5";
  setup.printers.push_back(hall);
  setup.sharedPrinters.found.push_back({"10.0.0.9", "Shared", "in this test"});
  return setup;
}

// A directory that goes with the process.
class Directory {
 public:
  Directory() {
    std::string name = (std::filesystem::temp_directory_path() / "velfaults.XXXXXX").string();
    path_ = ::mkdtemp(name.data());
    ::setenv("QXBUS_ADDRESS", ("direct:" + path_ + "/vel").c_str(), 1);
    ::setenv("QX_APP_DATA", (path_ + "/data").c_str(), 1);
    ::setenv("QX_LOG_LEVEL", "off", 1);
  }
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

 private:
  std::string path_;
};

}  // namespace

SimulatedVel::SimulatedVel() : simulator_(setup(), std::make_unique<QuickClock>()) {
  static const Directory directory;
  undertaker_ = std::thread([this] { bury(); });
}

SimulatedVel::~SimulatedVel() {
  {
    const platform::MutexLock lock(mutex_);
    hasEnded_ = true;
    changed_.notifyAll();
  }
  undertaker_.join();
  vanish();
}

void SimulatedVel::bury() {
  platform::MutexLock lock(mutex_);
  while (!hasEnded_) {
    if (!isDying_) {
      changed_.wait(lock);
      continue;
    }
    std::unique_ptr<velsim::BusService> dead = std::move(bus_);
    lock.unlock();
    dead.reset();
    lock.lock();
    isDying_ = false;
    changed_.notifyAll();
  }
}

void SimulatedVel::appear() {
  auto bus = std::make_unique<velsim::BusService>(
      "", simulator_, faults_, log_, [] {},
      [this] {
        const platform::MutexLock lock(mutex_);
        isDying_ = true;
        changed_.notifyAll();
      });
  const platform::MutexLock lock(mutex_);
  bus_ = std::move(bus);
}

void SimulatedVel::vanish() {
  std::unique_ptr<velsim::BusService> gone;
  const platform::MutexLock lock(mutex_);
  gone = std::move(bus_);
}

bool SimulatedVel::waitForDeath() {
  return processes::comesTrue([this] {
    const platform::MutexLock lock(mutex_);
    return !bus_ && !isDying_;
  });
}

void SimulatedVel::restore() {
  faults_.clearAll();
  simulator_.change([](velsim::MachineState& machine) { machine.reset(); });
}

}  // namespace fault_tests
