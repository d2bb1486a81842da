// The session bus of the user, where no variable of this process names one.

#ifndef BUS_DBUS_SESSION_BUS_H
#define BUS_DBUS_SESSION_BUS_H

#include <string>

#include "bus/dbus/wire/address.h"

namespace qxbus {

// The address of the socket at the usual place: that of launchd on macOS, $XDG_RUNTIME_DIR/bus
// elsewhere. Empty without one. Nothing here starts a bus; launchd may start its own when a client
// connects.
std::string sessionBus(const wire::System& system = wire::System::current());

}  // namespace qxbus

#endif  // BUS_DBUS_SESSION_BUS_H
