// D-Bus addresses: "unix:path=/run/user/1000/bus,guid=...;unix:abstract=/tmp/bus".
//
// A list names several sockets, and a client tries one after the other. Supported are Unix sockets
// by path, by abstract name and in the user's runtime directory, and the socket that a variable of
// launchd names. Every other transport is refused by name.

#ifndef BUS_DBUS_WIRE_ADDRESS_H
#define BUS_DBUS_WIRE_ADDRESS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

#include "base/result.h"

namespace qxbus::wire {

struct SocketAddress {
  std::string text;         // as in the list, for people
  std::string guid;         // of the server; empty when the address has none
  sockaddr_un socket = {};  // the argument of connect()
  socklen_t size = 0;       // of the socket's name, for connect()
};

struct SocketAddresses {
  std::vector<SocketAddress> usable;  // in the order of the list; never empty
  std::vector<std::string> refused;   // the other addresses, each with the reason, for people
};

// The parts of the system that an address may refer to.
struct System {
  const char* (*environment)(const char* name);  // null when the variable is not set
  bool hasAbstractSockets;
  // Asks launchd for a variable; null on a system without launchd.
  std::optional<std::string> (*launchdVariable)(const std::string& name);

  static System current();
};

// returns    a failure when the list is malformed, with the position and the reason, or when none
//            of its addresses is usable, with the reason of each
base::Result<SocketAddresses> parseAddresses(std::string_view list,
                                             const System& system = System::current());

// The socket of a path. Systems limit its length to about a hundred bytes.
base::Result<SocketAddress> socketAddressOf(std::string_view path);

// The value of a key, with "%20" for a blank and the like.
std::string escaped(std::string_view value);

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_ADDRESS_H
