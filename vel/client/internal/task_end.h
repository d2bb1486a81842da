// The end of a task, which other threads wait for by the monotonic clock. (The wait of a future
// goes by the system clock where the C++ library is libc++ and the system macOS.)

#ifndef VEL_CLIENT_INTERNAL_TASK_END_H
#define VEL_CLIENT_INTERNAL_TASK_END_H

#include <chrono>

#include "platform/mutex.h"
#include "vel/client/error.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

class TaskEnd {
 public:
  // Calls the function, which makes the result known, and is there from then on: who has the result
  // finds the end, too.
  template <typename Publish>
  void publish(const Publish& result) {
    const platform::MutexLock lock(mutex_);
    result();
    isThere_ = true;
    changed_.notifyAll();
  }

  // Whether it is there within so long a time.
  bool comesWithin(std::chrono::milliseconds time) {
    using Clock = platform::Condition::Clock;
    constexpr std::chrono::hours kForever{24 * 365};
    const Clock::time_point deadline =
        time < kForever ? Clock::now() + time : Clock::time_point::max();
    platform::MutexLock lock(mutex_);
    while (!isThere_) {
      if (!changed_.waitUntil(lock, deadline)) {
        return isThere_;
      }
    }
    return true;
  }

 private:
  platform::Mutex mutex_;
  platform::Condition changed_;
  bool isThere_ QX_GUARDED_BY(mutex_) = false;
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_TASK_END_H
