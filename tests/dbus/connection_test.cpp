// Connections, and what reads them: without a bus or a service above.

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include "base/unix_socket.h"
#include "bus/dbus/serving_thread.h"
#include "bus/dbus/shared_attempt.h"
#include "bus/dbus/transport/acceptor.h"
#include "bus/dbus/transport/connection.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"

namespace {

using namespace dbustest;
using qxbus::Connection;
using qxbus::Loop;
using qxbus::Outcome;
using qxbus::wire::MessageType;
using qxbus::wire::MessageWriter;
using testing::ElementsAre;
using testing::HasSubstr;

// --- Connections ---------------------------------------------------------------------------------

// Takes what comes until the other end is gone.
void readAll(int connection) {
  char bytes[4096];
  while (::recv(connection, bytes, sizeof bytes, 0) > 0) {
  }
}

std::string eventOf(std::string_view name) {
  return signalFrom("", kVelPath, kVelName, name);
}

MessageWriter echo(const qxbus::Values& values = {}) {
  MessageWriter call;
  call.start(headerOf(MessageType::kMethodCall, kVelName, "echo"));
  qxbus::wire::appendValues(&call, values);
  return call;
}

class ConnectionTest : public HostileTest {
 protected:
  // Events are noted by name.
  Connection::Handlers noting() {
    Connection::Handlers handlers;
    handlers.onMessages = [events = events_](const std::vector<qxbus::Received>& messages) {
      for (const qxbus::Received& message : messages) {
        events->add(std::string(message.header().member));
      }
    };
    handlers.onLost = [lost = lost_] { lost->open(); };
    return handlers;
  }

  std::shared_ptr<Connection> connected(const PlayedService& service,
                                        Connection::Handlers handlers) {
    const auto connection =
        Connection::open(service.address(), std::move(handlers), qxbus::deadlineAfter(-1));
    EXPECT_TRUE(connection) << connection.reason();
    return connection ? *connection : nullptr;
  }
  std::shared_ptr<Connection> connected(const PlayedService& service) {
    return connected(service, noting());
  }

  static Outcome::Kind call(Connection& connection) {
    MessageWriter message = echo();
    return connection.call(&message, "", qxbus::deadlineAfter(10000)).kind;
  }

  const std::shared_ptr<Record<std::string>> events_ = std::make_shared<Record<std::string>>();
  const std::shared_ptr<Gate> lost_ = std::make_shared<Gate>();
};

TEST_F(ConnectionTest, WithoutAnInterestEveryMessageIsHandedOn) {
  const PlayedService service(socket(), [](int connection) {
    sendAll(connection, eventOf("first") + eventOf("second"));
    readAll(connection);
  });
  const auto connection = connected(service);
  MessageWriter message = echo();
  ASSERT_TRUE(connection->send(&message));

  EXPECT_TRUE(events_->waitFor(2));
  EXPECT_THAT(events_->items(), ElementsAre("first", "second"));
}

TEST_F(ConnectionTest, AMessageThatIsTooLargeIsNotSent) {
  const PlayedService service(socket(), [](int connection) {
    char call[1000];
    ::recv(connection, call, sizeof call, 0);
    sendAll(connection, replyTo(3));
    readAll(connection);
  });
  const auto connection = connected(service);
  const qxbus::Values large = {qxbus::Bytes(64 * kMegabyte)};
  MessageWriter first = echo(large);
  MessageWriter second = echo(large);
  Record<Outcome::Kind> kinds;

  const Outcome outcome = connection->call(&first, "", qxbus::deadlineAfter(10000));
  connection->call(&second, "", qxbus::deadlineAfter(10000),
                   [&kinds](const Outcome& done) { kinds.add(done.kind); });

  EXPECT_EQ(outcome.kind, Outcome::Kind::kDisconnected);
  EXPECT_THAT(outcome.text, HasSubstr("larger than D-Bus allows"));
  EXPECT_THAT(kinds.items(), ElementsAre(Outcome::Kind::kDisconnected));
  EXPECT_EQ(call(*connection), Outcome::Kind::kReturn);
}

TEST_F(ConnectionTest, OfALostConnectionNothingCanBeFlushed) {
  const PlayedService service(socket(), [](int) {});
  const auto connection = connected(service);
  MessageWriter message = echo();
  connection->send(&message);
  ASSERT_TRUE(lost_->wait());

  EXPECT_FALSE(connection->flush(qxbus::deadlineAfter(10000)));
}

// The thread that reads would notice it first. Here it is in a handler.
TEST_F(ConnectionTest, AnEndThatIsNoticedByASenderEndsTheConnection) {
  enum class Use { kSend, kFlush };
  for (const Use use : {Use::kSend, Use::kFlush}) {
    const auto mayEnd = std::make_shared<Gate>();
    const auto hasEnded = std::make_shared<Gate>();
    const PlayedService service(socket(), [mayEnd, hasEnded](int connection) {
      sendAll(connection, eventOf("send"));
      mayEnd->wait();
      ::shutdown(connection, SHUT_RDWR);
      hasEnded->open();
    });
    const auto holder = std::make_shared<std::shared_ptr<Connection>>();
    const auto opened = std::make_shared<Gate>();
    const auto results = std::make_shared<Record<bool>>();
    const auto lost = std::make_shared<Gate>();
    Connection::Handlers handlers;
    handlers.onMessages = [=](const std::vector<qxbus::Received>&) {
      opened->wait();
      // More than the socket holds, so that some is left.
      MessageWriter large = echo({qxbus::Bytes(8 * kMegabyte)});
      results->add((*holder)->send(&large));
      mayEnd->open();
      hasEnded->wait();
      MessageWriter more = echo();
      results->add(use == Use::kSend ? (*holder)->send(&more)
                                     : (*holder)->flush(qxbus::deadlineAfter(10000)));
    };
    handlers.onLost = [lost] { lost->open(); };
    *holder = connected(service, std::move(handlers));
    MessageWriter first = echo();
    (*holder)->send(&first);
    opened->open();

    ASSERT_TRUE(results->waitFor(2));
    EXPECT_THAT(results->items(), ElementsAre(true, false));
    EXPECT_TRUE(lost->wait());
    holder->reset();
  }
}

#if defined(TAKES_ALL_DESCRIPTORS)
// Not under a sanitizer, which keeps what is freed.
TEST_F(ConnectionTest, AnotherEndThatLeavesTooMuchUnreadIsTakenForDead) {
  const auto gate = std::make_shared<Gate>();
  const PlayedService service(socket(), [gate](int) { gate->wait(); });
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto connection = connected(service);
  MessageWriter message = echo({qxbus::Bytes(60 * kMegabyte)});

  int sent = 0;
  while (sent < 10 && connection->send(&message)) {
    ++sent;
  }

  EXPECT_EQ(sent, 4);
  EXPECT_TRUE(lost_->wait());
}
#endif

// --- Calls ---------------------------------------------------------------------------------------

TEST_F(ConnectionTest, AReplyToACallThatWasAbandonedIsNobodys) {
  const PlayedService service(socket(), [](int connection) {
    answerAll(connection, [](const qxbus::wire::Header& call) {
      return call.serial == 2 ? replyTo(1) + replyTo(2) : "";
    });
  });
  const auto connection = connected(service);
  MessageWriter message = echo();
  Connection::Call abandoned;
  connection->start(&message, "", &abandoned);

  connection->abandon(&abandoned);
  connection->abandon(&abandoned);

  EXPECT_EQ(call(*connection), Outcome::Kind::kReturn);
}

TEST_F(ConnectionTest, ACallMayBeAbandonedWhenItsReplyHasCome) {
  const PlayedService service(socket(), [](int connection) {
    sendAll(connection, replyTo(1) + eventOf("behind"));
    readAll(connection);
  });
  const auto connection = connected(service);
  MessageWriter message = echo();
  Connection::Call started;
  connection->start(&message, "", &started);
  ASSERT_TRUE(events_->waitFor(1));

  connection->abandon(&started);

  EXPECT_TRUE(connection->isOpen());
}

// Events that came before it are handled first.
TEST_F(ConnectionTest, AReplyThatHasComeIsTheOutcomeAlsoAfterTheDeadline) {
  const PlayedService service(socket(), [](int connection) {
    sendAll(connection, eventOf("before") + replyTo(1));
    readAll(connection);
  });
  const auto isHandling = std::make_shared<Gate>();
  const auto isOver = std::make_shared<Gate>();
  Connection::Handlers handlers;
  handlers.onMessages = [=](const std::vector<qxbus::Received>&) {
    isHandling->open();
    isOver->wait();
  };
  const auto connection = connected(service, std::move(handlers));
  MessageWriter message = echo();
  Connection::Call started;
  connection->start(&message, "", &started);
  ASSERT_TRUE(isHandling->wait());

  const auto deadline = qxbus::deadlineAfter(20);
  std::thread ending([=] {
    std::this_thread::sleep_until(deadline + Milliseconds(50));
    isOver->open();
  });
  const Outcome outcome = connection->await(&started, deadline);
  ending.join();

  EXPECT_EQ(outcome.kind, Outcome::Kind::kReturn);
}

// --- Messages ------------------------------------------------------------------------------------

TEST_F(ConnectionTest, ALargeReplyOfAnotherSenderIsNoReply) {
  const auto replyOf = [](std::string_view sender, std::size_t size) {
    qxbus::wire::Header header;
    header.type = MessageType::kMethodReturn;
    header.replySerial = 1;
    header.sender = sender;
    header.signature = "s";
    return serialized(header, {std::string(size, 'x')});
  };
  const std::string forged = replyOf(":1.9", kMegabyte);
  const std::string real = replyOf(":1.7", 1);
  const PlayedService service(socket(), [&](int connection) {
    sendAll(connection, forged + real);
    readAll(connection);
  });
  const auto connection = connected(service);
  MessageWriter message = echo();

  const Outcome outcome = connection->call(&message, ":1.7", qxbus::deadlineAfter(10000));

  ASSERT_EQ(outcome.kind, Outcome::Kind::kReturn);
  EXPECT_EQ(outcome.reply.header().sender, ":1.7");
}

TEST_F(ConnectionTest, ALargeMessageMayComeByteByByte) {
  const std::string large = signalFrom("", "/a/long/path/" + std::string(300, 'x'), kVelName,
                                       "large", "s", {std::string(kMegabyte, 'x')});
  const PlayedService service(socket(), [&large](int connection) {
    constexpr std::size_t kHeader = 400;
    for (std::size_t i = 0; i < kHeader; ++i) {
      sendAll(connection, large.substr(i, 1));
    }
    sendAll(connection, large.substr(kHeader) + eventOf("behind"));
    readAll(connection);
  });
  const auto connection = connected(service);
  MessageWriter message = echo();
  connection->send(&message);

  EXPECT_TRUE(events_->waitFor(2));
  EXPECT_THAT(events_->items(), ElementsAre("large", "behind"));
}

TEST_F(ConnectionTest, AMessageOfAnotherProtocolEndsTheConnectionWhateverItsSize) {
  constexpr std::size_t kVersionAt = 3;
  for (const std::size_t size : {std::size_t{1}, kMegabyte}) {
    std::string other = signalFrom("", kVelPath, kVelName, "other", "s", {std::string(size, 'x')});
    other[kVersionAt] = 2;
    const PlayedService service(socket(), [&other](int connection) {
      sendAll(connection, eventOf("before") + other);
      readAll(connection);
    });
    const auto lost = std::make_shared<Gate>();
    Connection::Handlers handlers = noting();
    handlers.onLost = [lost] { lost->open(); };
    const auto connection = connected(service, std::move(handlers));
    MessageWriter message = echo();
    connection->send(&message);

    EXPECT_TRUE(lost->wait());
  }
  EXPECT_THAT(events_->items(), ElementsAre("before", "before"));
}

TEST_F(ConnectionTest, AStreamMayEndInTheMiddleOfAnEvent) {
  const PlayedService service(socket(), [](int connection) {
    for (int i = 0; i < 200; ++i) {
      sendAll(connection, eventOf("stream"));
    }
    sendAll(connection, eventOf("last") + std::string(100, 'x'));
    readAll(connection);
  });
  const auto connection = connected(service);
  MessageWriter message = echo();
  connection->send(&message);

  EXPECT_TRUE(lost_->wait());
  EXPECT_EQ(events_->size(), 201u);
  EXPECT_EQ(events_->items().back(), "last");
}

TEST_F(ConnectionTest, AHandlerWithoutMemoryEndsTheConnectionAndNoOtherCode) {
  const PlayedService service(socket(), [](int connection) {
    sendAll(connection, eventOf("first"));
    readAll(connection);
  });
  Connection::Handlers handlers = noting();
  handlers.onMessages = [](const std::vector<qxbus::Received>&) { throw std::bad_alloc(); };
  const auto connection = connected(service, std::move(handlers));

  EXPECT_EQ(call(*connection), Outcome::Kind::kDisconnected);
  EXPECT_TRUE(lost_->wait());
}

// --- Who reads -----------------------------------------------------------------------------------

TEST(LoopTest, WhoWaitsMayOutliveTheEndOfTheLoop) {
  const auto loop = Loop::start("qxbus-io");
  ASSERT_TRUE(loop);
  Loop::Wait wait;
  std::thread ending([&loop] { (*loop)->stopWithLastSource(); });

  EXPECT_FALSE((*loop)->runUntilFinished(&wait, qxbus::deadlineAfter(100)));

  ending.join();
}

TEST(ServingThreadTest, TakesNoTaskAfterItsEnd) {
  const auto loop = Loop::start("qxbus-io");
  ASSERT_TRUE(loop);
  const auto thread = qxbus::ServingThread::start(*loop);
  ASSERT_TRUE(thread);
  Record<int> tasks;
  (*thread)->post([&tasks] { tasks.add(1); });
  ASSERT_TRUE(tasks.waitFor(1));

  (*thread)->finish();
  (*thread)->post([&tasks] { tasks.add(2); });

  EXPECT_TRUE(tasks.stays(1));
  (*loop)->stop();
}

qxbus::Clock::time_point soon() {
  return qxbus::Clock::now() + kLongestWait;
}

TEST(SharedAttemptTest, ThatEndsInAnExceptionIsFollowedByAnother) {
  qxbus::SharedAttempt<int> attempt;

  EXPECT_THROW(attempt.join(soon(), []() -> int { throw std::bad_alloc(); }), std::bad_alloc);

  EXPECT_EQ(attempt.join(soon(), [] { return 7; }), 7);
}

TEST(SharedAttemptTest, ThatHasFailedIsFollowedByAnotherForThoseWhoCameMeanwhile) {
  qxbus::SharedAttempt<int> attempt;
  Record<int> results;
  std::thread second;

  const int first = attempt.join(soon(), [&] {
    second = std::thread([&] { results.add(attempt.join(soon(), [] { return 7; })); });
    EXPECT_TRUE(results.stays(0));
    return 0;
  });

  EXPECT_EQ(first, 0);
  second.join();
  EXPECT_THAT(results.items(), ElementsAre(7));
}

// --- Who comes in --------------------------------------------------------------------------------

class AcceptorTest : public HostileTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(loop_);
    auto listening = qxbus::Acceptor::listen(
        *loop_, socket(), [admitted = admitted_](base::Socket, qxbus::Inbox) { admitted->add(1); });
    ASSERT_TRUE(listening) << listening.reason();
    acceptor_ = std::move(*listening);
  }
  ~AcceptorTest() override { (*loop_)->stop(); }

  // One that has shown who it is.
  base::Socket greeted() {
    base::Socket client = base::newSocket();
    EXPECT_TRUE(waitUntil([&] { return base::connectTo(client, socket()) != EAGAIN; }));
    const std::string greeting =
        authenticated().substr(0, authenticated().size() - std::string("BEGIN\r\n").size());
    send(client, greeting);
    pollfd answered = {client.number(), POLLIN, 0};
    EXPECT_EQ(::poll(&answered, 1, static_cast<int>(kLongestWait.count())), 1);
    return client;
  }

  static void send(const base::Socket& client, const std::string& bytes) {
    base::sendSome(client, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  }

  const std::shared_ptr<Record<int>> admitted_ = std::make_shared<Record<int>>();

 private:
  const base::Result<std::shared_ptr<Loop>> loop_ = Loop::start("qxbus-io");
  std::unique_ptr<qxbus::Acceptor> acceptor_;
};

TEST_F(AcceptorTest, ClosesTheOldestOfTooManyThatHaveShownWhoTheyAre) {
  std::vector<base::Socket> clients;
  for (std::size_t i = 0; i <= qxbus::Acceptor::kMostHandshakes; ++i) {
    clients.push_back(greeted());
  }

  send(clients[0], "BEGIN\r\n");
  send(clients[1], "BEGIN\r\n");

  EXPECT_TRUE(admitted_->waitFor(1));
  EXPECT_TRUE(admitted_->stays(1));
}

TEST_F(AcceptorTest, OutlivesAClientThatLeavesItsAnswerUnread) {
  { const base::Socket client = greeted(); }

  const base::Socket next = greeted();
  send(next, "BEGIN\r\n");

  EXPECT_TRUE(admitted_->waitFor(1));
}

}  // namespace
