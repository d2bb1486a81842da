// One D-Bus connection over a Unix socket: it sends messages, matches replies with their calls by
// serial, keeps the deadlines of calls, and hands every other message on.
//
// THREADS   Any thread may call any member. Handlers run on the thread that reads (see loop.h),
// with
//           no lock held: they must be quick, and must not call().

#ifndef BUS_DBUS_TRANSPORT_CONNECTION_H
#define BUS_DBUS_TRANSPORT_CONNECTION_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/result.h"
#include "base/unix_socket.h"
#include "bus/dbus/transport/dial.h"
#include "bus/dbus/transport/inbox.h"
#include "bus/dbus/transport/loop.h"
#include "bus/dbus/transport/outcome.h"
#include "bus/dbus/transport/received.h"
#include "bus/dbus/wire/message_writer.h"

namespace qxbus {

// A point in time that many milliseconds from now; negative is never.
Clock::time_point deadlineAfter(int milliseconds);

class Connection {
 public:
  enum class Interest {
    kNone,       // dropped
    kUnchecked,  // handed on before its body is checked, which is then up to the handler
    kChecked,    // handed on with a valid body; an invalid one ends the connection
  };

  struct Handlers {
    // Whether a message that is no reply is handed on. By its header: the body of one that is
    // dropped is not looked at, and not kept if it is large. Null stands for kChecked.
    std::function<Interest(const wire::Header&)> interestIn;
    // Such messages, as many as were read at once, in their order. Not empty.
    std::function<void(std::vector<Received>)> onMessages;
    // The connection is gone. Called once, after every waiting call has got its outcome.
    std::function<void()> onLost;
  };

  // Connects to one of the places of a D-Bus address and authenticates, with a loop of its own.
  //
  // attempts   as for dial()
  static base::Result<std::shared_ptr<Connection>> open(const std::string& address,
                                                        Handlers handlers,
                                                        Clock::time_point deadline,
                                                        DialAttempts* attempts = nullptr);

  // Goes on with a socket whose other end has authenticated, in a loop that others share.
  //
  // inbox      what was read behind the authentication
  static std::shared_ptr<Connection> adopt(std::shared_ptr<Loop> loop, base::Socket socket,
                                           Inbox inbox, Handlers handlers);

  // Closes the connection once what was sent has gone out; or when the other end has taken none of
  // it for two seconds, or not all of it in ten. Does not wait.
  ~Connection();

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isOpen() const;
  // Who the other end is.
  const base::Peer& peer() const { return peer_; }
  // The loop that reads it.
  const std::shared_ptr<Loop>& sharedLoop() const { return loop_; }

  // Sends a message that expects no reply. False when the connection is gone, or the message larger
  // than D-Bus allows.
  bool send(wire::MessageWriter* message);
  // Waits until what was sent has left the process. False when the connection is gone, or the other
  // end does not take it by the deadline.
  bool flush(Clock::time_point deadline);

  // A method call that one thread starts and awaits. Between the two it may start others.
  class Call {
   public:
    Call() = default;
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    friend class Connection;
    std::uint32_t serial_ = 0;
    Loop::Wait wait_;
    Outcome outcome_;
    bool isOver_ = true;  // not started, or awaited, or it could not be sent
  };

  // Sends a method call. await() or abandon() must follow, before the call is destroyed, unless
  // this ends in an exception.
  //
  // destination  as in the message
  void start(wire::MessageWriter* message, const std::string& destination, Call* call);
  // Waits for the reply.
  Outcome await(Call* call, Clock::time_point deadline);
  // In place of await(): the reply is of no interest any more. No effect on a call that is over.
  void abandon(Call* call);
  // Start and await.
  Outcome call(wire::MessageWriter* message, const std::string& destination,
               Clock::time_point deadline);

  // Sends a method call. done runs once: as a handler, or on this thread when sending fails.
  void call(wire::MessageWriter* message, const std::string& destination,
            Clock::time_point deadline, std::function<void(Outcome)> done);

 private:
  class Core;

  Connection(std::shared_ptr<Loop> loop, std::shared_ptr<Core> core, const base::Peer& peer);

  bool handedOver(Call* call);

  const std::shared_ptr<Loop> loop_;
  const std::shared_ptr<Core> core_;
  const base::Peer peer_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_CONNECTION_H
