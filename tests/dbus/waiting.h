// Waiting for conditions between threads, with generous bounds.

#ifndef TESTS_DBUS_WAITING_H
#define TESTS_DBUS_WAITING_H

#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/mutex.h"

namespace dbustest {

using Milliseconds = std::chrono::milliseconds;
using TestClock = std::chrono::steady_clock;

// An event that must come has come by then, however busy the machine.
constexpr Milliseconds kLongestWait{20000};
// An event that must not come is given this long.
constexpr Milliseconds kSilence{100};

inline Milliseconds since(TestClock::time_point start) {
  return std::chrono::duration_cast<Milliseconds>(TestClock::now() - start);
}

// True as soon as the condition holds.
inline bool waitUntil(const std::function<bool()>& condition, Milliseconds within = kLongestWait) {
  const auto deadline = TestClock::now() + within;
  while (!condition()) {
    if (TestClock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(Milliseconds(2));
  }
  return true;
}

// Opens once, for everyone.
class Gate {
 public:
  void open() {
    const platform::MutexLock lock(mutex_);
    open_ = true;
    changed_.notifyAll();
  }

  bool isOpen() const {
    const platform::MutexLock lock(mutex_);
    return open_;
  }

  // False when it is still shut.
  bool wait(Milliseconds within = kLongestWait) const {
    const auto deadline = TestClock::now() + within;
    platform::MutexLock lock(mutex_);
    while (!open_ && changed_.waitUntil(lock, deadline)) {
    }
    return open_;
  }

 private:
  mutable platform::Mutex mutex_;
  mutable platform::Condition changed_;
  bool open_ QX_GUARDED_BY(mutex_) = false;
};

// Opens a gate at the end of its scope, so that a failed test leaves no thread waiting.
class OpenAtScopeExit {
 public:
  explicit OpenAtScopeExit(std::shared_ptr<Gate> gate) : gate_(std::move(gate)) {}
  ~OpenAtScopeExit() { gate_->open(); }
  OpenAtScopeExit(const OpenAtScopeExit&) = delete;
  OpenAtScopeExit& operator=(const OpenAtScopeExit&) = delete;

 private:
  std::shared_ptr<Gate> gate_;
};

// Items that handlers add, in order.
template <typename T>
class Record {
 public:
  void add(T item) {
    const platform::MutexLock lock(mutex_);
    items_.push_back(std::move(item));
    changed_.notifyAll();
  }

  std::vector<T> items() const {
    const platform::MutexLock lock(mutex_);
    return items_;
  }

  std::size_t size() const { return items().size(); }

  // False when there are still fewer.
  bool waitFor(std::size_t count, Milliseconds within = kLongestWait) const {
    const auto deadline = TestClock::now() + within;
    platform::MutexLock lock(mutex_);
    while (items_.size() < count && changed_.waitUntil(lock, deadline)) {
    }
    return items_.size() >= count;
  }

  // Whether it stays at that many for a moment.
  bool stays(std::size_t count) const { return !waitFor(count + 1, kSilence) && size() == count; }

 private:
  mutable platform::Mutex mutex_;
  mutable platform::Condition changed_;
  std::vector<T> items_ QX_GUARDED_BY(mutex_);
};

}  // namespace dbustest

#endif  // TESTS_DBUS_WAITING_H
