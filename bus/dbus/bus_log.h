// The log of the bus layer.

#ifndef BUS_DBUS_BUS_LOG_H
#define BUS_DBUS_BUS_LOG_H

#include <string>

namespace qxbus {

void logError(const std::string& text);

}  // namespace qxbus

#endif  // BUS_DBUS_BUS_LOG_H
