// The threads that run a client's handlers.
//
//   event thread        runs the listeners, one event after the other
//   completion thread   runs the completions of asynchronous calls
//   a thread per death  may sleep and call as long as it likes
//   death thread        starts any of these that the system could not start at once
//
// So no kind of handler waits for another, and the reading waits for none of them. The death thread
// is there from the beginning, the others when there is work for them.
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

  // A failure when the system had no thread left.
  const base::Result<void>& started() const { return starter_.started(); }

  void postEvent(std::function<void()> task) { events_.post(std::move(task)); }
  void postCompletion(std::function<void()> task) { completions_.post(std::move(task)); }
  // Runs the report of a death as soon as there is a thread for it.
  void runDeath(const std::function<void()>& report) { start(kDeathThread, report); }

 private:
  static constexpr char kDeathThread[] = "qxbus-death";

  // Runs the task on a thread of that name, as soon as the system has one.
  void start(const char* name, const std::function<void()>& task);

  Worker starter_;
  Worker events_;
  Worker completions_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_HANDLER_THREADS_H
