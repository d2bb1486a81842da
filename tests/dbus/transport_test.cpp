// The parts below the bus: what reads sockets, what has been read, and one connection.

#include <algorithm>
#include <cstring>
#include <set>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/self_pipe.h"
#include "base/unix_socket.h"
#include "bus/dbus/transport/acceptor.h"
#include "bus/dbus/transport/connection.h"
#include "bus/dbus/transport/dial.h"
#include "bus/dbus/transport/inbox.h"
#include "bus/dbus/transport/loop.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"
#include "tests/dbus/timing.h"
#include "tests/under_sanitizer.h"

namespace {

using namespace dbustest;
using qxbus::Inbox;
using qxbus::wire::Fault;
using qxbus::wire::MessageType;
using qxbus::wire::MessageWriter;

// --- The loop ------------------------------------------------------------------------------------

// Counts what wakes it.
class PipeSource : public qxbus::Loop::Source {
 public:
  int descriptor() const override { return descriptor_; }
  short events() const override { return POLLIN; }
  void onReady(short /*events*/) override {
    pipe_.drain();
    seen_.add(true);
  }

  void wake() { pipe_.wake(); }
  void end() { descriptor_ = -1; }
  bool isSeen() const { return seen_.waitFor(1); }

 private:
  base::SelfPipe pipe_;
  std::atomic<int> descriptor_{pipe_.readEnd()};
  Record<bool> seen_;
};

TEST(LoopOfSockets, GoesOnWhenItsLastSourceHasGone) {
  const auto loop = qxbus::Loop::start("qxbus-io");
  ASSERT_TRUE(loop) << loop.reason();
  const auto first = std::make_shared<PipeSource>();
  (*loop)->add(first);
  first->wake();
  ASSERT_TRUE(first->isSeen());
  first->end();
  (*loop)->wake();
  // Forgotten by the loop.
  ASSERT_TRUE(waitUntil([&first] { return first.use_count() == 1; }));

  const auto second = std::make_shared<PipeSource>();
  (*loop)->add(second);
  second->wake();

  EXPECT_TRUE(second->isSeen());
  (*loop)->stop();
}

// --- What has been read --------------------------------------------------------------------------

std::string signalOfSize(std::size_t size) {
  const auto withText = [](std::size_t length) {
    return serialized(headerOf(MessageType::kSignal, kVelName, "velevent"),
                      {std::string(length, 'x')});
  };
  return withText(size - withText(0).size());
}

// Returns how much fitted.
std::size_t feed(Inbox* inbox, std::string_view bytes) {
  const Inbox::Space space = inbox->space();
  const std::size_t count = std::min(bytes.size(), space.size);
  std::memcpy(space.bytes, bytes.data(), count);
  inbox->filled(count);
  return count;
}

TEST(InboxOfAConnection, KeepsNoMoreMemoryForASmallMessageThanItsBytes) {
  const std::string message = signalOfSize(400);
  Inbox inbox;
  ASSERT_EQ(feed(&inbox, message), message.size());
  std::vector<qxbus::Received> messages;

  EXPECT_EQ(inbox.take(&messages), Fault::kNone);

  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].memorySize, message.size());
}

// Each read ends a few bytes into a message, so that the memory fills to its last byte.
TEST(InboxOfAConnection, AlwaysHasRoom) {
  constexpr std::size_t kRead = 1024;
  constexpr std::size_t kCount = 200;
  std::string stream = signalOfSize(kRead - 8);
  for (std::size_t i = 1; i < kCount; ++i) {
    stream += signalOfSize(kRead);
  }
  Inbox inbox;
  std::vector<qxbus::Received> messages;

  for (std::string_view left = stream; !left.empty();) {
    const std::size_t count = feed(&inbox, left.substr(0, kRead));
    ASSERT_GT(count, 0u) << left.size();
    left.remove_prefix(count);
    ASSERT_EQ(inbox.take(&messages), Fault::kNone);
  }

  EXPECT_EQ(messages.size(), kCount);
}

// --- One connection ------------------------------------------------------------------------------

MessageWriter messageOf(MessageType type, std::string_view member,
                        const qxbus::Values& values = {}) {
  MessageWriter message;
  message.start(headerOf(type, kVelName, member));
  qxbus::wire::appendValues(&message, values);
  return message;
}

class ATransport : public HostileTest {
 protected:
  static MessageWriter signalOf(std::size_t size) {
    return messageOf(MessageType::kSignal, "velevent", {std::string(size, 'x')});
  }

  // Sends a message to this address, and releases the connection at once.
  static void sendAndRelease(const std::string& address, MessageWriter* message) {
    auto connection = qxbus::Connection::open(address, {}, qxbus::deadlineAfter(10000));
    ASSERT_TRUE(connection) << connection.reason();
    EXPECT_TRUE((*connection)->send(message));
  }

  // How much of a message that is sent last arrives when the other end takes so much of it at a
  // time and then rests.
  std::size_t arrivingOf(MessageWriter* message, std::size_t part, Milliseconds rest) const {
    const auto released = std::make_shared<Gate>();
    const auto received = std::make_shared<Record<std::size_t>>();
    const PlayedService service(socket(), [=](int connection) {
      released->wait();
      std::vector<char> bytes(part);
      std::size_t total = 0;
      for (ssize_t count = 1; count > 0;) {
        count = ::recv(connection, bytes.data(), part, MSG_WAITALL);
        total += count > 0 ? static_cast<std::size_t>(count) : 0;
        std::this_thread::sleep_for(rest);
      }
      received->add(total);
    });
    sendAndRelease(service.address(), message);
    // Time to end it too early.
    std::this_thread::sleep_for(kSilence);
    released->open();
    EXPECT_TRUE(received->waitFor(1, Milliseconds(60000)));
    return received->size() == 1 ? received->items().back() : 0;
  }
};

struct SlowEndRow {
  const char* description;
  std::size_t size;
  std::size_t part;
  Milliseconds rest;
};

// Each message is more than the socket takes at once. On a busy machine the other end may rest for
// too long once.
TEST_F(ATransport, DeliversWhatWasSentBeforeItWasReleased) {
  const SlowEndRow rows[] = {
      {"as fast as it can", 8 * kMegabyte, kMegabyte, Milliseconds(0)},
      {"in three seconds", 8 * kMegabyte, kMegabyte, Milliseconds(400)},
      {"in seven seconds, so little at once that no poll reports the room", kMegabyte / 2,
       kMegabyte / 32, Milliseconds(450)},
  };
  for (const SlowEndRow& row : rows) {
    MessageWriter message = signalOf(row.size);
    std::size_t arrived = 0;
    for (int attempt = 1; attempt <= 3 && arrived < message.bytes().size(); ++attempt) {
      arrived = arrivingOf(&message, row.part, row.rest);
    }
    EXPECT_EQ(arrived, message.bytes().size()) << row.description;
  }
}

// Within ten seconds it takes a third of this.
TEST_F(ATransport, KeepsNothingForLongThatAnotherEndTakesTooSlowly) {
  MessageWriter message = signalOf(8 * kMegabyte);

  EXPECT_LT(arrivingOf(&message, kMegabyte / 4, Milliseconds(1000)), 4 * kMegabyte);
}

TEST_F(ATransport, KeepsNothingForLongThatAnotherEndDoesNotTake) {
  const auto ended = std::make_shared<Record<Milliseconds>>();
  const PlayedService service(socket(), [ended](int connection) {
    ended->add(timeOf([connection] {
      pollfd polled = {connection, 0, 0};
      ::poll(&polled, 1, 60000);
      EXPECT_NE(polled.revents & POLLHUP, 0);
    }));
  });
  MessageWriter message = signalOf(8 * kMegabyte);
  std::size_t count = 0;

  const Milliseconds took = measuredBelow(Milliseconds(4000), [&] {
    sendAndRelease(service.address(), &message);
    EXPECT_TRUE(ended->waitFor(++count, Milliseconds(70000)));
    return ended->items().back();
  });

  EXPECT_GE(took, Milliseconds(1500));
  EXPECT_LT(took, Milliseconds(4000));
}

// It may leave 256 MiB.
TEST_F(ATransport, GivesUpAnEndThatLeavesTooMuchUnread) {
  const auto gate = std::make_shared<Gate>();
  const PlayedService service(socket(), [gate](int /*connection*/) { gate->wait(); });
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto connection =
      qxbus::Connection::open(service.address(), {}, qxbus::deadlineAfter(10000));
  ASSERT_TRUE(connection) << connection.reason();
  MessageWriter message =
      messageOf(MessageType::kSignal, "velevent", {qxbus::Bytes(60 * kMegabyte)});

  int taken = 0;
  while (taken < 10 && (*connection)->send(&message)) {
    ++taken;
  }

  EXPECT_EQ(taken, 4);
}

// The reply finds its call by this number.
TEST_F(ATransport, NumbersItsMessagesAllDifferently) {
  constexpr std::size_t kMessages = 65537;
  const auto serials = std::make_shared<std::set<std::uint32_t>>();
  const PlayedService service(socket(), [serials](int connection) {
    answerAll(connection, [serials](const qxbus::wire::Header& message) {
      serials->insert(message.serial);
      return message.type == MessageType::kMethodCall ? replyTo(message.serial) : "";
    });
  });
  const auto connection =
      qxbus::Connection::open(service.address(), {}, qxbus::deadlineAfter(10000));
  ASSERT_TRUE(connection) << connection.reason();
  MessageWriter signal = messageOf(MessageType::kSignal, "velevent");

  for (std::size_t i = 0; i < kMessages; ++i) {
    ASSERT_TRUE((*connection)->send(&signal));
  }

  MessageWriter last = messageOf(MessageType::kMethodCall, "last");
  const qxbus::Outcome outcome = (*connection)->call(&last, "", qxbus::deadlineAfter(20000));
  ASSERT_EQ(outcome.kind, qxbus::Outcome::Kind::kReturn);
  EXPECT_EQ(serials->size(), kMessages + 1);
}

TEST_F(ATransport, NamesThePlacesThatItCannotReachWhenThereAreSeveral) {
  const auto reasonOf = [](const std::string& address) {
    return qxbus::dial(address, qxbus::deadlineAfter(10000)).reason();
  };
  const std::string one = "unix:path=" + directory() + "/one";
  const std::string two = "unix:path=" + directory() + "/two";

  EXPECT_EQ(reasonOf(one), "No such file or directory");
  EXPECT_EQ(reasonOf(one + ";" + two),
            one + ": No such file or directory; " + two + ": No such file or directory");
}

// Of the socket of this process that listens at the path; -1: there is none.
int numberOfSocketAt(const std::string& path) {
  for (int number = 0; number < 1024; ++number) {
    sockaddr_un address = {};
    socklen_t size = sizeof address;
    if (::getsockname(number, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        address.sun_path == path) {
      return number;
    }
  }
  return -1;
}

// The number of a descriptor that the program has closed may be that of another socket by now.
TEST_F(ATransport, LeavesTheClientsOfASocketThatHasTakenItsNumber) {
  if (kUnderSanitizer) {
    GTEST_SKIP() << "to a sanitizer a closed descriptor that is polled is the mistake that it is";
  }
  const auto loop = qxbus::Loop::start("qxbus-io");
  ASSERT_TRUE(loop) << loop.reason();
  const auto behind = std::make_shared<PipeSource>();
  const auto acceptor = qxbus::Acceptor::listen(*loop, socket(), nullptr);
  ASSERT_TRUE(acceptor) << acceptor.reason();
  const int number = numberOfSocketAt(socket());
  ASSERT_GE(number, 0);
  const base::Listener other(directory() + "/other");
  ::close(number);
  // Read behind the acceptor, in one turn with it.
  (*loop)->add(behind);
  behind->wake();
  ASSERT_TRUE(behind->isSeen());

  ASSERT_EQ(::dup2(other.descriptor(), number), number);
  const base::Socket client = base::newSocket();
  ASSERT_EQ(base::connectTo(client, directory() + "/other"), 0);
  // An acceptor that has rested would try again.
  std::this_thread::sleep_for(3 * qxbus::Acceptor::kRest);

  EXPECT_TRUE(other.accept());
  (*loop)->stop();
}

}  // namespace
