#include "tests/chaos/watchdog.h"

#include <algorithm>
#include <numeric>

#include "tests/chaos/allocation.h"

namespace chaos {
namespace {

constexpr Milliseconds kLookAgain{50};

}  // namespace

Milliseconds Watchdog::Place::allowed() const {
  return std::accumulate(others.begin(), others.end(), limit);
}

Watchdog::Watchdog(Milliseconds slack) : slack_(slack), thread_([this] { run(); }) {}

Watchdog::~Watchdog() {
  {
    const platform::MutexLock lock(mutex_);
    hasEnded_ = true;
    changed_.notifyAll();
  }
  thread_.join();
}

Watchdog::Watch::Watch(Watchdog& watchdog, const char* kind, Milliseconds limit)
    : watchdog_(watchdog), place_(watchdog.enter(kind, limit)) {}

Watchdog::Watch::~Watch() {
  watchdog_.leave(place_);
}

std::size_t Watchdog::enter(const char* kind, Milliseconds limit) {
  const platform::MutexLock lock(mutex_);
  const auto free = std::find_if(places_.begin(), places_.end(),
                                 [](const Place& place) { return place.kind == nullptr; });
  if (free == places_.end()) {
    Journal::get().fail("no hang: all places of the watchdog are taken");
  }
  *free = {};
  free->kind = kind;
  free->begin = Clock::now();
  free->limit = limit;
  const auto at = static_cast<std::size_t>(free - places_.begin());
  for (std::size_t other = 0; other < kPlaces; ++other) {
    if (other != at && places_[other].kind) {
      places_[other].others[at] = std::max(places_[other].others[at], limit);
      free->others[other] = places_[other].limit;
    }
  }
  return at;
}

void Watchdog::leave(std::size_t at) {
  const platform::MutexLock lock(mutex_);
  Place& place = places_[at];
  const auto taken = Clock::now() - place.begin;
  const auto milliseconds = std::chrono::duration_cast<Milliseconds>(taken);
  longest_ = std::max(longest_, milliseconds);
  largestShare_ =
      std::max(largestShare_, static_cast<double>(milliseconds.count()) /
                                  static_cast<double>((place.allowed() + slack_).count()));
  ++operations_;
  place.kind = nullptr;
}

void Watchdog::run() {
  platform::MutexLock lock(mutex_);
  while (!hasEnded_) {
    changed_.waitUntil(lock, Clock::now() + kLookAgain);
    look();
  }
}

void Watchdog::look() {
  const Clock::time_point now = Clock::now();
  for (const Place& place : places_) {
    if (place.kind && now - place.begin > place.allowed() + slack_) {
      Journal::get().fail(
          std::string("no hang: ") + place.kind + " has not ended after " +
          std::to_string(std::chrono::duration_cast<Milliseconds>(now - place.begin).count()) +
          " ms; its limit is " + std::to_string(place.limit.count()) + " ms, and " +
          std::to_string((place.allowed() + slack_ - place.limit).count()) +
          " ms for others and a busy machine");
    }
  }
}

Milliseconds Watchdog::longest() const {
  const platform::MutexLock lock(mutex_);
  return longest_;
}

double Watchdog::largestShare() const {
  const platform::MutexLock lock(mutex_);
  return largestShare_;
}

std::size_t Watchdog::operations() const {
  const platform::MutexLock lock(mutex_);
  return operations_;
}

}  // namespace chaos
