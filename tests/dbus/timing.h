// How long something takes on a machine that may be busy with other things.

#ifndef TESTS_DBUS_TIMING_H
#define TESTS_DBUS_TIMING_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <functional>
#include <thread>
#include <vector>

#include "tests/dbus/waiting.h"

namespace dbustest {

inline Milliseconds timeOf(const std::function<void()>& action) {
  const auto begun = TestClock::now();
  action();
  return since(begun);
}

inline Milliseconds longestOf(const std::vector<Milliseconds>& times) {
  return *std::max_element(times.begin(), times.end());
}

// Of the thread that asks.
inline std::chrono::nanoseconds processorTime() {
  timespec used = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

// A thread that sleeps and works a little in turns, and uses nothing of ours: when it is late, the
// machine is why.
class PlainThread {
 public:
  PlainThread() : thread_([this] { run(); }) {}
  ~PlainThread() {
    isOver_ = true;
    thread_.join();
  }
  PlainThread(const PlainThread&) = delete;
  PlainThread& operator=(const PlainThread&) = delete;

  bool wasLate() const { return wasLate_; }

 private:
  static constexpr Milliseconds kSleep{5};
  static constexpr Milliseconds kWork{1};
  static constexpr Milliseconds kLate{10};

  void run() {
    while (!isOver_) {
      const Milliseconds turn = timeOf([] {
        std::this_thread::sleep_for(kSleep);
        const auto begun = processorTime();
        while (processorTime() - begun < kWork) {
        }
      });
      if (turn >= kSleep + kWork + kLate) {
        wasLate_ = true;
      }
    }
  }

  std::atomic<bool> isOver_{false};
  std::atomic<bool> wasLate_{false};
  std::thread thread_;
};

// What a measurement gives that must stay below a limit. It is made again when it exceeds the limit
// while a plain thread was late as well, because a mistake of ours is there each time.
inline Milliseconds measuredBelow(Milliseconds limit,
                                  const std::function<Milliseconds()>& measure) {
  constexpr int kMost = 10;
  for (int count = 1;; ++count) {
    const PlainThread plain;
    const Milliseconds measured = measure();
    if (measured < limit || count == kMost || !plain.wasLate()) {
      return measured;
    }
  }
}

}  // namespace dbustest

#endif  // TESTS_DBUS_TIMING_H
