// The calls of both sides to the bus daemon itself.

#ifndef BUS_DBUS_BUS_DAEMON_H
#define BUS_DBUS_BUS_DAEMON_H

#include <optional>
#include <string>

#include "base/result.h"
#include "bus/dbus/connection.h"

namespace qxbus {

// The first call on a connection: the daemon delivers no message before it.
base::Result<void> signIn(Connection& connection, Clock::time_point deadline);

// The unique name of a well-known name's owner; empty when there is no owner, or no reply.
std::string ownerOf(Connection& connection, const std::string& busName, Clock::time_point deadline);

// The user that a peer runs as.
std::optional<dbus_uint32_t> userOf(Connection& connection, const std::string& uniqueName,
                                    Clock::time_point deadline);

base::Result<void> addMatch(Connection& connection, const std::string& rule,
                            Clock::time_point deadline);
// Does not wait for the reply.
void removeMatch(Connection& connection, const std::string& rule);

// Fails when the name is taken or refused.
base::Result<void> requestName(Connection& connection, const std::string& busName,
                               Clock::time_point deadline);
void releaseName(Connection& connection, const std::string& busName, Clock::time_point deadline);

}  // namespace qxbus

#endif  // BUS_DBUS_BUS_DAEMON_H
