// The end of a call.

#ifndef BUS_DBUS_TRANSPORT_OUTCOME_H
#define BUS_DBUS_TRANSPORT_OUTCOME_H

#include <string>
#include <string_view>

#include "bus/dbus/transport/received.h"

namespace qxbus {

struct Outcome {
  enum class Kind {
    kReturn,        // the peer's normal reply
    kError,         // an error reply, of the peer or of the bus daemon
    kNoReply,       // no reply in time
    kDisconnected,  // the request could not be sent, or the connection or the peer was lost
  };

  // Sorts the reply to a call that went to destination, a name on the bus.
  //
  // The bus daemon replies in place of a peer that has left the bus, with one of four errors:
  // ServiceUnknown and NameHasNoOwner when the call did not reach the peer, NoReply and
  // Disconnected when it did. From the daemon these are kDisconnected; from the peer itself they
  // are kError, and so is every other error of the daemon, AccessDenied for instance.
  static Outcome replied(Received reply, std::string_view destination);
  // Whether a reply comes from the callee, or from the daemon in its place.
  static bool isFrom(const wire::Header& reply, std::string_view destination);
  static Outcome noReply();
  static Outcome disconnected(std::string text);

  Kind kind = Kind::kDisconnected;
  Received reply;    // with kReturn and kError
  std::string text;  // the reason, for people, with kNoReply and kDisconnected
};

// The text of an error reply; its name when it has none.
std::string errorText(const Received& reply);

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_OUTCOME_H
