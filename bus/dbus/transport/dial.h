// From an address to a socket whose other end knows who we are.

#ifndef BUS_DBUS_TRANSPORT_DIAL_H
#define BUS_DBUS_TRANSPORT_DIAL_H

#include <string>

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

// Tries the places of a D-Bus address in their order.
//
// returns    a failure when none was reached by the deadline, however long the other end takes to
//            accept or to answer; the reason names each place
base::Result<Dialed> dial(const std::string& address, Clock::time_point deadline);

// The reason when the other end ends a connection that has asked for nothing yet.
base::Failed refusedByPeer(const std::string& detail);

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_DIAL_H
