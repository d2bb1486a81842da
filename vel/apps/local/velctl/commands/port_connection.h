// The client's end of a pen port: a Unix stream socket.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMANDS_PORT_CONNECTION_H
#define VEL_APPS_LOCAL_VELCTL_COMMANDS_PORT_CONNECTION_H

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "base/self_pipe.h"
#include "base/unix_socket.h"
#include "pen/pen_frame.h"
#include "vel/apps/local/velctl/run/session.h"

namespace velctl {

// THREADS   The main thread.
// BLOCKING  connect(), waitFor() and flush() wait, until the session stops at the latest.
// ERRORS    They throw Failure, with the path in its text, when the port cannot be reached or is
//           closed, Interrupted and TimeOver.
class PortConnection {
 public:
  using Clock = std::chrono::steady_clock;
  using Message = std::array<unsigned char, penframe::kMessageSize>;

  // limit is the time that the port may take to accept a connection, or bytes. onMessage is called
  // inside waitFor().
  PortConnection(Session& session, std::string path, std::chrono::milliseconds limit,
                 std::function<void(Message& message)> onMessage);

  // Waits until the port accepts the connection.
  void connect(Progress& progress);

  // Waits until the condition is true or the deadline has passed; returns whether it is true.
  // Messages that arrive meanwhile go to onMessage.
  bool waitFor(const std::function<bool()>& condition, Progress& progress,
               Clock::time_point deadline);

  // Keeps bytes to be sent.
  void add(const unsigned char* bytes, std::size_t length);
  // Waits until all of them are sent.
  void flush(Progress& progress);
  // Sends as many as the port takes without a wait; false when some are left. Throws nothing.
  bool flushNow() noexcept;

 private:
  void receive();
  bool sendSome();
  // Waits until the socket is ready for one of the events, the deadline has passed, or the progress
  // line changes.
  void poll(short events, Progress& progress, Clock::time_point deadline) const;
  std::string shownPath() const;
  [[noreturn]] void failClosed() const;

  Session& session_;
  const std::string path_;
  const std::chrono::milliseconds limit_;
  const std::function<void(Message& message)> onMessage_;
  base::Socket socket_;
  base::SelfPipe stop_;
  const Session::StopListener listener_;
  std::vector<unsigned char> unsent_;
  Message message_ = {};
  std::size_t received_ = 0;  // of the message
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMANDS_PORT_CONNECTION_H
