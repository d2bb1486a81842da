// A thread that runs what is posted to it, one after the other, in order.

#ifndef BUS_DBUS_WORKER_H
#define BUS_DBUS_WORKER_H

#include <functional>
#include <memory>

namespace qxbus {

class Worker {
 public:
  Worker();
  // What is posted and not yet begun is dropped. Does not wait for a task that is running, so it
  // may be called from inside one.
  ~Worker();

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  void post(std::function<void()> task);

  // Drops what has not begun and takes nothing more; waits for the task that is running, unless
  // called from inside it.
  void finish();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_WORKER_H
