// Between messages of libdbus and ours: through the bytes that go over a connection.

#ifndef TESTS_DBUS_LIBDBUS_MESSAGES_H
#define TESTS_DBUS_LIBDBUS_MESSAGES_H

#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "bus/dbus/transport/received.h"
#include "bus/dbus/value.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"
#include "tests/dbus/raw_peer.h"

namespace dbustest {

inline qxbus::Received receivedFrom(DBusMessage* message) {
  if (dbus_message_get_serial(message) == 0) {
    dbus_message_set_serial(message, 1);
  }
  char* bytes = nullptr;
  int length = 0;
  EXPECT_TRUE(dbus_message_marshal(message, &bytes, &length));
  const auto size = static_cast<std::size_t>(length);
  const std::shared_ptr<char[]> memory(new char[size]);
  std::memcpy(memory.get(), bytes, size);
  dbus_free(bytes);
  qxbus::Received received;
  received.memory = memory;
  EXPECT_EQ(qxbus::wire::readMessage({memory.get(), size}, &received.message),
            qxbus::wire::Fault::kNone);
  return received;
}

inline qxbus::Values readBody(DBusMessage* message) {
  return qxbus::wire::readValues(receivedFrom(message).message);
}

// A signal with these arguments. False when it would be too large.
inline bool writeSignal(qxbus::wire::MessageWriter* writer, const qxbus::Values& values) {
  qxbus::wire::Header header;
  header.type = qxbus::wire::MessageType::kSignal;
  header.path = "/qx/bus/vel";
  header.interface = "qx.bus.vel";
  header.member = "velevent";
  header.signature = "av";
  writer->start(header);
  qxbus::wire::appendValues(writer, values);
  return writer->finish(1) == qxbus::wire::Fault::kNone;
}

// The same as libdbus reads it.
inline DBusMessageRef signalWith(const qxbus::Values& values) {
  qxbus::wire::MessageWriter writer;
  EXPECT_TRUE(writeSignal(&writer, values));
  const std::string_view bytes = writer.bytes();
  DBusMessageRef message(
      dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
  EXPECT_TRUE(message);
  return message;
}

}  // namespace dbustest

#endif  // TESTS_DBUS_LIBDBUS_MESSAGES_H
