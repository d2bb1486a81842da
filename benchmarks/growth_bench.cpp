// What more work costs: the library, its bus and a service, over a direct connection inside one
// process, with logging off. Each measurement is the time of all the work.
//
//   growth_bench
//
//   records     one list of so many records of 808 bytes
//   sessions    one call for each of so many VMs, each with a registered callback
//   callbacks   one event to so many registered callbacks
//   threads     100 calls of each of so many threads
//   megabytes   one reply with a record of so many MB (10^6 bytes)

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/direct_service.h"
#include "platform/mutex.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

constexpr int kCallsOfAThread = 100;
constexpr std::size_t kMegabyte = 1000000;
constexpr unsigned short kDevice = 12;

bench::DirectService* service = nullptr;

void fetchList(benchmark::State& state, std::size_t count, std::size_t size) {
  service->setList(count, size);
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  while (state.KeepRunning()) {
    std::list<CommonDevice*> devices = proxy->GetDeviceList("");
    if (devices.size() != count) {
      state.SkipWithError("the list has another length");
      break;
    }
    proxy->FreeDeviceList(devices);
  }
}

void records(benchmark::State& state) {
  fetchList(state, static_cast<std::size_t>(state.range(0)), bench::kRecordSize);
}

void megabytes(benchmark::State& state) {
  fetchList(state, 1, static_cast<std::size_t>(state.range(0)) * kMegabyte);
}

void connectDevice(benchmark::State& state, const std::string& vmId) {
  if (qx::VelProxy::getInstance()->ConnectDevice(vmId, kDevice) != 0) {
    state.SkipWithError("a call has failed");
  }
}

void sessions(benchmark::State& state) {
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  std::vector<std::string> names;
  for (int i = 0; i < state.range(0); ++i) {
    names.push_back("vm" + std::to_string(i));
    proxy->RegisterCallback(
        names.back(), [](unsigned short, void*, void*) { return 0; }, nullptr);
    proxy->GetVmIdInt(names.back());
  }
  while (state.KeepRunning()) {
    for (const std::string& name : names) {
      connectDevice(state, name);
    }
  }
  for (const std::string& name : names) {
    proxy->UnregisterCallback(name);
  }
}

// Waits until an event has reached so many callbacks.
class Arrivals {
 public:
  explicit Arrivals(std::size_t expected) : expected_(expected) {}

  void add() {
    const platform::MutexLock lock(mutex_);
    if (++count_ == expected_) {
      complete_.notifyOne();
    }
  }
  void wait() {
    platform::MutexLock lock(mutex_);
    while (count_ < expected_) {
      complete_.wait(lock);
    }
    count_ = 0;
  }

 private:
  const std::size_t expected_;
  platform::Mutex mutex_;
  platform::Condition complete_;
  std::size_t count_ QX_GUARDED_BY(mutex_) = 0;
};

void callbacks(benchmark::State& state) {
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  const auto count = static_cast<std::size_t>(state.range(0));
  Arrivals arrivals(count);
  // The user data distinguishes the callbacks.
  std::vector<Arrivals*> registered(count, &arrivals);
  for (Arrivals*& each : registered) {
    proxy->RegisterDeviceCallback(
        [](unsigned short /*code*/, CommonDevice* /*device*/, void* userData) {
          (*static_cast<Arrivals**>(userData))->add();
          return 0;
        },
        &each);
  }
  while (state.KeepRunning()) {
    service->emitEvent();
    arrivals.wait();
  }
  proxy->UnregisterDeviceCallback();
}

void threads(benchmark::State& state) {
  while (state.KeepRunning()) {
    std::vector<std::thread> callers;
    callers.reserve(static_cast<std::size_t>(state.range(0)));
    for (int i = 0; i < state.range(0); ++i) {
      callers.emplace_back([] {
        for (int call = 0; call < kCallsOfAThread; ++call) {
          if (qx::VelProxy::getInstance()->ConnectDevice("", kDevice) != 0) {
            std::fputs("growth_bench: a call has failed\n", stderr);
            std::_Exit(EXIT_FAILURE);
          }
        }
      });
    }
    for (std::thread& caller : callers) {
      caller.join();
    }
  }
}

void addCase(const char* name, void (*function)(benchmark::State&), std::vector<int> sizes) {
  auto* const added = benchmark::RegisterBenchmark(name, function);
  for (const int size : sizes) {
    added->Arg(size);
  }
  added->UseRealTime()->Unit(benchmark::kMicrosecond);
}

int run(const std::string& directory) {
  bench::DirectService started(directory);
  service = &started;

  addCase("records", records, {1, 10, 100, 1000, 2000, 5000, 10000});
  addCase("sessions", sessions, {1, 10, 100, 200, 500, 1000});
  addCase("callbacks", callbacks, {1, 10, 100, 200, 500, 1000});
  addCase("threads", threads, {1, 2, 4, 8, 16, 32, 64});
  addCase("megabytes", megabytes, {1, 2, 4, 8, 16, 32, 64});
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  return bench::inTemporaryDirectory("growth_bench", run);
}
