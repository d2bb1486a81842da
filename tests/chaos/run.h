// What the parts of a run share: the service, the watchers, and how an operation is made.

#ifndef TESTS_CHAOS_RUN_H
#define TESTS_CHAOS_RUN_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/mutex.h"
#include "tests/chaos/registrations.h"
#include "tests/chaos/watchdog.h"
#include "tests/chaos/world.h"
#include "tests/faults/operations.h"
#include "tests/wire/random.h"

namespace chaos {

using wiretest::Random;

struct Run {
  explicit Run(std::uint64_t seed, Bus bus, Milliseconds slack);

  // One at a time: the callbacks of the library find it here.
  static Run& current();

  const std::uint64_t seed;
  World world;
  Watchdog watchdog;
  Registrations registrations;
  SessionOrder order;  // of the one instance

  std::atomic<bool> isEnding{false};
  std::atomic<std::uint64_t> outOfMemory{0};  // operations that ended so
  std::atomic<std::uint64_t> gone{0};         // deaths reported for the one instance
  std::atomic<std::uint64_t> back{0};
  std::atomic<std::uint64_t> events{0};
  std::atomic<std::uint64_t> callsFromCallbacks{0};
  std::atomic<std::uint64_t> ownProxies{0};
  std::atomic<std::uint64_t> completions{0};
  std::atomic<std::uint64_t> interfaceDeaths{0};

  // Whether the one instance has received an event with this text in it.
  void expectEvent(const std::string& name);
  bool hasSeenEvent();
  void sawEvent(const char* name, std::size_t size);

 private:
  platform::Mutex mutex_;
  std::string awaited_ QX_GUARDED_BY(mutex_);
  bool isSeen_ QX_GUARDED_BY(mutex_) = false;
};

// Connecting: the service is asked for, then taken, each within 2 s.
constexpr Milliseconds kConnecting{4000};
// The number of a VM.
constexpr Milliseconds kLookUp{3000};

// Makes a call of the library under the watchdog, with its memory running out if that is set.
// False: the call has ended in std::bad_alloc.
bool called(Run& run, const char* kind, Milliseconds limit, const std::function<void()>& call);

// The limit of a remote operation.
Milliseconds limitOf(const fault_tests::Operation& operation);

// Callbacks, whose user data are registrations. Some of them call back.
int onInstanceDevice(unsigned short code, CommonDevice* device, void* userData);
int onDevice(unsigned short code, CommonDevice* device, void* userData);
int onPrinter(unsigned short code, PrinterDevice* printer, void* userData);
int onNewDevice(unsigned short code, _ConfigNewDeviceResult* result, void* userData);
int onVm(unsigned short code, void* data, void* userData);
// userData: the run
void onService(qx::ServiceState state, const std::vector<std::string>& vmIds, void* userData);

// The threads of a run. Each returns when the run is ending.
void actAsClient(Run& run, int number);
void actAsUserOfTheBus(Run& run);

}  // namespace chaos

#endif  // TESTS_CHAOS_RUN_H
