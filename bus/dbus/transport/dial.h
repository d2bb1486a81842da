// From an address to a socket whose other end knows who we are.

#ifndef BUS_DBUS_TRANSPORT_DIAL_H
#define BUS_DBUS_TRANSPORT_DIAL_H

#include <string>
#include <vector>

#include "base/result.h"
#include "base/unix_socket.h"
#include "bus/dbus/transport/inbox.h"
#include "bus/dbus/transport/loop.h"

namespace qxbus {

struct Dialed {
  base::Socket socket;
  Inbox inbox;            // what came behind the authentication
  std::string lastWords;  // of the authentication, yet to be sent: they go with the first message
};

// How far the way to one place of an address led.
struct DialAttempt {
  enum class Step {
    kAddress,         // it names no socket that this system can have
    kConnection,      // no connection was made
    kAuthentication,  // the other end has not let this user in
    kDone,
  };
  std::string place;  // as in the address
  std::string path;   // of the socket; empty when it has none, which is an abstract one
  Step step = Step::kAddress;
  int error = 0;       // of a connection that the system refused: errno
  std::string reason;  // empty for kDone
};
using DialAttempts = std::vector<DialAttempt>;

// Tries the places of a D-Bus address in their order.
//
// attempts   unless null, takes what was tried; nothing when the address is malformed
// returns    a failure when none was reached by the deadline, however long the other end takes to
//            accept or to answer; the reason names each place
base::Result<Dialed> dial(const std::string& address, Clock::time_point deadline,
                          DialAttempts* attempts = nullptr);

// The reason when the other end ends a connection that has asked for nothing yet.
base::Failed refusedByPeer(const std::string& detail);

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_DIAL_H
