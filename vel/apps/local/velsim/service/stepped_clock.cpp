#include "vel/apps/local/velsim/service/stepped_clock.h"

#include <utility>

namespace velsim {

void SteppedClock::after(std::chrono::milliseconds delay, std::function<void()> task) {
  const platform::MutexLock lock(mutex_);
  if (!isStopped_) {
    tasks_.emplace(now_ + delay, std::move(task));
  }
}

void SteppedClock::stop() {
  {
    const platform::MutexLock lock(mutex_);
    isStopped_ = true;
    tasks_.clear();
  }
  // Waits for a running task.
  const platform::MutexLock running(running_);
}

bool SteppedClock::runOne(std::chrono::milliseconds until) {
  std::function<void()> task;
  {
    const platform::MutexLock lock(mutex_);
    if (tasks_.empty() || tasks_.begin()->first > until) {
      return false;
    }
    now_ = tasks_.begin()->first;
    task = std::move(tasks_.begin()->second);
    tasks_.erase(tasks_.begin());
  }
  task();
  return true;
}

void SteppedClock::advance(std::chrono::milliseconds time) {
  const platform::MutexLock running(running_);
  const std::chrono::milliseconds until = now() + time;
  while (runOne(until)) {
  }
  const platform::MutexLock lock(mutex_);
  now_ = until;
}

bool SteppedClock::runNext() {
  const platform::MutexLock running(running_);
  return runOne(std::chrono::milliseconds::max());
}

std::chrono::milliseconds SteppedClock::now() const {
  const platform::MutexLock lock(mutex_);
  return now_;
}

}  // namespace velsim
