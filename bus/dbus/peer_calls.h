// Calls that every D-Bus connection answers, and errors for those that it does not know.

#ifndef BUS_DBUS_PEER_CALLS_H
#define BUS_DBUS_PEER_CALLS_H

#include <string>
#include <string_view>

#include "bus/dbus/transport/connection.h"

namespace qxbus {

inline constexpr char kPeerInterface[] = "org.freedesktop.DBus.Peer";

inline constexpr char kUnknownObject[] = "org.freedesktop.DBus.Error.UnknownObject";
inline constexpr char kUnknownInterface[] = "org.freedesktop.DBus.Error.UnknownInterface";
inline constexpr char kUnknownMethod[] = "org.freedesktop.DBus.Error.UnknownMethod";
inline constexpr char kInvalidArguments[] = "org.freedesktop.DBus.Error.InvalidArgs";
inline constexpr char kLimitsExceeded[] = "org.freedesktop.DBus.Error.LimitsExceeded";

// Where a reply goes. Kept instead of the call, whose memory it would keep.
struct ReturnAddress {
  explicit ReturnAddress(const wire::Header& call)
      : sender(call.sender),
        serial(call.serial),
        isAwaited((call.flags & wire::kNoReplyExpected) == 0) {}

  std::string sender;
  std::uint32_t serial;
  bool isAwaited;
};

void sendText(Connection& connection, const ReturnAddress& to, std::string_view text);
// text: for people; what D-Bus cannot carry of it becomes question marks.
void sendError(Connection& connection, const ReturnAddress& to, const char* name,
               std::string_view text);

// Answers Ping and GetMachineId. False for any other call.
bool answerPeerCall(Connection& connection, const wire::Header& call);

// The same for a client, which has no object: every other call gets an error.
void answerClientCall(Connection& connection, const wire::Header& call);

}  // namespace qxbus

#endif  // BUS_DBUS_PEER_CALLS_H
