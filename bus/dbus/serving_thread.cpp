#include "bus/dbus/serving_thread.h"

#include <list>
#include <thread>
#include <utility>

#include "base/thread.h"
#include "platform/mutex.h"

namespace qxbus {

struct ServingThread::State {
  explicit State(std::shared_ptr<Loop> served) : loop(std::move(served)) {}

  void run();
  // The tasks that are dropped are destroyed by the caller, outside the lock. An empty list takes
  // no memory, unlike a deque.
  void stop(std::list<std::function<void()>>* dropped) QX_REQUIRES(mutex) {
    isStopped = true;
    dropped->swap(tasks);
    if (idle) {
      loop->finish(idle);
    }
  }

  const std::shared_ptr<Loop> loop;
  platform::Mutex mutex;
  std::list<std::function<void()>> tasks QX_GUARDED_BY(mutex);
  Loop::Wait* idle QX_GUARDED_BY(mutex) = nullptr;  // while there is no task
  std::thread::id thread QX_GUARDED_BY(mutex);
  bool isRunning QX_GUARDED_BY(mutex) = false;
  bool isStopped QX_GUARDED_BY(mutex) = false;
  platform::Condition done;
};

void ServingThread::State::run() {
  platform::MutexLock lock(mutex);
  thread = std::this_thread::get_id();
  while (!isStopped) {
    if (tasks.empty()) {
      Loop::Wait wait;
      idle = &wait;
      lock.unlock();
      loop->runUntilFinished(&wait, Clock::time_point::max());
      lock.lock();
      idle = nullptr;
      continue;
    }
    std::function<void()> task = std::move(tasks.front());
    tasks.pop_front();
    isRunning = true;
    lock.unlock();
    task();
    task = nullptr;  // what it holds is given up outside the lock, too
    lock.lock();
    isRunning = false;
    done.notifyAll();
  }
}

base::Result<std::unique_ptr<ServingThread>> ServingThread::start(std::shared_ptr<Loop> loop) {
  auto state = std::make_shared<State>(std::move(loop));
  auto thread = base::startThread("qxbus-service", [state] { state->run(); });
  if (!thread) {
    return thread.failed();
  }
  // Detached: the owner may stand on this very thread.
  thread->detach();
  return std::unique_ptr<ServingThread>(new ServingThread(std::move(state)));
}

ServingThread::~ServingThread() {
  std::list<std::function<void()>> dropped;
  const platform::MutexLock lock(state_->mutex);
  state_->stop(&dropped);
}

void ServingThread::finish() {
  std::list<std::function<void()>> dropped;
  platform::MutexLock lock(state_->mutex);
  state_->stop(&dropped);
  if (state_->thread != std::this_thread::get_id()) {
    while (state_->isRunning) {
      state_->done.wait(lock);
    }
  }
}

void ServingThread::post(std::function<void()> task) {
  const platform::MutexLock lock(state_->mutex);
  if (!state_->isStopped) {
    state_->tasks.push_back(std::move(task));
    if (state_->idle) {
      state_->loop->finish(state_->idle);
    }
  }
}

}  // namespace qxbus
