// The cost of one pen frame, with logging off, beside a copy of as many bytes:
//
//   pen_bench
//
// The last line is the ratio of the two, from the medians of the run.

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <QTabletEvent>

#include "platform/log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

// The program has one thread while it measures.
std::size_t allocations = 0;

}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// Logging is off.
extern "C" void norvoLogPrint(int /*channel*/, int /*level*/, const char* /*tag*/,
                              const char* /*format*/, ...) {}

extern "C" void pellamLogInit(const char* /*directory*/) {}

namespace {

constexpr std::size_t kFrameSize = 198;
constexpr const char* kFrameName = "SendPenData";
constexpr const char* kCopyName = "memcpy of 198 bytes";

QTabletEvent aMove() {
  return QTabletEvent(QEvent::TabletMove, QPointF(320.5, 200.4), QPointF(320.5, 200.4),
                      QTabletEvent::Stylus, QTabletEvent::Pen, 0.5, 12, -7, 0, 45, 0,
                      Qt::NoModifier, 1, Qt::NoButton, Qt::LeftButton);
}

// Allocations of one iteration.
void countAllocations(benchmark::State& state, std::size_t before) {
  // Read at once: the counters allocate.
  const auto made = static_cast<double>(allocations - before);
  state.counters["allocations"] = benchmark::Counter(made, benchmark::Counter::kAvgIterations);
}

void copy(benchmark::State& state) {
  unsigned char from[kFrameSize] = {};
  unsigned char to[kFrameSize] = {};
  const std::size_t before = allocations;
  for (auto iteration : state) {
    benchmark::DoNotOptimize(from);
    std::memcpy(to, from, sizeof to);
    benchmark::DoNotOptimize(to);
    benchmark::ClobberMemory();
  }
  countAllocations(state, before);
}

void packet(benchmark::State& state) {
  QTabletEvent event = aMove();
  const std::size_t before = allocations;
  for (auto iteration : state) {
    benchmark::DoNotOptimize(qx::serialize(&event, 0x26016, -1, -1));
    benchmark::ClobberMemory();
  }
  countAllocations(state, before);
}

// From the event to the writer, which only reads the bytes.
void frame(benchmark::State& state) {
  qx::VelProxy proxy;
  proxy.PortInit("client.space.port.2", true,
                 [](const std::string&, unsigned int length, unsigned char* bytes) {
                   benchmark::DoNotOptimize(bytes);
                   return length;
                 });
  unsigned char deviceNumber[] = {0x27, 5, 0x35, 0x08, 0, 0, 0, 0};
  proxy.PortData("client.space.port.2", deviceNumber, sizeof deviceNumber);
  QTabletEvent event = aMove();
  const std::size_t before = allocations;
  for (auto iteration : state) {
    benchmark::DoNotOptimize(proxy.SendPenData("win11", &event, 0, -1, -1));
    benchmark::ClobberMemory();
  }
  countAllocations(state, before);
}

// Prints as usual, and keeps the medians.
class MedianReporter : public benchmark::ConsoleReporter {
 public:
  MedianReporter() : ConsoleReporter(OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double median(const std::string& name) const {
    const auto found = medians_.find(name);
    return found == medians_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> medians_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  constexpr int kRepetitions = 9;
  const std::pair<const char*, void (*)(benchmark::State&)> cases[] = {
      {kCopyName, copy}, {"qx::serialize", packet}, {kFrameName, frame}};
  for (const auto& [name, function] : cases) {
    benchmark::RegisterBenchmark(name, function)
        ->Repetitions(kRepetitions)
        ->ReportAggregatesOnly(true);
  }

  MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);

  const double perFrame = reporter.median(kFrameName);
  const double perCopy = reporter.median(kCopyName);
  if (perFrame > 0 && perCopy > 0) {
    std::printf("One frame: %.1f ns; a memcpy of %zu bytes: %.1f ns; ratio %.1f\n", perFrame,
                kFrameSize, perCopy, perFrame / perCopy);
  }
  return 0;
}
