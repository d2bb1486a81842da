// One private D-Bus connection with a thread of its own that reads.
//
// libdbus builds, parses, authenticates and moves bytes. It never waits and never dispatches here:
// two callers inside its blocking call starve each other, and a thread inside its dispatch loop
// blocks every caller. Instead the I/O thread polls outside any lock, and each caller writes its
// own request and waits for the reply until its own deadline.
//
// THREADS   Any thread may call any member. The handlers run on the I/O thread: they must be quick
//           and must not wait for a reply.

#ifndef BUS_DBUS_CONNECTION_H
#define BUS_DBUS_CONNECTION_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "base/result.h"
#include "bus/dbus/dbus_ptr.h"
#include "bus/dbus/outcome.h"

namespace qxbus {

using Clock = std::chrono::steady_clock;

// The time so many milliseconds from now; a negative number stands for no deadline.
Clock::time_point deadlineAfter(int milliseconds);

class Connection {
 public:
  struct Handlers {
    // A signal or a method call has arrived.
    std::function<void(MessagePtr)> onMessage;
    // The connection is lost. Called once, after every waiting call has its outcome.
    std::function<void()> onLost;
  };

  // Connects to a D-Bus address. Fails at the deadline, however long the other end takes to accept.
  static base::Result<std::shared_ptr<Connection>> open(const std::string& address,
                                                        Handlers handlers,
                                                        Clock::time_point deadline);

  // Closes the connection when all messages have been written, after a second at the latest. Does
  // not wait for the I/O thread.
  ~Connection();

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isOpen() const;

  // False when the connection is lost.
  bool send(DBusMessage* message);

  // Sends a method call and waits for its reply. Never call it on the I/O thread.
  Outcome call(DBusMessage* message, Clock::time_point deadline);

  // Sends a method call. done runs once: on the I/O thread, or on this one when sending fails.
  void call(DBusMessage* message, Clock::time_point deadline, std::function<void(Outcome)> done);

 private:
  class Core;

  explicit Connection(std::shared_ptr<Core> core);

  std::shared_ptr<Core> core_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_CONNECTION_H
