// Addresses of services that listen at sockets of their own, without a bus daemon in between:
//
//   direct:              the directory of this user for them; service "vel" listens at "vel" there
//   direct:DIRECTORY/    the same in another directory
//   direct:PATH          one socket, which leads to one service, whatever its name

#ifndef BUS_DBUS_DIRECT_H
#define BUS_DBUS_DIRECT_H

#include <string>

#include "base/result.h"

namespace qxbus {

inline constexpr char kDirectAddress[] = "direct:";

bool isDirectAddress(const std::string& address);
// The path of the socket of a service.
std::string directSocket(const std::string& address, const std::string& service);
// Makes the directory of the sockets, which only this user can enter, unless the address names a
// socket.
//
// returns    a failure when the directory belongs to another user, or others can enter it; or when
//            it would have to be made in the directory of another user
base::Result<void> makeDirectDirectory(const std::string& address);

}  // namespace qxbus

#endif  // BUS_DBUS_DIRECT_H
