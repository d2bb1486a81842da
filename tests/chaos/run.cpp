#include "tests/chaos/run.h"

#include <cstring>
#include <new>

#include "tests/chaos/allocation.h"

namespace chaos {
namespace {

std::atomic<Run*> theRun{nullptr};

void broken(const std::string& promise) {
  Journal::get().fail(promise);
}

// A callback is allowed remote operations.
void callBack(Run& run) {
  thread_local Random random(run.seed + 77);
  if (run.isEnding || !random.chance(10)) {
    return;
  }
  ++run.callsFromCallbacks;
  called(run, "CheckCameraAuthStat in a callback", kConnecting + Milliseconds(3000), [] {
    qx::VelProxy* const proxy = qx::VelProxy::getInstance();
    if (random.chance(50)) {
      proxy->CheckCameraAuthStat();
    } else {
      proxy->GetVmIdInt("unknown");
    }
  });
}

}  // namespace

Run::Run(std::uint64_t seed_, Bus bus, Milliseconds slack)
    : seed(seed_), world(bus), watchdog(slack), registrations(broken), order(broken) {
  theRun = this;
}

Run& Run::current() {
  return *theRun.load();
}

void Run::expectEvent(const std::string& name) {
  const platform::MutexLock lock(mutex_);
  awaited_ = name;
  isSeen_ = false;
}

bool Run::hasSeenEvent() {
  const platform::MutexLock lock(mutex_);
  return isSeen_;
}

void Run::sawEvent(const char* name, std::size_t size) {
  ++events;
  order.event(SessionOrder::instanceIn(name, size));
  const platform::MutexLock lock(mutex_);
  isSeen_ = isSeen_ || awaited_ == std::string(name, ::strnlen(name, size));
}

bool called(Run& run, const char* kind, Milliseconds limit, const std::function<void()>& call) {
  const Watchdog::Watch watch(run.watchdog, kind, limit);
  try {
    const InsideLibrary inside;
    call();
    return true;
  } catch (const std::bad_alloc&) {
    const OutsideLibrary outside;
    if (memory().failed == 0) {
      broken(std::string("no exception leaves the interface: std::bad_alloc from ") + kind);
    }
    ++run.outOfMemory;
    return false;
  } catch (const std::exception& error) {
    const OutsideLibrary outside;
    broken(std::string("no exception leaves the interface: ") + error.what() + " from " + kind);
    return false;
  }
}

Milliseconds limitOf(const fault_tests::Operation& operation) {
  const Milliseconds answer(operation.waits() ? operation.timeoutMs() : 0);
  // Twice, for the operations that connect a proxy of their own.
  return 2 * kConnecting + kLookUp + answer;
}

int onInstanceDevice(unsigned short /*code*/, CommonDevice* device, void* userData) {
  const OutsideLibrary outside;
  Run& run = Run::current();
  if (run.registrations.isCalled(userData)) {
    run.sawEvent(device->name, sizeof device->name);
    callBack(run);
  }
  return 0;
}

int onDevice(unsigned short /*code*/, CommonDevice* /*device*/, void* userData) {
  const OutsideLibrary outside;
  Run& run = Run::current();
  if (run.registrations.isCalled(userData)) {
    callBack(run);
  }
  return 0;
}

int onPrinter(unsigned short /*code*/, PrinterDevice* /*printer*/, void* userData) {
  return onDevice(0, nullptr, userData);
}

int onNewDevice(unsigned short /*code*/, _ConfigNewDeviceResult* /*result*/, void* userData) {
  return onDevice(0, nullptr, userData);
}

int onVm(unsigned short code, void* data, void* userData) {
  const OutsideLibrary outside;
  Run& run = Run::current();
  if (code != 5 || data) {
    broken("callbacks of VMs have code 5 and no data");
  }
  if (run.registrations.isToldOfDeath(userData)) {
    callBack(run);
  }
  return 0;
}

void onService(qx::ServiceState state, const std::vector<std::string>& /*vmIds*/, void* userData) {
  const OutsideLibrary outside;
  Run& run = *static_cast<Run*>(userData);
  if (state == qx::ServiceState::kGone) {
    run.order.gone();
    ++run.gone;
  } else {
    run.order.back();
    ++run.back;
  }
}

}  // namespace chaos
