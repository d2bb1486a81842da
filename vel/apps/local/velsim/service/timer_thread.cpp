#include "vel/apps/local/velsim/service/timer_thread.h"

#include <utility>

namespace velsim {

TimerThread::TimerThread() : thread_([this] { run(); }) {}

TimerThread::~TimerThread() {
  TimerThread::stop();
}

void TimerThread::stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopped_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void TimerThread::after(std::chrono::milliseconds delay, std::function<void()> task) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.emplace(Clock::now() + delay, std::move(task));
  }
  changed_.notify_one();
}

void TimerThread::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!isStopped_) {
    if (tasks_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const auto first = tasks_.begin();
    const Clock::time_point due = first->first;
    if (Clock::now() < due) {
      changed_.wait_until(lock, due);
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
