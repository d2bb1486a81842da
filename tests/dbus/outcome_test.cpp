// Which end a reply is to a call: the peer's answer, or the bus daemon's in its place.

#include "bus/dbus/transport/outcome.h"

#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/dbus/libdbus_messages.h"

namespace {

using qxbus::Outcome;
using Kind = Outcome::Kind;

constexpr char kDaemon[] = DBUS_SERVICE_DBUS;
constexpr char kPeer[] = ":1.7";

dbustest::DBusMessageRef reply(int type, const char* sender) {
  dbustest::DBusMessageRef message(dbus_message_new(type));
  dbus_message_set_reply_serial(message.get(), 1);
  dbus_message_set_sender(message.get(), sender);
  return message;
}

struct ErrorRow {
  const char* name;
  const char* error;
  const char* sender;
  const char* destination;
  Kind kind;
};

void PrintTo(const ErrorRow& row, std::ostream* stream) {
  *stream << row.error << " of " << row.sender;
}

class ErrorReply : public testing::TestWithParam<ErrorRow> {};

TEST_P(ErrorReply, IsThePeersUnlessTheDaemonReportsThatThePeerHasLeft) {
  const ErrorRow& row = GetParam();
  const dbustest::DBusMessageRef error = reply(DBUS_MESSAGE_TYPE_ERROR, row.sender);
  dbus_message_set_error_name(error.get(), row.error);

  const Outcome outcome = Outcome::replied(dbustest::receivedFrom(error.get()), row.destination);

  EXPECT_EQ(outcome.kind, row.kind);
  EXPECT_EQ(outcome.reply.memory != nullptr, row.kind == Kind::kError);
  EXPECT_EQ(outcome.text, row.kind == Kind::kError ? "" : row.error);
}

INSTANTIATE_TEST_SUITE_P(
    Called, ErrorReply,
    testing::Values(
        ErrorRow{"ServiceUnknownByTheDaemon", DBUS_ERROR_SERVICE_UNKNOWN, kDaemon, kPeer,
                 Kind::kDisconnected},
        ErrorRow{"NameHasNoOwnerByTheDaemon", DBUS_ERROR_NAME_HAS_NO_OWNER, kDaemon, kPeer,
                 Kind::kDisconnected},
        ErrorRow{"NoReplyByTheDaemon", DBUS_ERROR_NO_REPLY, kDaemon, kPeer, Kind::kDisconnected},
        ErrorRow{"DisconnectedByTheDaemon", DBUS_ERROR_DISCONNECTED, kDaemon, kPeer,
                 Kind::kDisconnected},
        ErrorRow{"AccessDeniedByTheDaemon", DBUS_ERROR_ACCESS_DENIED, kDaemon, kPeer, Kind::kError},
        ErrorRow{"LimitsExceededByTheDaemon", DBUS_ERROR_LIMITS_EXCEEDED, kDaemon, kPeer,
                 Kind::kError},
        ErrorRow{"NoReplyByThePeer", DBUS_ERROR_NO_REPLY, kPeer, kPeer, Kind::kError},
        ErrorRow{"ServiceUnknownByThePeer", DBUS_ERROR_SERVICE_UNKNOWN, kPeer, kPeer, Kind::kError},
        ErrorRow{"NameHasNoOwnerByTheDaemonAsThePeer", DBUS_ERROR_NAME_HAS_NO_OWNER, kDaemon,
                 kDaemon, Kind::kError}),
    [](const auto& each) { return each.param.name; });

TEST(TextOfAnError, MayBeBytes) {
  const dbustest::DBusMessageRef error = reply(DBUS_MESSAGE_TYPE_ERROR, kPeer);
  dbus_message_set_error_name(error.get(), DBUS_ERROR_FAILED);
  const char bytes[] = {'n', 'o', '\xff'};
  const char* const first = bytes;
  ASSERT_TRUE(dbus_message_append_args(error.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &first, 3,
                                       DBUS_TYPE_INVALID));

  EXPECT_EQ(qxbus::errorText(dbustest::receivedFrom(error.get())), "no\xff");
}

TEST(NormalReply, IsTheReply) {
  const Outcome outcome = Outcome::replied(
      dbustest::receivedFrom(reply(DBUS_MESSAGE_TYPE_METHOD_RETURN, kPeer).get()), kPeer);

  EXPECT_EQ(outcome.kind, Kind::kReturn);
  EXPECT_TRUE(outcome.reply.memory);
  EXPECT_EQ(outcome.text, "");
}

}  // namespace
