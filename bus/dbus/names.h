// How names of the bus become names of D-Bus.

#ifndef BUS_DBUS_NAMES_H
#define BUS_DBUS_NAMES_H

#include <string>

namespace qxbus {

inline constexpr char kBroadcastInterface[] = "qx.bus.Broadcast";
// Names of errors: a service's own, and those that stand in place of a reply.
inline constexpr char kFailedError[] = "qx.bus.Error.Failed";
inline constexpr char kNoReplyError[] = "qx.bus.Error.NoReply";
inline constexpr char kDisconnectedError[] = "qx.bus.Error.Disconnected";

// Service "vel" has the well-known name qx.bus.vel, the object /qx/bus/vel and the interface
// qx.bus.vel.
std::string busNameOf(const std::string& service);
std::string objectPathOf(const std::string& service);
inline std::string interfaceOf(const std::string& service) {
  return busNameOf(service);
}

// Whether D-Bus allows a service, or a method or event, of this name. A bus ends the connection of
// a client that sends another one.
bool isServiceName(const std::string& service);
bool isMemberName(const std::string& member);

// See busAddressInUse().
std::string busAddress();

}  // namespace qxbus

#endif  // BUS_DBUS_NAMES_H
