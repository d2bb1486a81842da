// Why this process has no connection to the bus. Programs may include this header; it needs nothing
// else of the bus layer.

#ifndef BUS_DBUS_BUS_FAILURE_H
#define BUS_DBUS_BUS_FAILURE_H

#include <string>

namespace qxbus {

// The reason of this process's last attempt to connect to the bus, for people: the address and the
// system's reason. Empty when the last attempt succeeded, or there was none.
//
// THREADS   Any thread may call.
std::string busFailure();

// Whether services listen at sockets of their own. Then there is no bus that could be missing, and
// busFailure() is the reason why a service is.
bool isBusDirect();

}  // namespace qxbus

#endif  // BUS_DBUS_BUS_FAILURE_H
