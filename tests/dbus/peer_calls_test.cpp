// What every connection answers, whether or not it has a service.

#include <cerrno>
#include <string>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "base/unix_socket.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr char kStandardCalls[] = "org.freedesktop.DBus.Peer";

class CallOfAClient : public DBusTest {
 protected:
  DBusMessageRef callClient(const std::string& interface, const std::string& method) {
    return stranger_.call(client_, "/", interface, method);
  }

 private:
  TestService service_{
      "vel", {{"whoAmI", [](qxbus::Request request) { request.reply({request.sender()}); }}}};
  std::string client_ = call(*proxyOf(), "whoAmI")->getString(0);
  RawPeer stranger_{bus().address()};
};

TEST_F(CallOfAClient, ThatPingsIsAnswered) {
  EXPECT_EQ(errorNameOf(callClient(kStandardCalls, "Ping")), "");
}

TEST_F(CallOfAClient, ThatAsksForTheMachineGetsItsId) {
  const DBusMessageRef reply = callClient(kStandardCalls, "GetMachineId");

  // A machine without an id is an error with a text.
  EXPECT_THAT(firstText(reply),
              errorNameOf(reply).empty() ? MatchesRegex("[0-9a-f]{32}") : MatchesRegex(".*no id"));
}

TEST_F(CallOfAClient, OfAnUnknownStandardMethodFailsWithAReason) {
  EXPECT_EQ(errorNameOf(callClient(kStandardCalls, "Pong")), DBUS_ERROR_UNKNOWN_OBJECT);
}

TEST_F(CallOfAClient, ThatAsksForAnythingElseFailsWithAReason) {
  const DBusMessageRef reply = callClient(kVelName, "echo");

  EXPECT_EQ(errorNameOf(reply), DBUS_ERROR_UNKNOWN_OBJECT);
  EXPECT_THAT(firstText(reply), HasSubstr("no objects"));
}

// --- Calls that expect no reply ------------------------------------------------------------------

class SilentCall : public HostileTest {};

TEST_F(SilentCall, IsNotAnswered) {
  const qxbus::ServiceHost host(address(), "vel", {});
  const base::Socket client = base::newSocket();
  ASSERT_EQ(base::connectTo(client, socket()), 0);
  std::string bytes = authenticated();
  qxbus::wire::Header silent;
  silent.type = qxbus::wire::MessageType::kMethodCall;
  silent.flags = qxbus::wire::kNoReplyExpected;
  silent.path = kVelPath;
  for (const auto& [interface, method] :
       {std::pair(kStandardCalls, "Ping"), std::pair(kStandardCalls, "GetMachineId"),
        std::pair("org.freedesktop.DBus.Introspectable", "Introspect"),
        std::pair(kVelName, "unknown")}) {
    silent.interface = interface;
    silent.member = method;
    bytes += serialized(silent);
  }
  qxbus::wire::Header ping =
      headerOf(qxbus::wire::MessageType::kMethodCall, kStandardCalls, "Ping");
  const std::string asked = serialized(ping, {std::string("which one")});
  constexpr std::size_t kSerialAt = 8;
  bytes += std::string(asked).replace(kSerialAt, 1, 1, 7);
  ASSERT_TRUE(sendAll(client.number(), bytes));

  // Whatever was answered before would come first.
  std::string answers;
  qxbus::wire::Message reply;
  const auto beginsWithAMessage = [&] {
    const std::size_t lineEnd = answers.find("\r\n");
    return lineEnd != std::string::npos && answers.size() > lineEnd + 2 &&
           qxbus::wire::readMessage(std::string_view(answers).substr(lineEnd + 2), &reply) ==
               qxbus::wire::Fault::kNone;
  };
  char more[1000];
  while (!beginsWithAMessage()) {
    const ssize_t count = ::recv(client.number(), more, sizeof more, 0);
    if (count < 0 && errno == EAGAIN) {
      pollfd waiting = {client.number(), POLLIN, 0};
      ASSERT_EQ(::poll(&waiting, 1, static_cast<int>(kLongestWait.count())), 1);
      continue;
    }
    ASSERT_GT(count, 0);
    answers.append(more, static_cast<std::size_t>(count));
  }
  EXPECT_EQ(reply.header.replySerial, 7u);
}

}  // namespace
