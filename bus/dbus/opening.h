// The first step of a connection, which libdbus can only take by waiting.

#ifndef BUS_DBUS_OPENING_H
#define BUS_DBUS_OPENING_H

#include <chrono>
#include <string>

#include <dbus/dbus.h>

#include "base/result.h"

namespace qxbus {

// A private connection that does not end the process with it, not yet signed in. The caller closes
// and unrefs it.
base::Result<DBusConnection*> openPrivate(const std::string& address,
                                          std::chrono::steady_clock::time_point deadline);

}  // namespace qxbus

#endif  // BUS_DBUS_OPENING_H
