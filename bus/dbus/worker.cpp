#include "bus/dbus/worker.h"

#include <list>
#include <thread>
#include <utility>

#include "base/memory.h"
#include "base/thread.h"
#include "platform/mutex.h"

namespace qxbus {

base::Result<void> startDetached(const char* name, std::function<void()> task) {
  auto started = base::startThread(name, std::move(task));
  if (!started) {
    return started.failed();
  }
  started->detach();
  return {};
}

// Shared with the thread, which may outlive the worker.
class Worker::Queue {
 public:
  void run() {
    platform::MutexLock lock(mutex_);
    for (;;) {
      while (!isStopped_ && tasks_.empty()) {
        changed_.wait(lock);
      }
      if (isStopped_) {
        return;
      }
      std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
      // The task's captures, too, are destroyed outside the lock.
      task = nullptr;
      lock.lock();
    }
  }

  // Returns whether this was the first task. Takes the task, unless there is no memory for it.
  bool post(std::function<void()>* task) {
    const platform::MutexLock lock(mutex_);
    tasks_.push_back(std::move(*task));
    changed_.notifyOne();
    return !std::exchange(hadTask_, true);
  }

  void stop() {
    // Destroyed outside the lock. An empty list takes no memory, unlike a deque.
    std::list<std::function<void()>> dropped;
    const platform::MutexLock lock(mutex_);
    isStopped_ = true;
    dropped.swap(tasks_);
    changed_.notifyOne();
  }

 private:
  platform::Mutex mutex_;
  platform::Condition changed_;
  std::list<std::function<void()>> tasks_ QX_GUARDED_BY(mutex_);
  bool hadTask_ QX_GUARDED_BY(mutex_) = false;
  bool isStopped_ QX_GUARDED_BY(mutex_) = false;
};

// The thread is detached: the worker may be destroyed on it.
Worker::Worker(const char* name)
    : queue_(std::make_shared<Queue>()),
      started_(startDetached(name, [queue = queue_] { queue->run(); })) {}

Worker::Worker(Start start)
    : queue_(std::make_shared<Queue>()),
      start_(std::move(start)),
      run_([queue = queue_] { queue->run(); }) {}

Worker::~Worker() {
  queue_->stop();
}

void Worker::post(std::function<void()> task) {
  const bool isFirst = base::onceThereIsMemory([&] { return queue_->post(&task); });
  if (isFirst && start_) {
    start_(run_);
  }
}

}  // namespace qxbus
