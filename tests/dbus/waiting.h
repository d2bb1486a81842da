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

// What is sure to come comes within this, however busy the machine.
constexpr Milliseconds kPatience{20000};
// What must not come is given this long to come.
constexpr Milliseconds kSilence{100};

inline Milliseconds since(TestClock::time_point start) {
  return std::chrono::duration_cast<Milliseconds>(TestClock::now() - start);
}

// True as soon as the condition holds.
inline bool waitUntil(const std::function<bool()>& condition, Milliseconds within = kPatience) {
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
  bool wait(Milliseconds within = kPatience) const {
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

// Opens a gate at the end of its scope, so that a failed test leaves nobody waiting.
class OpenAtExit {
 public:
  explicit OpenAtExit(std::shared_ptr<Gate> gate) : gate_(std::move(gate)) {}
  ~OpenAtExit() { gate_->open(); }
  OpenAtExit(const OpenAtExit&) = delete;
  OpenAtExit& operator=(const OpenAtExit&) = delete;

 private:
  std::shared_ptr<Gate> gate_;
};

// What handlers have seen, in order.
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
  bool waitFor(std::size_t count, Milliseconds within = kPatience) const {
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
