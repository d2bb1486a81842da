// The calls that both sides make to the bus daemon itself.

#ifndef BUS_DBUS_BUS_DAEMON_H
#define BUS_DBUS_BUS_DAEMON_H

#include <optional>
#include <string>

#include "bus/dbus/connection.h"

namespace qxbus {

// Null when memory is short.
MessagePtr busCall(const char* method);

// The unique name behind a well-known one; empty when nobody has it, or there is no answer.
std::string ownerOf(Connection& connection, const std::string& busName, Clock::time_point deadline);

// The user that a connection belongs to.
std::optional<dbus_uint32_t> userOf(Connection& connection, const std::string& uniqueName,
                                    Clock::time_point deadline);

// False, with a reason, when the bus refuses the rule or does not answer.
bool addMatch(Connection& connection, const std::string& rule, Clock::time_point deadline,
              std::string* failure);
// Does not wait.
void removeMatch(Connection& connection, const std::string& rule);

// False, with a reason, when the name is taken or refused.
bool requestName(Connection& connection, const std::string& busName, Clock::time_point deadline,
                 std::string* failure);
void releaseName(Connection& connection, const std::string& busName, Clock::time_point deadline);

}  // namespace qxbus

#endif  // BUS_DBUS_BUS_DAEMON_H
