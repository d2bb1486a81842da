// Waiting for conditions between threads, with generous bounds.

#ifndef TESTS_DBUS_WAITING_H
#define TESTS_DBUS_WAITING_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

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
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

  bool isOpen() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open_;
  }

  // False when it is still shut.
  bool wait(Milliseconds within = kPatience) const {
    const auto deadline = std::chrono::system_clock::now() + within;
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_until(lock, deadline, [this] { return open_; });
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  bool open_ = false;
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
    const std::lock_guard<std::mutex> lock(mutex_);
    items_.push_back(std::move(item));
    changed_.notify_all();
  }

  std::vector<T> items() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return items_;
  }

  std::size_t size() const { return items().size(); }

  // False when there are still fewer.
  bool waitFor(std::size_t count, Milliseconds within = kPatience) const {
    const auto deadline = std::chrono::system_clock::now() + within;
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_until(lock, deadline, [&] { return items_.size() >= count; });
  }

  // Whether it stays at that many for a moment.
  bool stays(std::size_t count) const { return !waitFor(count + 1, kSilence) && size() == count; }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<T> items_;
};

}  // namespace dbustest

#endif  // TESTS_DBUS_WAITING_H
