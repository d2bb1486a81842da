// Telling what is late because of this project from what is late because the machine is busy.

#ifndef TESTS_PROCESSES_BUSY_MACHINE_H
#define TESTS_PROCESSES_BUSY_MACHINE_H

#include <atomic>
#include <chrono>
#include <ctime>
#include <thread>

namespace processes {

// Of the thread that asks.
inline std::chrono::nanoseconds processorTime() {
  timespec used = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

// A thread that sleeps and works a little in turns. How late it is, others on the machine are also.
class PlainThread {
 public:
  PlainThread() : thread_([this] { run(); }) {}
  ~PlainThread() { end(); }
  PlainThread(const PlainThread&) = delete;
  PlainThread& operator=(const PlainThread&) = delete;

  // Ends it. The sum of its delays, also of one that lasts until now.
  std::chrono::milliseconds delays() {
    end();
    return delays_;
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kSleep{5};
  static constexpr std::chrono::milliseconds kWork{1};
  // Usual on any machine.
  static constexpr std::chrono::milliseconds kUsualDelay{10};

  void end() {
    isOver_ = true;
    if (thread_.joinable()) {
      thread_.join();
    }
  }

  void run() {
    do {
      std::this_thread::sleep_for(kSleep);
      const auto used = processorTime();
      while (processorTime() - used < kWork) {
      }
      const auto now = Clock::now();
      const auto delay =
          std::chrono::duration_cast<std::chrono::milliseconds>(now - begun_) - kSleep - kWork;
      if (delay >= kUsualDelay) {
        delays_ += delay;
      }
      begun_ = now;
    } while (!isOver_);
  }

  std::atomic<bool> isOver_{false};
  std::chrono::milliseconds delays_{0};
  Clock::time_point begun_ = Clock::now();
  std::thread thread_;
};

// What an attempt gives. One that is too late is followed by another when a plain thread beside it
// was delayed by as much: a mistake of ours makes the next one late as well.
//
// attempt   called with its number, from 1
//
// lateness  of what an attempt has given; zero or less when it is in time
template <typename Attempt, typename Lateness>
auto onTime(const Attempt& attempt, const Lateness& lateness) {
  constexpr int kMost = 5;
  for (int number = 1;; ++number) {
    PlainThread plain;
    auto result = attempt(number);
    const std::chrono::milliseconds late = lateness(result);
    if (late <= std::chrono::milliseconds(0) || number == kMost || plain.delays() < late) {
      return result;
    }
  }
}

// The lateness of what is either in time or not.
inline std::chrono::milliseconds lateUnless(bool isInTime) {
  return std::chrono::milliseconds(isInTime ? 0 : 1);
}

}  // namespace processes

#endif  // TESTS_PROCESSES_BUSY_MACHINE_H
