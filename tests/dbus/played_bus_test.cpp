// A bus, and a service without one, that are played by the test: what a real daemon answers at
// other times, or not at all.

#include <unistd.h>

#include "bus/dbus/link.h"
#include "bus/dbus/service_client.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"

namespace {

using namespace dbustest;
using qxbus::wire::Header;
using qxbus::wire::MessageType;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;

constexpr char kStranger[] = ":1.7";

std::string ofTheBus(Header reply, std::string_view signature, const qxbus::Values& values) {
  reply.sender = qxbus::kDaemonName;
  reply.signature = signature;
  return serialized(reply, values);
}

std::string refusal(const Header& call, const std::string& reason) {
  return ofTheBus(qxbus::wire::errorOf(call, "org.freedesktop.DBus.Error.Failed"), "s", {reason});
}

// What a bus answers to a client that signs in, asks for events, or takes a name.
std::string usualAnswer(const Header& call) {
  const Header reply = qxbus::wire::returnOf(call);
  if (call.type != MessageType::kMethodCall) {
    return "";
  }
  if (call.member == "Hello") {
    return ofTheBus(reply, "s", {std::string(":1.1")});
  }
  if (call.member == "RequestName") {
    return ofTheBus(reply, "u", {std::uint32_t{1}});
  }
  return ofTheBus(reply, "", {});
}

std::string ofTheStranger(MessageType type, std::string_view interface, std::string_view member,
                          const qxbus::Values& values = {}) {
  Header message = headerOf(type, interface, member);
  message.sender = kStranger;
  return serialized(message, values);
}

class PlayedBus : public HostileTest {
 protected:
  static QXBusEventCallback* listenerInto(const std::shared_ptr<Messages>& heard) {
    return lastingListener([heard](const MessageRef& event) { heard->add(event); });
  }
};

TEST_F(PlayedBus, ThatRefusesToSendTheEventsOfAServiceIsAReason) {
  const PlayedService bus(socket(), [](int connection) {
    answerAll(connection, [](const Header& call) {
      return call.member == "AddMatch" ? refusal(call, "no more rules") : usualAnswer(call);
    });
  });

  const auto client = qxbus::ServiceClient::attach(bus.address(), "vel", {});

  ASSERT_FALSE(client);
  EXPECT_THAT(client.reason(), HasSubstr("no more rules"));
}

// No answer is remembered that was none.
TEST_F(PlayedBus, ThatDoesNotKnowTheUserOfASenderIsAskedForEachOfItsBroadcasts) {
  const std::string broadcast = ofTheStranger(MessageType::kSignal, "qx.bus.Broadcast", "unknown");
  const auto isListening = std::make_shared<Gate>();
  const auto isHeard = std::make_shared<Gate>();
  const OpenAtScopeExit openListening(isListening);
  const OpenAtScopeExit openHeard(isHeard);
  const auto asked = std::make_shared<Record<bool>>();
  const PlayedService bus(socket(), [=](int connection) {
    answerAll(connection, [&](const Header& call) -> std::string {
      if (call.member == "AddMatch") {
        sendAll(connection, usualAnswer(call));
        isListening->wait();
        return broadcast;
      }
      if (call.member != "GetConnectionUnixUser") {
        return usualAnswer(call);
      }
      asked->add(true);
      if (asked->size() > 1) {
        return refusal(call, "no such name");
      }
      sendAll(connection, refusal(call, "no such name"));
      isHeard->wait();
      return broadcast;
    });
  });
  const auto client = qxbus::Client::connect(bus.address());
  ASSERT_TRUE(client) << client.reason();
  const auto any = std::make_shared<Messages>();
  const auto safe = std::make_shared<Messages>();
  (*client)->addBroadcastListener("unknown", listenerInto(any), QXBUS_SECURITY_ANY_USER);
  (*client)->addBroadcastListener("unknown", listenerInto(safe), kSafe);
  isListening->open();

  ASSERT_TRUE(any->waitFor(1));
  isHeard->open();
  ASSERT_TRUE(any->waitFor(2));

  EXPECT_EQ(asked->size(), 2u);
  EXPECT_EQ(safe->size(), 0u);
  EXPECT_THAT(loggedLines(),
              Contains(HasSubstr("broadcast events of :1.7 are refused: the bus does not say")));
}

// Up to 16 MiB, with what each takes besides its bytes.
TEST_F(PlayedBus, MayTakeItsTimeToNameASenderWhoseBroadcastsWaitMeanwhile) {
  const std::size_t eachTakes = qxbus::Received().costBehind(nullptr);
  const auto broadcastOfSize = [](std::size_t size) {
    const auto withText = [](std::size_t length) {
      return ofTheStranger(MessageType::kSignal, "qx.bus.Broadcast", "large",
                           {std::string(length, 'x')});
    };
    return withText(size - withText(0).size());
  };
  const std::string broadcasts = broadcastOfSize(4 * kMegabyte) +
                                 broadcastOfSize(12 * kMegabyte - 2 * eachTakes) +
                                 broadcastOfSize(200);
  const auto isListening = std::make_shared<Gate>();
  const OpenAtScopeExit openListening(isListening);
  const PlayedService bus(socket(), [=](int connection) {
    answerAll(connection, [=](const Header& call) -> std::string {
      if (call.member == "AddMatch") {
        sendAll(connection, usualAnswer(call));
        isListening->wait();
        return broadcasts;
      }
      if (call.member == "GetConnectionUnixUser") {
        return ofTheBus(qxbus::wire::returnOf(call), "u", {std::uint32_t{::geteuid()}});
      }
      return usualAnswer(call);
    });
  });
  const auto client = qxbus::Client::connect(bus.address());
  ASSERT_TRUE(client) << client.reason();
  const auto heard = std::make_shared<Messages>();
  (*client)->addBroadcastListener("large", listenerInto(heard), kSafe);
  isListening->open();

  ASSERT_TRUE(heard->waitFor(2));
  EXPECT_TRUE(heard->stays(2));
  EXPECT_GT(heard->items()[1]->getString(0).size(), 11 * kMegabyte);
}

// A stranger that sees the connection appear may call before it has its name.
TEST_F(PlayedBus, MayBringACallBeforeItGivesTheName) {
  const auto replies = std::make_shared<Record<std::uint32_t>>();
  const PlayedService bus(socket(), [replies](int connection) {
    answerAll(connection, [replies](const Header& message) {
      if (message.type == MessageType::kMethodReturn) {
        replies->add(message.replySerial);
      }
      const std::string early = message.member == "RequestName"
                                    ? ofTheStranger(MessageType::kMethodCall, kVelName, "echo")
                                    : "";
      return early + usualAnswer(message);
    });
  });

  const qxbus::ServiceHost host(
      bus.address(), "vel",
      {{"echo", [](qxbus::Request request) { request.reply(request.arguments()); }}});

  EXPECT_TRUE(replies->waitFor(1));
}

// A service that is reached without a bus is no bus: it is not called as one.
TEST_F(PlayedBus, IsNotWhatAServiceIsTakenFor) {
  const auto calls = std::make_shared<Record<std::string>>();
  const PlayedService service(socket(), [calls](int connection) {
    answerAll(connection, [calls](const Header& call) {
      calls->add(std::string(call.member));
      return usualAnswer(call);
    });
  });
  const auto client = qxbus::Client::connect(address());
  ASSERT_TRUE(client) << client.reason();

  EXPECT_TRUE((*client)->handleOn("vel", kSafe));
  EXPECT_TRUE((*client)->isServiceRegistered("vel"));
  EXPECT_THAT((*client)
                  ->handleOn("vel", kSafe)
                  ->call(*qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo"), 10000),
              IsReply());

  EXPECT_THAT(calls->items(), testing::Each(AnyOf("Ping", "echo")));
  EXPECT_THAT(calls->items(), Contains("echo"));
}

// The system says it; the other end is not asked.
TEST_F(PlayedBus, IsNotNeededForTheUserOfAService) {
  const PlayedService service(socket(), [](int connection) {
    answerAll(connection,
              [](const Header& call) { return call.member == "Ping" ? usualAnswer(call) : ""; });
  });
  const auto link = qxbus::Link::connect(address(), "vel", "", qxbus::Link::repliesOnly,
                                         qxbus::deadlineAfter(10000));
  ASSERT_TRUE(link) << link.reason();
  const auto users = std::make_shared<Record<std::optional<uid_t>>>();

  (*link)->identify("anyone", qxbus::deadlineAfter(10000),
                    [users](std::optional<uid_t> user) { users->add(user); });

  EXPECT_THAT(users->items(), testing::ElementsAre(testing::Optional(::geteuid())));
}

}  // namespace
