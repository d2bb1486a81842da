// The wait of macOS for a condition variable, until a time of the monotonic clock:
// platform::Condition is what others use.
//
// libc++ waits there by the system clock, whatever clock the deadline is of: when that clock is set
// back, the wait grows by the difference.

#ifndef PLATFORM_MONOTONIC_WAIT_H
#define PLATFORM_MONOTONIC_WAIT_H

#include <chrono>
#include <ctime>

#if defined(__APPLE__)
#include <pthread.h>
#endif

namespace platform {

using MonotonicClock = std::chrono::steady_clock;

// The time from now to a deadline, at most an hour: a wait may end early. Zero when it has passed.
inline std::timespec timeLeft(MonotonicClock::time_point deadline, MonotonicClock::time_point now) {
  constexpr std::chrono::hours kMost{1};
  if (deadline <= now) {
    return {};
  }
  const std::chrono::nanoseconds left =
      deadline > now + kMost ? std::chrono::nanoseconds(kMost) : deadline - now;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
  std::timespec time = {};
  time.tv_sec = static_cast<std::time_t>(seconds.count());
  time.tv_nsec = static_cast<long>((left - seconds).count());
  return time;
}

#if defined(__APPLE__)
// Waits until a notification, the deadline, or without a reason. False when the deadline has
// passed.
inline bool waitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex,
                      MonotonicClock::time_point deadline) {
  const std::timespec left = timeLeft(deadline, MonotonicClock::now());
  if (left.tv_sec == 0 && left.tv_nsec == 0) {
    return false;
  }
  pthread_cond_timedwait_relative_np(condition, mutex, &left);
  return MonotonicClock::now() < deadline;
}
#endif

}  // namespace platform

#endif  // PLATFORM_MONOTONIC_WAIT_H
