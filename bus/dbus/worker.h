// Threads that never throw because there is none left.

#ifndef BUS_DBUS_WORKER_H
#define BUS_DBUS_WORKER_H

#include <functional>
#include <memory>

namespace qxbus {

inline constexpr char kNoThread[] = "the system has no thread left";

// Runs a task on a new thread, which nobody waits for. False when there is none left.
bool startThread(const std::function<void()>& task);

// A thread that runs what is posted to it, one after the other, in order.
class Worker {
 public:
  // See isRunning().
  Worker();
  // What is posted and not yet begun is dropped. Does not wait for a task that is running, so it
  // may be called from inside one.
  ~Worker();

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // False when there was no thread left for it: nothing that is posted will run.
  bool isRunning() const { return running_; }

  void post(std::function<void()> task);

  // Drops what has not begun and takes nothing more; waits for the task that is running, unless
  // called from inside it.
  void finish();

 private:
  struct State;
  std::shared_ptr<State> state_;
  bool running_ = false;
};

}  // namespace qxbus

#endif  // BUS_DBUS_WORKER_H
