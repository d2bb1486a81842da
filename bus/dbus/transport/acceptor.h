// Listens at a Unix socket and authenticates the clients that come.

#ifndef BUS_DBUS_TRANSPORT_ACCEPTOR_H
#define BUS_DBUS_TRANSPORT_ACCEPTOR_H

#include <functional>
#include <memory>
#include <string>

#include "base/result.h"
#include "base/unix_socket.h"
#include "bus/dbus/transport/inbox.h"
#include "bus/dbus/transport/loop.h"

namespace qxbus {

// Only clients of this user and of root are admitted; the system says who they are. Clients that do
// not authenticate in time are closed. When another client comes while kMostHandshakes are at it,
// the oldest is closed, of those first that have not shown who they are. When the system has no
// descriptor left, clients wait until it has: it is asked every kRest.
//
// THREADS   Works on the thread that reads the loop.
class Acceptor {
 public:
  static constexpr std::chrono::seconds kHandshakeTime{10};
  static constexpr std::size_t kMostHandshakes = 64;
  static constexpr std::chrono::milliseconds kRest{100};

  // Called with an authenticated client, and what was read behind the authentication.
  using OnClient = std::function<void(base::Socket socket, Inbox inbox)>;

  // Replaces a socket without a listener. Fails when a program listens there, or the
  // path cannot be used.
  static base::Result<std::unique_ptr<Acceptor>> listen(
      std::shared_ptr<Loop> loop, const std::string& path, OnClient onClient,
      Clock::duration handshakeTime = kHandshakeTime);
  // Removes the socket. A client may still be handed over by a call that is running.
  ~Acceptor();

  Acceptor(const Acceptor&) = delete;
  Acceptor& operator=(const Acceptor&) = delete;

 private:
  class Core;
  class Handshake;

  explicit Acceptor(std::shared_ptr<Core> core) : core_(std::move(core)) {}

  const std::shared_ptr<Core> core_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_ACCEPTOR_H
