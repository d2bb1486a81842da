// The thread of a service: it reads requests and runs their handlers.
//
// Reading and handling on one thread saves a hop for each request. While a handler runs for long,
// the loop's own thread reads, so requests that need no handler are answered all the same.

#ifndef BUS_DBUS_SERVING_THREAD_H
#define BUS_DBUS_SERVING_THREAD_H

#include <functional>
#include <memory>

#include "base/result.h"
#include "bus/dbus/transport/loop.h"

namespace qxbus {

// THREADS   Any thread may call any member.
class ServingThread {
 public:
  static base::Result<std::unique_ptr<ServingThread>> start(std::shared_ptr<Loop> loop);
  // As finish(), without waiting.
  ~ServingThread();

  ServingThread(const ServingThread&) = delete;
  ServingThread& operator=(const ServingThread&) = delete;

  // Runs tasks one after the other, in order.
  void post(std::function<void()> task);

  // Drops tasks that have not begun and takes no more; waits for the task that is running, unless
  // called from inside it.
  void finish();

 private:
  struct State;
  explicit ServingThread(std::shared_ptr<State> state) : state_(std::move(state)) {}

  const std::shared_ptr<State> state_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVING_THREAD_H
