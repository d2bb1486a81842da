#include "tests/chaos/registrations.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace chaos {

Registrations::Registrations(std::function<void(const std::string&)> broken)
    : broken_(std::move(broken)) {}

void* Registrations::begin() {
  const platform::MutexLock lock(mutex_);
  // The place that has been free for longest, so that a late call finds it unused.
  for (std::size_t tries = 0; tries < kPlaces; ++tries) {
    Place& place = places_[next_];
    const std::size_t at = next_;
    next_ = (next_ + 1) % kPlaces;
    if (!place.isLive) {
      ++place.generation;
      place.isLive = true;
      place.codes = 0;
      ++begun_;
      return reinterpret_cast<void*>(static_cast<std::uintptr_t>(place.generation * kPlaces + at));
    }
  }
  broken_("more registrations than this program can watch");
  return nullptr;
}

Registrations::Place* Registrations::find(void* userData, std::uint64_t* generation) {
  const auto number = reinterpret_cast<std::uintptr_t>(userData);
  *generation = number / kPlaces;
  return &places_[number % kPlaces];
}

int Registrations::end(void* userData) {
  const platform::MutexLock lock(mutex_);
  std::uint64_t generation = 0;
  Place* const place = find(userData, &generation);
  place->isLive = false;
  return place->codes;
}

bool Registrations::check(void* userData, const char* what) {
  {
    const platform::MutexLock lock(mutex_);
    std::uint64_t generation = 0;
    const Place* const place = find(userData, &generation);
    if (place->isLive && place->generation == generation) {
      ++calls_;
      return true;
    }
  }
  broken_(std::string("no callback after its registration has ended: ") + what);
  return false;
}

bool Registrations::isCalled(void* userData) {
  return check(userData, "an event");
}

bool Registrations::isToldOfDeath(void* userData) {
  if (!check(userData, "code 5")) {
    return false;
  }
  ++deaths_;
  int codes = 0;
  {
    const platform::MutexLock lock(mutex_);
    std::uint64_t generation = 0;
    codes = ++find(userData, &generation)->codes;
  }
  if (codes > 1) {
    broken_("code 5 once for each registration: it came " + std::to_string(codes) + " times");
    return false;
  }
  return true;
}

int Registrations::codes(void* userData) {
  const platform::MutexLock lock(mutex_);
  std::uint64_t generation = 0;
  return find(userData, &generation)->codes;
}

SessionOrder::SessionOrder(std::function<void(const std::string&)> broken)
    : broken_(std::move(broken)) {}

unsigned SessionOrder::instanceIn(const char* name, std::size_t size) {
  constexpr unsigned kMost = 1000000;
  if (size == 0 || name[0] != 'i') {
    return 0;
  }
  unsigned number = 0;
  for (std::size_t i = 1; i < size && number < kMost; ++i) {
    if (name[i] == ' ' && i > 1) {
      return number;
    }
    if (name[i] < '0' || name[i] > '9') {
      return 0;
    }
    number = number * 10 + static_cast<unsigned>(name[i] - '0');
  }
  return 0;
}

void SessionOrder::event(unsigned instance) {
  if (instance == 0) {
    return;
  }
  unsigned ended = 0;
  {
    const platform::MutexLock lock(mutex_);
    latest_ = std::max(latest_, instance);
    ended = ended_;
  }
  if (instance <= ended) {
    broken_("no event of an old session: one of instance " + std::to_string(instance) +
            " came after the end of the session with instance " + std::to_string(ended));
  }
}

void SessionOrder::killed(unsigned instance) {
  const platform::MutexLock lock(mutex_);
  killed_ = std::max(killed_, instance);
}

void SessionOrder::gone() {
  const platform::MutexLock lock(mutex_);
  // An event of the next instance may have come just before the report.
  dead_ = std::max(dead_, std::min(latest_, killed_));
}

void SessionOrder::back() {
  const platform::MutexLock lock(mutex_);
  ended_ = std::max(ended_, dead_);
}

}  // namespace chaos
