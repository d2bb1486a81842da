// The check after each injury: everything works again, and every death has been reported.

#include <algorithm>
#include <thread>

#include "tests/chaos/allocation.h"
#include "tests/chaos/injuries.h"

namespace chaos {
namespace {

constexpr std::size_t kWatched = 8;
constexpr Milliseconds kLook{5};
// For each of: calls that succeed, events that arrive, deaths that are reported. The library waits
// for 2 s between looks for the service, or once for 5 s.
constexpr Milliseconds kRecovery{40000};
constexpr Milliseconds kRepeat{300};

std::string watchedName(std::size_t number) {
  return "watched" + std::to_string(number);
}

}  // namespace

void Injuries::registerWatched() {
  for (void* const ended : watched_) {
    run_.registrations.end(ended);
  }
  watched_.clear();
  for (std::size_t number = 0; number < kWatched; ++number) {
    note("register " + watchedName(number));
    watched_.push_back(run_.registrations.begin());
    const Watchdog::Watch watch(run_.watchdog, "RegisterCallback", kRecovery);
    instance_.RegisterCallback(watchedName(number), onVm, watched_.back());
  }
}

void Injuries::check(Death death) {
  const Clock::time_point begin = Clock::now();
  run_.world.startService();
  run_.world.control("clear-faults all");
  awaitCalls(Clock::now() + kRecovery);
  awaitCodes(death, Clock::now() + kRecovery);
  awaitEvents(Clock::now() + kRecovery);
  const auto took = std::chrono::duration_cast<Milliseconds>(Clock::now() - begin);
  longestRecovery_ = std::max(longestRecovery_, took);
  note("all is well after " + std::to_string(took.count()) + " ms");
}

void Injuries::settleCalls() {
  awaitCalls(Clock::now() + kRecovery);
}

void Injuries::awaitCalls(Clock::time_point deadline) {
  for (;;) {
    qx::VelError error;
    called(run_, "CheckCameraAuthStat of the check", kConnecting + Milliseconds(3000), [&] {
      instance_.CheckCameraAuthStat();
      error = qx::VelProxy::lastError();
    });
    if (error.kind == qx::VelError::Kind::kNone) {
      return;
    }
    if (Clock::now() > deadline) {
      Journal::get().fail("calls succeed again after an injury: " + error.text);
    }
    std::this_thread::sleep_for(kLook);
  }
}

void Injuries::awaitEvents(Clock::time_point deadline) {
  const std::string name = "i" + std::to_string(run_.world.instance()) + " probe";
  run_.expectEvent(name);
  while (!run_.hasSeenEvent()) {
    // Again and again: an event may come between the connection and its listener.
    run_.world.control("plug camera \"" + name + "\"");
    run_.world.control("unplug \"" + name + "\"");
    const Clock::time_point next = Clock::now() + kRepeat;
    while (!run_.hasSeenEvent() && Clock::now() < next) {
      std::this_thread::sleep_for(kLook);
    }
    if (Clock::now() > deadline) {
      Journal::get().fail("events arrive again after an injury");
    }
  }
}

void Injuries::awaitCodes(Death death, Clock::time_point deadline) {
  const auto reported = [this] {
    return std::count_if(watched_.begin(), watched_.end(),
                         [this](void* each) { return run_.registrations.codes(each) == 1; });
  };
  const auto all = static_cast<std::ptrdiff_t>(kWatched);
  if (death == Death::kMaybe) {
    death = reported() > 0 || run_.gone != run_.back || run_.gone != deathsBefore_ ? Death::kYes
                                                                                   : Death::kNo;
  }
  if (death == Death::kNo) {
    if (reported() != 0 || run_.gone != deathsBefore_) {
      Journal::get().fail("code 5 for a death only: the service has not died");
    }
    return;
  }
  while (reported() != all || run_.gone != run_.back || run_.gone == deathsBefore_) {
    if (Clock::now() > deadline) {
      Journal::get().fail("code 5 once for each registration and death: of " + std::to_string(all) +
                          " registrations, " + std::to_string(reported()) +
                          " have got it; deaths reported " + std::to_string(run_.gone) +
                          ", returns " + std::to_string(run_.back));
    }
    std::this_thread::sleep_for(kLook);
  }
  registerWatched();
}

}  // namespace chaos
