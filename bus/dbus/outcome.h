// The end of a call.

#ifndef BUS_DBUS_OUTCOME_H
#define BUS_DBUS_OUTCOME_H

#include <string>

#include "bus/dbus/dbus_ptr.h"

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
  static Outcome replied(MessagePtr reply, const std::string& destination);
  static Outcome noReply();
  static Outcome disconnected(std::string text);

  Kind kind;
  MessagePtr reply;  // with kReturn and kError, otherwise null
  std::string text;  // the reason, for people, with kNoReply and kDisconnected
};

}  // namespace qxbus

#endif  // BUS_DBUS_OUTCOME_H
