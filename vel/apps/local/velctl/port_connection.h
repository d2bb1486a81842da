// The client's end of a port that stands at a Unix stream socket.

#ifndef VEL_APPS_LOCAL_VELCTL_PORT_CONNECTION_H
#define VEL_APPS_LOCAL_VELCTL_PORT_CONNECTION_H

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "pen/pen_frame.h"
#include "pen/port_socket.h"

namespace velctl {

// What a wait ends with when the user has had enough.
class Interrupted {};

// THREADS   One, except for interrupt().
// BLOCKING  What waits says so; an interruption ends it.
// ERRORS    What waits throws Failure, with the path in its text, when the port cannot be reached
//           or has been closed, and Interrupted.
class PortConnection {
 public:
  using Clock = std::chrono::steady_clock;
  using Message = std::array<unsigned char, penframe::kMessageSize>;

  // patience is how long the port may take for something it should do at once. onMessage is called
  // inside waitFor().
  PortConnection(std::string path, std::chrono::seconds patience,
                 std::function<void(Message& message)> onMessage);

  // Waits until the port has room for us.
  void connect();

  // Waits until the condition is true or the time has come, and tells which. What arrives
  // meanwhile goes to onMessage.
  bool waitFor(const std::function<bool()>& condition, Clock::time_point end);

  // Keeps bytes to be sent.
  void add(const unsigned char* bytes, std::size_t length);
  // Waits until all of them are sent.
  void flush();
  // Sends what the port takes at once; false when something is left. Throws nothing.
  bool flushNow() noexcept;

  // From any thread. Waits that begin later end at once, too.
  void interrupt() const noexcept;

 private:
  void receive();
  bool sendSome();
  // Until the socket is ready for one of the events, the time has come, or a signal did.
  void poll(short events, Clock::time_point end) const;
  [[noreturn]] void failClosed() const;

  const std::string path_;
  const std::chrono::seconds patience_;
  const std::function<void(Message& message)> onMessage_;
  penport::Socket socket_;
  penport::Socket stopReader_;  // a pipe: interrupted when something can be read here
  penport::Socket stopWriter_;
  std::vector<unsigned char> unsent_;
  Message message_ = {};
  std::size_t received_ = 0;  // of the message
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_PORT_CONNECTION_H
