// The threads that run a client's handlers.
//
//   event thread        runs the listeners, one event after the other
//   completion thread   runs the completions of asynchronous calls
//   a thread per death  may sleep and call as long as it likes
//   death thread        starts a death's thread that the system could not start at once
//
// So no kind of handler waits for another, and the reading waits for none of them. Memory is the
// only bound on the tasks that wait.
//
// THREADS   Any thread may call any member.

#ifndef BUS_DBUS_HANDLER_THREADS_H
#define BUS_DBUS_HANDLER_THREADS_H

#include <functional>

#include "base/result.h"
#include "bus/dbus/worker.h"

namespace qxbus {

class HandlerThreads {
 public:
  // See started().
  HandlerThreads();

  // A failure when the system had too few threads left.
  base::Result<void> started() const;

  void postEvent(std::function<void()> task) { events_.post(std::move(task)); }
  void postCompletion(std::function<void()> task) { completions_.post(std::move(task)); }
  // Runs the report of a death as soon as there is a thread for it.
  void runDeath(const std::function<void()>& report);

 private:
  Worker events_;
  Worker completions_;
  Worker deaths_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_HANDLER_THREADS_H
