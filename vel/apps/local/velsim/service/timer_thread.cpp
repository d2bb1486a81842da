#include "vel/apps/local/velsim/service/timer_thread.h"

#include <stdexcept>
#include <utility>

#include "base/result.h"
#include "base/thread.h"

namespace velsim {

TimerThread::TimerThread() {
  base::Result<std::thread> thread = base::startThread("velsim timer", [this] { run(); });
  if (!thread) {
    throw std::runtime_error(thread.reason());
  }
  thread_ = std::move(*thread);
}

TimerThread::~TimerThread() {
  TimerThread::stop();
}

void TimerThread::stop() {
  {
    const platform::MutexLock lock(mutex_);
    isStopped_ = true;
  }
  changed_.notifyOne();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void TimerThread::after(std::chrono::milliseconds delay, std::function<void()> task) {
  {
    const platform::MutexLock lock(mutex_);
    tasks_.emplace(Clock::now() + delay, std::move(task));
  }
  changed_.notifyOne();
}

void TimerThread::run() {
  platform::MutexLock lock(mutex_);
  while (!isStopped_) {
    if (tasks_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const auto first = tasks_.begin();
    const Clock::time_point due = first->first;
    if (Clock::now() < due) {
      changed_.waitUntil(lock, due);
      continue;
    }
    const std::function<void()> task = std::move(first->second);
    tasks_.erase(first);
    lock.unlock();
    task();
    lock.lock();
  }
}

}  // namespace velsim
