// One call of a method that takes and gives plain D-Bus arguments, at any object of a service: how
// a program reaches an object beside that of the service's own protocol (PlainObject).
//
// THREADS   Any thread may call.

#ifndef BUS_DBUS_PLAIN_CALL_H
#define BUS_DBUS_PLAIN_CALL_H

#include <chrono>
#include <string>

#include "bus/dbus/value.h"

namespace qxbus {

struct PlainCall {
  std::string service;  // "vel" is qx.bus.vel on the bus
  std::string path;
  std::string interface;
  std::string method;
  std::string signature;  // of the arguments; numbers, texts and byte arrays
  Values arguments;
};

struct PlainReply {
  enum class Kind {
    kReturn,
    kError,      // the service has refused the call; text: its words
    kNoService,  // no bus, no service on it, or one of another user; text: which
    kNoReply,    // not in time, or the service has ended meanwhile
  };
  Kind kind = Kind::kNoService;
  Values values;
  std::string text;
};

// Connects, calls, waits for the reply, and leaves the bus. A service of a user other than this one
// and root counts as absent.
//
// address    a D-Bus address or a direct one; empty stands for QXBUS_ADDRESS, else the session bus
// time       of waiting for the reply; connecting takes at most two seconds more
PlainReply callPlain(const std::string& address, const PlainCall& call,
                     std::chrono::milliseconds time);

}  // namespace qxbus

#endif  // BUS_DBUS_PLAIN_CALL_H
