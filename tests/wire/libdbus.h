// libdbus as a second opinion of messages.

#ifndef TESTS_WIRE_LIBDBUS_H
#define TESTS_WIRE_LIBDBUS_H

#include <memory>
#include <string>
#include <string_view>

#include <dbus/dbus.h>

#include "bus/dbus/wire/message.h"

namespace wiretest {

struct Unref {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using DBusMessageRef = std::unique_ptr<DBusMessage, Unref>;

// Null when libdbus refuses the bytes, or too few are there.
DBusMessageRef parsedByLibdbus(std::string_view bytes);

// With serial 1 if it has none.
std::string bytesOf(DBusMessage* message);

// A message of the same header and body that libdbus has built value by value, in the byte order of
// this machine; null when there is a file descriptor among the values.
DBusMessageRef rebuiltByLibdbus(DBusMessage* message);

// The first difference between both readings of one message: header and arguments; else empty.
std::string difference(const qxbus::wire::Message& ours, DBusMessage* theirs);

}  // namespace wiretest

#endif  // TESTS_WIRE_LIBDBUS_H
