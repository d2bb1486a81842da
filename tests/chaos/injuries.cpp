#include "tests/chaos/injuries.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <thread>

#include "tests/chaos/allocation.h"
#include "tests/chaos/scarcity.h"

namespace chaos {
namespace {

constexpr std::size_t kMostFileBytes = 100000;

// Of the answers of velsim: docs/faults.md.
constexpr const char* kLies[] = {"error",
                                 "wrong-reply-type",
                                 "missing-arguments",
                                 "wrong-argument-types",
                                 "truncated-blocks",
                                 "empty-blocks",
                                 "oversized-blocks 70000",
                                 "random-blocks",
                                 "negative-count",
                                 "huge-count",
                                 "not-utf8",
                                 "embedded-nul"};
constexpr const char* kLiesInEvents[] = {"truncated-blocks", "empty-blocks",
                                         "random-blocks",    "not-utf8",
                                         "duplicate-events", "reordered-events"};

}  // namespace

const std::vector<Injuries::Injury>& Injuries::all() {
  static const std::vector<Injury> injuries = {
      {{"kill", "SIGKILL of the service, which comes back"}, &Injuries::kill, false},
      {{"storm", "several kills in a row"}, &Injuries::killAgainAndAgain, false},
      {{"end", "the orderly end of the service"}, &Injuries::end, false},
      {{"die", "the service dies before or behind an answer"}, &Injuries::dieInACall, false},
      {{"leave", "the service leaves the bus and returns"}, &Injuries::leave, false},
      {{"stop", "SIGSTOP of the service, then SIGCONT"}, &Injuries::stop, false},
      {{"late", "answers that come late"}, &Injuries::answerLate, false},
      {{"never", "answers that never come"}, &Injuries::answerNever, false},
      {{"lie", "answers and events that are wrong"}, &Injuries::lie, false},
      {{"plug", "devices that come and go quickly"}, &Injuries::hotPlug, false},
      {{"kill-bus", "SIGKILL of the bus daemon, then a new one"}, &Injuries::killBus, true},
      {{"stop-bus", "SIGSTOP of the bus daemon, then SIGCONT"}, &Injuries::stopBus, true},
      {{"descriptors", "no descriptor is left"}, &Injuries::useUpDescriptors, false},
      {{"memory", "allocations of the library fail now and then"}, &Injuries::useUpMemory, false},
      {{"disk", "files of this process cannot grow"}, &Injuries::fillDisk, false},
      {{"no-log", "the directory of the log vanishes"}, &Injuries::removeLog, false},
  };
  return injuries;
}

std::vector<InjuryName> Injuries::names() {
  std::vector<InjuryName> names;
  std::transform(all().begin(), all().end(), std::back_inserter(names),
                 [](const Injury& injury) { return injury.name; });
  return names;
}

Injuries::Injuries(Run& run, const std::set<std::string>& names) : run_(run), random_(run.seed) {
  std::copy_if(all().begin(), all().end(), std::back_inserter(chosen_), [&](const Injury& injury) {
    return (names.empty() || names.count(injury.name.name) > 0) &&
           (run.world.hasDaemon() || !injury.needsDaemon);
  });
  instance_.RegisterServiceCallback(onService, &run_);
  probe_ = run_.registrations.begin();
  instance_.RegisterDeviceCallback(onInstanceDevice, probe_);
  registerWatched();
}

Injuries::~Injuries() = default;

void Injuries::note(const std::string& step) {
  Journal::get().note("injuries", step);
}

void Injuries::pause(std::size_t mostMs) {
  std::this_thread::sleep_for(Milliseconds(1 + random_.below(mostMs)));
}

void Injuries::killService() {
  run_.order.killed(run_.world.instance());
  run_.world.killService();
}

void Injuries::next() {
  const Injury& injury = random_.oneOf(chosen_);
  note(injury.name.name);
  ++made_;
  deathsBefore_ = run_.gone;
  const Death death = (this->*injury.treat)();
  note(std::string(injury.name.name) + " has ended");
  check(death);
}

void Injuries::restart() {
  ++made_;
  killService();
  run_.world.startService();
}

void Injuries::settle() {
  check(Death::kMaybe);
}

void Injuries::finish() {
  killService();
  instance_.RegisterServiceCallback(nullptr, &run_);
}

// --- The service ---------------------------------------------------------------------------------

Injuries::Death Injuries::kill() {
  killService();
  pause(random_.chance(30) ? 1500 : 20);
  return Death::kYes;
}

Injuries::Death Injuries::killAgainAndAgain() {
  for (std::size_t left = 1 + random_.below(4); left > 0; --left) {
    killService();
    pause(10);
    run_.world.startService();
    pause(300);
  }
  killService();
  return Death::kYes;
}

Injuries::Death Injuries::end() {
  run_.order.killed(run_.world.instance());
  run_.world.endService();
  pause(100);
  return Death::kYes;
}

Injuries::Death Injuries::dieInACall() {
  run_.order.killed(run_.world.instance());
  run_.world.control(random_.chance(50) ? "fault * 5 death-before" : "fault * 5 death-after");
  const Clock::time_point enough = Clock::now() + Milliseconds(2000);
  while (run_.world.isServing() && Clock::now() < enough) {
    pause(5);
  }
  if (run_.world.isServing()) {
    killService();
  }
  return Death::kYes;
}

Injuries::Death Injuries::leave() {
  run_.world.control("leave");
  pause(300);
  run_.world.control("return");
  return Death::kYes;
}

Injuries::Death Injuries::stop() {
  run_.world.stopService();
  pause(random_.chance(20) ? 4000 : 800);
  if (random_.chance(20)) {
    note("kill while stopped");
    killService();
    return Death::kYes;
  }
  run_.world.continueService();
  return Death::kNo;
}

Injuries::Death Injuries::answerLate() {
  run_.world.control("fault * */" + std::to_string(1 + random_.below(9)) + " delay " +
                     std::to_string(10 + random_.below(700)));
  pause(1500);
  return Death::kNo;
}

Injuries::Death Injuries::answerNever() {
  run_.world.control("fault * */" + std::to_string(2 + random_.below(9)) + " no-answer");
  pause(1500);
  return Death::kNo;
}

Injuries::Death Injuries::lie() {
  for (std::size_t left = 1 + random_.below(4); left > 0; --left) {
    if (random_.chance(70)) {
      const std::string lie = random_.oneOf(kLies);
      note(lie);
      run_.world.control("fault * */" + std::to_string(1 + random_.below(4)) + " " + lie);
    } else {
      const std::string lie = random_.oneOf(kLiesInEvents);
      note(lie + " in events");
      run_.world.control("fault events */" + std::to_string(1 + random_.below(4)) + " " + lie);
    }
  }
  return hotPlug();
}

Injuries::Death Injuries::hotPlug() {
  const std::string name =
      "\"i" + std::to_string(run_.world.instance()) + " hot " + std::to_string(made_) + "\"";
  const std::size_t times = 1 + random_.below(60);
  for (std::size_t time = 0; time < times; ++time) {
    run_.world.control("plug camera " + name);
    if (random_.chance(50)) {
      run_.world.control("attach " + name + " win11");
      run_.world.control("detach " + name);
    }
    pause(8);
    run_.world.control("unplug " + name);
  }
  return Death::kNo;
}

// --- The bus -------------------------------------------------------------------------------------

Injuries::Death Injuries::killBus() {
  run_.order.killed(run_.world.instance());
  run_.world.killBus();
  pause(random_.chance(30) ? 2500 : 100);
  run_.world.startBus();
  // Without its bus the service ends.
  run_.world.endService();
  return Death::kYes;
}

Injuries::Death Injuries::stopBus() {
  run_.world.stopBus();
  pause(random_.chance(20) ? 4000 : 800);
  run_.world.continueBus();
  return Death::kNo;
}

// --- This process --------------------------------------------------------------------------------

Injuries::Death Injuries::useUpDescriptors() {
  const NoDescriptors hoard(random_.below(4));
  pause(300);
  const bool kills = random_.chance(50);
  if (kills) {
    note("kill without descriptors");
    killService();
    pause(1000);
  }
  return kills ? Death::kYes : Death::kNo;
}

// A connection whose bytes find no memory may be given up, which is a death.
Injuries::Death Injuries::useUpMemory() {
  failAllocations(random_.next(), static_cast<unsigned>(40 + random_.below(1000)));
  pause(800);
  if (random_.chance(50)) {
    note("kill without memory");
    killService();
    pause(20);
    run_.world.startService();
    pause(1500);
  }
  failAllocations(0, 0);
  return Death::kMaybe;
}

Injuries::Death Injuries::fillDisk() {
  const FullDisk disk(random_.chance(50) ? 0 : kMostFileBytes);
  pause(1000);
  return Death::kNo;
}

Injuries::Death Injuries::removeLog() {
  std::error_code ignored;
  std::filesystem::remove_all(run_.world.logDirectory(), ignored);
  pause(300);
  return Death::kNo;
}

}  // namespace chaos
