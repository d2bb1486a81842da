// A thread that runs the tasks that are posted to it, one after the other, in order.
//
// THREADS   Any thread may call any member; a task may destroy its worker.

#ifndef BUS_DBUS_WORKER_H
#define BUS_DBUS_WORKER_H

#include <functional>
#include <memory>

#include "base/result.h"

namespace qxbus {

// Runs a task on a thread of that name, which is not joined.
base::Result<void> startDetached(const char* name, std::function<void()> task);

class Worker {
 public:
  // Starts the thread of that name now. See started().
  explicit Worker(const char* name);
  // Lets start run the thread's function on a thread, now or later, when the first task is posted.
  using Start = std::function<void(const std::function<void()>& run)>;
  explicit Worker(Start start);
  // Drops the tasks that have not begun. Does not wait for a task that is running.
  ~Worker();

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // A failure when the system had no thread left: no task will run.
  const base::Result<void>& started() const { return started_; }

  // Waits while there is no memory for it: no task is lost.
  void post(std::function<void()> task);

 private:
  class Queue;
  std::shared_ptr<Queue> queue_;
  base::Result<void> started_;
  const Start start_;                // null when the thread runs from the beginning
  const std::function<void()> run_;  // what it starts
};

}  // namespace qxbus

#endif  // BUS_DBUS_WORKER_H
