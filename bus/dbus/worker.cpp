#include "bus/dbus/worker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

namespace qxbus {

bool startThread(const std::function<void()>& task) {
  try {
    std::thread(task).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

struct Worker::State {
  // The tasks that are dropped are destroyed by the caller, outside the lock.
  void stop(std::deque<std::function<void()>>* dropped) {
    stopped = true;
    dropped->swap(tasks);
    changed.notify_one();
  }

  std::mutex mutex;
  std::condition_variable changed;
  std::condition_variable idle;
  std::deque<std::function<void()>> tasks;
  std::thread::id thread;
  bool running = false;
  bool stopped = false;
};

Worker::Worker() : state_(std::make_shared<State>()) {
  // Detached: whoever gives up the worker may be standing on this very thread.
  running_ = startThread([state = state_] {
    std::unique_lock<std::mutex> lock(state->mutex);
    state->thread = std::this_thread::get_id();
    for (;;) {
      state->changed.wait(lock, [&state] { return state->stopped || !state->tasks.empty(); });
      if (state->stopped) {
        return;
      }
      std::function<void()> task = std::move(state->tasks.front());
      state->tasks.pop_front();
      state->running = true;
      lock.unlock();
      task();
      task = nullptr;  // what it holds is given up outside the lock, too
      lock.lock();
      state->running = false;
      state->idle.notify_all();
    }
  });
}

Worker::~Worker() {
  std::deque<std::function<void()>> dropped;
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->stop(&dropped);
}

void Worker::finish() {
  std::deque<std::function<void()>> dropped;
  std::unique_lock<std::mutex> lock(state_->mutex);
  state_->stop(&dropped);
  if (state_->thread != std::this_thread::get_id()) {
    state_->idle.wait(lock, [this] { return !state_->running; });
  }
}

void Worker::post(std::function<void()> task) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  if (!state_->stopped) {
    state_->tasks.push_back(std::move(task));
    state_->changed.notify_one();
  }
}

}  // namespace qxbus
