#include "tests/chaos/modes.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <thread>

#include "tests/chaos/allocation.h"
#include "tests/chaos/figures.h"
#include "tests/chaos/scarcity.h"

namespace chaos {
namespace {

constexpr unsigned kMostDescriptors = 400;
constexpr Milliseconds kSampling{50};

// The largest use of this process while the object lives.
class Peaks {
 public:
  Peaks() : thread_([this] { sample(); }) {}
  ~Peaks() {
    isEnding_ = true;
    thread_.join();
  }
  Peaks(const Peaks&) = delete;
  Peaks& operator=(const Peaks&) = delete;

  long threads() const { return threads_; }
  long descriptors() const { return descriptors_; }

 private:
  void sample() {
    while (!isEnding_) {
      const Usage now = usageOf();
      threads_ = std::max(threads_.load(), now.threads);
      descriptors_ = std::max(descriptors_.load(), now.descriptors);
      std::this_thread::sleep_for(kSampling);
    }
  }

  std::atomic<bool> isEnding_{false};
  std::atomic<long> threads_{0};
  std::atomic<long> descriptors_{0};
  std::thread thread_;
};

// Threads that act during a run.
class Actors {
 public:
  Actors(Run& run, int clients) : run_(run) {
    for (int number = 0; number < clients; ++number) {
      threads_.emplace_back([&run, number] { actAsClient(run, number); });
    }
    threads_.emplace_back([&run] { actAsUserOfTheBus(run); });
  }
  ~Actors() { join(); }
  Actors(const Actors&) = delete;
  Actors& operator=(const Actors&) = delete;

  void join() {
    run_.isEnding = true;
    for (std::thread& thread : threads_) {
      thread.join();
    }
    threads_.clear();
  }

 private:
  Run& run_;
  std::vector<std::thread> threads_;
};

void setFigures(const Run& run, const Injuries& injuries, const Peaks& peaks, Figures* figures) {
  figures->set("seconds", static_cast<double>(Journal::get().sinceBegin().count()) / 1000);
  figures->set("injuries", static_cast<double>(injuries.made()));
  figures->set("instances of the service", run.world.instance());
  figures->set("deaths reported", static_cast<double>(run.gone));
  figures->set("operations", static_cast<double>(run.watchdog.operations()));
  figures->set("operations out of memory", static_cast<double>(run.outOfMemory));
  figures->set("allocations failed", static_cast<double>(memory().failed));
  figures->set("events", static_cast<double>(run.events));
  figures->set("registrations", static_cast<double>(run.registrations.begun()));
  figures->set("callbacks", static_cast<double>(run.registrations.calls()));
  figures->set("code 5", static_cast<double>(run.registrations.deaths()));
  figures->set("calls from callbacks", static_cast<double>(run.callsFromCallbacks));
  figures->set("own proxies", static_cast<double>(run.ownProxies));
  figures->set("completions", static_cast<double>(run.completions));
  figures->set("deaths of interfaces", static_cast<double>(run.interfaceDeaths));
  figures->set("longest operation ms", static_cast<double>(run.watchdog.longest().count()));
  figures->set("largest part of a limit", run.watchdog.largestShare());
  figures->set("longest recovery ms", static_cast<double>(injuries.longestRecovery().count()));
  figures->set("most threads", static_cast<double>(peaks.threads()));
  figures->set("most descriptors", static_cast<double>(peaks.descriptors()));
}

int report(const Options& options, const Figures& figures) {
  std::fprintf(stderr, "%s", figures.json().c_str());
  if (!options.json.empty() && !figures.write(options.json)) {
    std::fprintf(stderr, "chaos: no figures can be written to %s\n", options.json.c_str());
    return 1;
  }
  return 0;
}

Figures figuresOf(const Options& options, const char* mode) {
  Figures figures;
  figures.set("mode", mode);
  figures.set("bus", options.bus == Bus::kDaemon ? "daemon" : "direct");
  figures.set("seed", static_cast<double>(options.seed));
  return figures;
}

int wreak(const Options& options, Run& run) {
  const Peaks peaks;
  Injuries injuries(run, {options.faults.begin(), options.faults.end()});
  Figures figures = figuresOf(options, "chaos");
  {
    Actors actors(run, options.threads);
    const Clock::time_point end = Clock::now() + std::chrono::seconds(options.seconds);
    while (Clock::now() < end) {
      injuries.next();
    }
    run.isEnding = true;
    injuries.finish();
  }
  setFigures(run, injuries, peaks, &figures);
  return report(options, figures);
}

// After a pause in which every thread of a death has ended.
Usage restingUsage() {
  constexpr Milliseconds kRest{6000};
  std::this_thread::sleep_for(kRest);
  return usageOf();
}

int restart(const Options& options, Run& run) {
  // Caches, pools and arenas of the system fill at first.
  constexpr int kWarmUp = 100;
  // The library keeps two listeners for each connection for ever, and the list of them.
  constexpr double kMostBytesPerRestart = 1024;

  const Peaks peaks;
  Injuries injuries(run, {});
  Figures figures = figuresOf(options, "restarts");
  const auto restarts = [&](int count) {
    for (int i = 0; i < count; ++i) {
      injuries.restart();
      injuries.settleCalls();
    }
    injuries.settle();
  };
  restarts(std::min(kWarmUp, options.restarts));
  const Usage before = restingUsage();
  const Memory memoryBefore = memory();
  restarts(options.restarts);
  const Usage after = restingUsage();
  const Memory memoryAfter = memory();

  const double bytes = static_cast<double>(memoryAfter.bytes - memoryBefore.bytes) /
                       static_cast<double>(options.restarts);
  setFigures(run, injuries, peaks, &figures);
  figures.set("descriptors before", static_cast<double>(before.descriptors));
  figures.set("descriptors after", static_cast<double>(after.descriptors));
  figures.set("threads before", static_cast<double>(before.threads));
  figures.set("threads after", static_cast<double>(after.threads));
  figures.set("resident KiB before", static_cast<double>(before.residentKiB));
  figures.set("resident KiB after", static_cast<double>(after.residentKiB));
  figures.set("blocks per restart", static_cast<double>(memoryAfter.blocks - memoryBefore.blocks) /
                                        static_cast<double>(options.restarts));
  figures.set("bytes per restart", bytes);
  if (after.descriptors > before.descriptors || after.threads > before.threads ||
      bytes > kMostBytesPerRestart) {
    Journal::get().fail("no growth over restarts: " + figures.json());
  }
  return report(options, figures);
}

// One thread for each death may wait: it looks for the service every 2 s, and may find it dead
// again each time.
int crash(const Options& options, Run& run) {
  constexpr long kThreadsOfTheRun = 24;
  constexpr Milliseconds kRest{30000};

  const Peaks peaks;
  Injuries injuries(run, {});
  Figures figures = figuresOf(options, "crashes");
  {
    Actors actors(run, options.threads);
    Clock::time_point next = Clock::now();
    for (int i = 0; i < options.crashes; ++i) {
      next += std::chrono::seconds(1);
      injuries.restart();
      std::this_thread::sleep_until(next);
    }
    injuries.settle();
    run.isEnding = true;
  }
  const Clock::time_point end = Clock::now() + kRest;
  while (usageOf().threads > kThreadsOfTheRun && Clock::now() < end) {
    std::this_thread::sleep_for(kSampling);
  }
  setFigures(run, injuries, peaks, &figures);
  const long left = usageOf().threads;
  figures.set("threads in the end", static_cast<double>(left));
  injuries.finish();
  if (peaks.threads() > options.crashes + kThreadsOfTheRun || left > kThreadsOfTheRun) {
    Journal::get().fail("threads are bounded while the service crashes: " + figures.json());
  }
  return report(options, figures);
}

// Ends a world also after an exception.
class WorldEnd {
 public:
  explicit WorldEnd(Run& run) : run_(run) {}
  ~WorldEnd() {
    run_.isEnding = true;
    run_.world.end();
  }
  WorldEnd(const WorldEnd&) = delete;
  WorldEnd& operator=(const WorldEnd&) = delete;

 private:
  Run& run_;
};

}  // namespace

int run(const Options& options) {
  Journal::get().begin(options.seed, options.command);
  limitDescriptors(kMostDescriptors);
  // Never destroyed: its callbacks hear of the last death, too, until the process ends.
  Run& run = *new Run(options.seed, options.bus, Milliseconds(options.slackMs));
  const WorldEnd end(run);
  if (options.restarts > 0) {
    return restart(options, run);
  }
  return options.crashes > 0 ? crash(options, run) : wreak(options, run);
}

}  // namespace chaos
