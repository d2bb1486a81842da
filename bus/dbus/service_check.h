// The way from this process to a service, link by link, and who runs the service: for a person who
// wants to know why there is no connection. Programs may include this header; it needs nothing else
// of the bus layer.

#ifndef BUS_DBUS_SERVICE_CHECK_H
#define BUS_DBUS_SERVICE_CHECK_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace qxbus {

// Where the address of the bus comes from, in the order in which the places are asked.
struct BusAddress {
  enum class Source {
    kGiven,            // by the caller
    kOwnVariable,      // QXBUS_ADDRESS
    kSessionVariable,  // DBUS_SESSION_BUS_ADDRESS
    kSessionSocket,    // a session bus that listens at its usual place
    kDefault,          // none of them: "direct:"
  };
  std::string text;
  Source source = Source::kDefault;
};

// The address that every connection of this process without another one uses.
BusAddress busAddressInUse();

// The links of the way, in their order. Each needs those before it.
enum class BusLink {
  kAddress,         // the address is well formed and names a socket that this system can have
  kSocket,          // there is a socket
  kPermission,      // this user may connect to it
  kConnection,      // a program listens there and accepts
  kAuthentication,  // it lets this user in and answers
  kService,         // the service is there
  kServiceUser,     // it runs as this user or as root
};

// A directory or a socket, symbolic links followed.
struct FileFacts {
  std::string path;
  uid_t user = 0;
  gid_t group = 0;
  mode_t mode = 0;  // permission bits
};

// One place of the address.
struct CheckedSocket {
  std::string place;  // as in the address; empty for one that names no socket
  std::string path;   // of the socket; empty for one without a file
  // The link that is broken; nullopt: none of those up to kAuthentication.
  std::optional<BusLink> broken;
  std::string reason;
  // The socket; for kPermission the first file on the way to it that keeps this user out. nullopt:
  // there is no such file, or this user cannot see it.
  std::optional<FileFacts> file;
};

struct ServiceCheck {
  BusAddress address;
  bool isDirect = false;  // the address leads to the service itself, without a bus in between
  // In the order in which they were tried. The last one is in use when a connection was made. Empty
  // when the address is malformed, or names no socket.
  std::vector<CheckedSocket> sockets;

  // The first link that is broken, of several places the one that led furthest; nullopt: none.
  std::optional<BusLink> broken;
  std::string
      reason;  // for people; busFailure() gives the same one for links up to kAuthentication

  // Of the service; nullopt: there is none, or the system does not say it.
  std::optional<uid_t> user;
  std::optional<pid_t> process;
};

// Connects as the library does, asks who runs the service, and leaves.
//
// service    "vel" is qx.bus.vel on the bus
// address    empty stands for busAddressInUse()
// limit      of all of it together; a bus that takes longer breaks kConnection, kAuthentication or
//            kService
//
// THREADS   Any thread may call.
ServiceCheck checkService(const std::string& service, const std::string& address,
                          std::chrono::milliseconds limit);

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_CHECK_H
