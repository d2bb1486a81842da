#include "bus/dbus/outcome.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "bus/dbus/wire.h"

namespace qxbus {
namespace {

// The bus daemon's errors in place of a peer that has left.
constexpr const char* kPeerLeft[] = {DBUS_ERROR_SERVICE_UNKNOWN, DBUS_ERROR_NAME_HAS_NO_OWNER,
                                     DBUS_ERROR_NO_REPLY, DBUS_ERROR_DISCONNECTED};

bool saysThatPeerLeft(DBusMessage* reply, const std::string& destination) {
  return destination != DBUS_SERVICE_DBUS && dbus_message_has_sender(reply, DBUS_SERVICE_DBUS) &&
         std::any_of(std::begin(kPeerLeft), std::end(kPeerLeft),
                     [reply](const char* name) { return dbus_message_is_error(reply, name); });
}

}  // namespace

Outcome Outcome::replied(MessagePtr reply, const std::string& destination) {
  if (saysThatPeerLeft(reply.get(), destination)) {
    return disconnected(errorText(reply.get()));
  }
  const bool isError = dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_ERROR;
  return {isError ? Kind::kError : Kind::kReturn, std::move(reply), ""};
}

Outcome Outcome::noReply() {
  return {Kind::kNoReply, nullptr, "no reply in time"};
}

Outcome Outcome::disconnected(std::string text) {
  return {Kind::kDisconnected, nullptr, std::move(text)};
}

}  // namespace qxbus
