// The library's own share of an operation, of a list and of an event: on a bus that answers at
// once, with logging off.
//
//   operation_bench

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "benchmarks/instant_bus.h"
#include "platform/app_data_path.h"
#include "platform/log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/events.h"

// Logging is off.
extern "C" void norvoLogPrint(int /*channel*/, int /*level*/, const char* /*tag*/,
                              const char* /*format*/, ...) {}
extern "C" void pellamLogInit(const char* /*directory*/) {}
std::string GetAppDataPath() {
  return {};
}

namespace {

constexpr char kVmName[] = "win11";
constexpr std::size_t kRecordSize = 808;
constexpr std::size_t kRecords = 64;
constexpr int kRepetitions = 9;

// An operation with two integers and a status.
void skeleton(benchmark::State& state) {
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  proxy->GetVmIdInt(kVmName);
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(proxy->ConnectDevice(kVmName, 12));
  }
}

// Each record in memory of its own, which is freed again.
void list(benchmark::State& state) {
  instant::Arguments reply = {static_cast<std::int32_t>(kRecords)};
  reply.insert(reply.end(), kRecords, instant::Bytes(kRecordSize, 1));
  instant::answer("getDeviceList", std::move(reply));
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  while (state.KeepRunning()) {
    std::list<CommonDevice*> devices = proxy->GetDeviceList(kVmName);
    if (devices.size() != kRecords) {
      state.SkipWithError("the list has another length");
      break;
    }
    proxy->FreeDeviceList(devices);
  }
}

// From the message to the callback, and back.
void event(benchmark::State& state) {
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  long received = 0;
  proxy->RegisterDeviceCallback(
      [](unsigned short /*code*/, CommonDevice* /*device*/, void* userData) {
        ++*static_cast<long*>(userData);
        return 0;
      },
      &received);
  const auto message = instant::messageOf(
      {std::int32_t{0}, static_cast<std::int32_t>(velprotocol::EventCode::kDevicePlugged),
       instant::Bytes(kRecordSize, 1)});
  while (state.KeepRunning()) {
    proxy->HandleEvent(message);
  }
  proxy->UnregisterDeviceCallback(&received);
  if (received != static_cast<long>(state.iterations())) {
    state.SkipWithError("an event has not reached the callback");
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  const auto add = [](const char* name, void (*function)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, function)
        ->Repetitions(kRepetitions)
        ->ReportAggregatesOnly(true);
  };
  add("an operation's skeleton", skeleton);
  add("a list of 64 records", list);
  add("an event to its callback", event);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
