// Messages of libdbus, made by hand and sent nowhere.

#ifndef TESTS_DBUS_WIRE_MESSAGES_H
#define TESTS_DBUS_WIRE_MESSAGES_H

#include <gtest/gtest.h>

#include "tests/dbus/raw_peer.h"

namespace dbustest {

inline DBusMessageRef newMessage() {
  return DBusMessageRef(dbus_message_new_signal("/object", "some.interface", "member"));
}

inline DBusMessageRef messageWith(const Body& body) {
  DBusMessageRef message = newMessage();
  DBusMessageIter arguments;
  dbus_message_iter_init_append(message.get(), &arguments);
  body(&arguments);
  return message;
}

// As it would come from the other side: through the bytes that go over the bus.
inline DBusMessageRef received(const DBusMessageRef& message) {
  dbus_message_set_serial(message.get(), 1);
  char* bytes = nullptr;
  int length = 0;
  EXPECT_TRUE(dbus_message_marshal(message.get(), &bytes, &length));
  DBusMessageRef copy(dbus_message_demarshal(bytes, length, nullptr));
  dbus_free(bytes);
  EXPECT_TRUE(copy);
  return copy;
}

template <typename T>
void append(DBusMessageIter* arguments, int type, T value) {
  dbus_message_iter_append_basic(arguments, type, &value);
}

// Appends a container with the values that fill appends.
inline void in(DBusMessageIter* arguments, int type, const char* signature, const Body& fill) {
  DBusMessageIter inside;
  dbus_message_iter_open_container(arguments, type, signature, &inside);
  fill(&inside);
  dbus_message_iter_close_container(arguments, &inside);
}

}  // namespace dbustest

#endif  // TESTS_DBUS_WIRE_MESSAGES_H
