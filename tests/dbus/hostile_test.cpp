// Other ends of direct connections that do what no D-Bus library does.

#include <atomic>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/resource.h>
#endif

#include "base/unix_socket.h"
#include "bus/dbus/link.h"
#include "bus/dbus/transport/connection.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"
#include "tests/dbus/timing.h"

namespace {

using namespace dbustest;
using qxbus::wire::MessageType;
using qxbus::wire::MessageWriter;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

std::string signalOf(std::string_view interface, std::string_view member,
                     const qxbus::Values& values = {}) {
  return serialized(headerOf(MessageType::kSignal, interface, member), values);
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

// --- Clients -------------------------------------------------------------------------------------

std::string echoCall(const qxbus::Values& values) {
  return serialized(headerOf(MessageType::kMethodCall, kVelName, "echo"), values);
}

// The header of a call with a body of that size.
std::string announced(std::uint32_t size) {
  std::string call = echoCall({});
  call.resize(call.size() - sizeof size);
  call.replace(4, sizeof size, reinterpret_cast<const char*>(&size), sizeof size);
  return call;
}

std::string withLastByte(std::string bytes, char last) {
  bytes.back() = last;
  return bytes;
}

struct Attack {
  const char* name;
  std::string bytes;
};

void PrintTo(const Attack& attack, std::ostream* stream) {
  *stream << attack.name;
}

// As much of the bytes as the service takes.
void send(const base::Socket& client, const std::string& bytes) {
  const auto* const all = reinterpret_cast<const unsigned char*>(bytes.data());
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t more = base::sendSome(client, all + sent, bytes.size() - sent);
    if (more < 0 && errno != EAGAIN) {
      return;
    }
    sent += more > 0 ? static_cast<std::size_t>(more) : 0;
  }
}

class HostileClient : public HostileTest, public testing::WithParamInterface<Attack> {
 protected:
  const qxbus::ServiceHost host_{address(), "vel", {{"echo", [](qxbus::Request request) {
                                                       request.reply(request.arguments());
                                                     }}}};
};

TEST_P(HostileClient, HarmsNobody) {
  ASSERT_TRUE(isServed());
  {
    const base::Socket hostile = base::newSocket();
    ASSERT_EQ(base::connectTo(hostile, socket()), 0);
    send(hostile, GetParam().bytes);

    EXPECT_TRUE(isServed());
  }
  EXPECT_TRUE(isServed());
}

class ClaimedName : public HostileTest {};

// The names of direct clients are the service's own count of them.
TEST_F(ClaimedName, IsNotThatOfAClient) {
  const auto senders = std::make_shared<Record<std::string>>();
  const qxbus::ServiceHost host(
      "direct:" + directory() + "/named", "vel",
      {{"echo", [senders](const qxbus::Request& request) { senders->add(request.sender()); }}});
  qxbus::wire::Header call = headerOf(MessageType::kMethodCall, kVelName, "echo");
  std::vector<base::Socket> clients;
  for (const char* const claimed : {"qx.bus.vel", ":1.1", "org.freedesktop.DBus"}) {
    call.sender = claimed;
    clients.push_back(base::newSocket());
    ASSERT_EQ(base::connectTo(clients.back(), directory() + "/named"), 0);
    send(clients.back(), authenticated() + serialized(call));
  }

  ASSERT_TRUE(senders->waitFor(3));
  const std::vector<std::string> seen = senders->items();
  EXPECT_EQ(std::set<std::string>(seen.begin(), seen.end()).size(), 3u);
  EXPECT_THAT(seen, testing::Each(testing::StartsWith(std::string(qxbus::kPeerName) + '.')));
}

std::vector<Attack> attacks() {
  const std::string call = echoCall({std::string("text")});
  return {
      {"Garbage", repeated("garbage \xff\x01", 1000)},
      {"GarbageAfterTheNul", std::string(1, '\0') + repeated("nonsense\r\n", 1000)},
      {"HalfAnAuthentication", authenticated().substr(0, 12)},
      {"ALineWithoutAnEnd", std::string(1, '\0') + std::string(kMegabyte, 'A')},
      {"AMessageWithoutAuthentication", call},
      {"GarbageAsAMessage", authenticated() + repeated("garbage", 1000)},
      {"HalfAHeader", authenticated() + call.substr(0, 20)},
      {"HalfABody", authenticated() + call.substr(0, call.size() - 3)},
      {"AnAnnouncementOf100Megabytes", authenticated() + announced(100 * 1024 * 1024)},
      {"AnAnnouncementOfTooMuch", authenticated() + announced(0xffffffff)},
      {"AMalformedBody", authenticated() + withLastByte(call, 'x')},
      {"SignalsAndReplies",
       authenticated() + repeated(signalOf(kVelName, "velevent") + replyTo(1), 1000)},
      {"RepliesThatItNeverReads",
       authenticated() + repeated(echoCall({std::string(64 * 1024, 'x')}), 300)},
  };
}

INSTANTIATE_TEST_SUITE_P(Sends, HostileClient, testing::ValuesIn(attacks()),
                         [](const auto& attack) { return std::string(attack.param.name); });

#if defined(__linux__) && defined(TAKES_ALL_DESCRIPTORS)
// Processor time that a process has used, in seconds.
double secondsUsed(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(file, text);
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string ignored;
  for (int i = 0; i < 11; ++i) {
    fields >> ignored;
  }
  double user = 0;
  double system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

class ManyClients : public HostileTest {};

TEST_F(ManyClients, AreServedWhenThereIsADescriptorAndCostNothingUntilThen) {
  Process service(helper({BUS_PROCESS, "serve", address(), "vel"}));
  ASSERT_EQ(service.readLine(), "running");
  ASSERT_TRUE(isServed());
  const rlimit limit = {12, 12};
  ASSERT_EQ(::prlimit(service.pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
  std::vector<base::Socket> clients;
  for (int i = 0; i < 20; ++i) {
    clients.push_back(base::newSocket());
    ASSERT_EQ(base::connectTo(clients.back(), socket()), 0);
  }
  std::this_thread::sleep_for(kSilence);
  const double before = secondsUsed(service.pid());

  std::this_thread::sleep_for(Milliseconds(1000));

  EXPECT_LT(secondsUsed(service.pid()) - before, 0.2);
  clients.clear();
  EXPECT_TRUE(waitUntil([this] { return isServed(); }));
}
#endif

// --- Services ------------------------------------------------------------------------------------

// Reads until the client has closed the connection.
void awaitEnd(int connection) {
  char byte = 0;
  while (::recv(connection, &byte, 1, 0) == 1) {
  }
}

class HostileService : public HostileTest {
 protected:
  static constexpr int kSoonMs = 300;
  static constexpr int kLongMs = 20000;

  // A call of a method over a connection that takes these events.
  qxbus::Outcome callOver(const PlayedService& service, const std::string& interface, int limitMs,
                          const std::shared_ptr<Record<std::string>>& events = nullptr) {
    qxbus::Connection::Handlers handlers;
    handlers.interestIn = [interface](const qxbus::wire::Header& header) {
      return header.interface == interface ? qxbus::Connection::Interest::kChecked
                                           : qxbus::Connection::Interest::kNone;
    };
    handlers.onMessages = [events](const std::vector<qxbus::Received>& messages) {
      for (const qxbus::Received& message : messages) {
        events->add(std::string(message.header().member));
      }
    };
    const auto connection = qxbus::Connection::open(service.address(), std::move(handlers),
                                                    qxbus::deadlineAfter(kLongMs));
    if (!connection) {
      ADD_FAILURE() << connection.reason();
      return {};
    }
    MessageWriter call;
    call.start(headerOf(MessageType::kMethodCall, kVelName, "echo"));
    return (*connection)->call(&call, "", qxbus::deadlineAfter(limitMs));
  }
};

TEST_F(HostileService, ThatNeverStopsSendingKeepsNoCallerPastItsDeadline) {
  const std::string flood = repeated(signalOf("some.interface", "flood"), 1000);
  const PlayedService service(socket(), [&flood](int connection) {
    while (sendAll(connection, flood)) {
    }
  });
  const auto begun = TestClock::now();

  const qxbus::Outcome outcome = callOver(service, "another.interface", kSoonMs);

  EXPECT_EQ(outcome.kind, qxbus::Outcome::Kind::kNoReply);
  EXPECT_LT(since(begun), Milliseconds(2000));
}

TEST_F(HostileService, ThatSendsHalfAReplyEndsTheCallAtItsDeadline) {
  const std::string reply = replyTo(1, "s", {std::string("text")});
  const PlayedService service(socket(), [&reply](int connection) {
    sendAll(connection, reply.substr(0, reply.size() - 1));
    awaitEnd(connection);
  });

  EXPECT_EQ(callOver(service, "some.interface", kSoonMs).kind, qxbus::Outcome::Kind::kNoReply);
}

TEST_F(HostileService, ThatSendsAMalformedReplyIsLostForThisReason) {
  const std::string reply = withLastByte(replyTo(1, "s", {std::string("text")}), 'x');
  // The end of the connection would be another reason.
  const PlayedService service(socket(), [&reply](int connection) {
    sendAll(connection, reply);
    awaitEnd(connection);
  });

  const qxbus::Outcome outcome = callOver(service, "some.interface", kLongMs);

  EXPECT_EQ(outcome.kind, qxbus::Outcome::Kind::kDisconnected);
  EXPECT_THAT(outcome.text, HasSubstr("malformed"));
}

TEST_F(HostileService, ThatTakesNothingMoreIsLostThoughItStaysConnected) {
  const auto gate = std::make_shared<Gate>();
  const auto deaf = std::make_shared<Gate>();
  const PlayedService service(socket(), [gate, deaf](int connection) {
    ::shutdown(connection, SHUT_RD);
    deaf->open();
    gate->wait();
  });
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto lost = std::make_shared<Gate>();
  qxbus::Connection::Handlers handlers;
  handlers.onLost = [lost] { lost->open(); };
  const auto connection = qxbus::Connection::open(service.address(), std::move(handlers),
                                                  qxbus::deadlineAfter(kLongMs));
  ASSERT_TRUE(connection);
  const auto call = [&connection] {
    MessageWriter message;
    message.start(headerOf(MessageType::kMethodCall, kVelName, "echo"));
    return (*connection)->call(&message, "", qxbus::deadlineAfter(100)).kind;
  };
  // The end of the authentication goes out with the first message.
  call();
  ASSERT_TRUE(deaf->wait());

  EXPECT_EQ(call(), qxbus::Outcome::Kind::kDisconnected);

  EXPECT_TRUE(lost->wait(Milliseconds(5000)));
}

// What it still sends belongs to no call.
TEST_F(HostileService, ThatTakesNothingMoreIsReplacedThoughItStillSends) {
  const auto mayDeafen = std::make_shared<Gate>();
  const auto isDeaf = std::make_shared<Gate>();
  std::vector<std::thread> flooding;
  {
    const auto connections = std::make_shared<std::atomic<int>>(0);
    const PlayedService service(socket(), [&, connections](int connection) {
      char ping[1000];
      if (++*connections > 1) {
        for (std::uint32_t serial = 1; ::recv(connection, ping, sizeof ping, 0) > 0; ++serial) {
          sendAll(connection, replyTo(serial));
        }
        return;
      }
      ::recv(connection, ping, sizeof ping, 0);
      sendAll(connection, replyTo(1));
      mayDeafen->wait();
      // It stays open when this function ends.
      flooding.emplace_back([isDeaf, kept = ::dup(connection)] {
        ::shutdown(kept, SHUT_RD);
        isDeaf->open();
        const std::string many = repeated(signalOf(kVelName, "velevent"), 500);
        while (sendAll(kept, many)) {
        }
        ::close(kept);
      });
    });
    const auto client = qxbus::Client::connect(address());
    ASSERT_TRUE(client);
    ASSERT_TRUE((*client)->isServiceRegistered("vel"));
    mayDeafen->open();
    ASSERT_TRUE(isDeaf->wait());

    EXPECT_TRUE((*client)->isServiceRegistered("vel"));
    EXPECT_EQ(*connections, 2);
    // The old connection is closed.
    flooding.at(0).join();
    EXPECT_TRUE((*client)->isServiceRegistered("vel"));
  }
}

// A message that is not kept is left out to its last byte.
TEST_F(HostileService, ThatSendsLargeMessagesNobodyWantsIsUnderstoodBehindThem) {
  const std::string large = signalOf("some.interface", "large", {std::string(3 * kMegabyte, 'x')});
  const std::string late = serialized(
      [] {
        qxbus::wire::Header header;
        header.type = MessageType::kMethodReturn;
        header.replySerial = 999;
        header.signature = "av";
        return header;
      }(),
      {std::string(kMegabyte, 'x')});
  const std::string small = signalOf(kVelName, "small");
  const PlayedService service(socket(), [&](int connection) {
    sendAll(connection, small + large + small + late + large + small + replyTo(1));
    char byte = 0;
    while (::recv(connection, &byte, 1, 0) == 1) {
    }
  });
  const auto events = std::make_shared<Record<std::string>>();

  EXPECT_EQ(callOver(service, kVelName, kLongMs, events).kind, qxbus::Outcome::Kind::kReturn);
  EXPECT_THAT(events->items(), testing::ElementsAre("small", "small", "small"));
}

TEST_F(HostileService, ThatHangsIsNotThereAfterTwoSeconds) {
  Process service(helper({BUS_PROCESS, "serve", address(), "vel"}));
  ASSERT_EQ(service.readLine(), "running");
  const auto client = qxbus::Client::connect(address());
  ASSERT_TRUE(client);
  const auto handle = (*client)->handleOn("vel", kSafe);
  ASSERT_TRUE(handle);
  processes::hang(service.pid());

  for (int i = 0; i < 2; ++i) {
    const Milliseconds took = measuredBelow(Milliseconds(2500), [&client] {
      return timeOf([&client] { EXPECT_FALSE((*client)->isServiceRegistered("vel")); });
    });
    EXPECT_LT(took, Milliseconds(2500));
  }

  service.signal(SIGCONT);
  EXPECT_TRUE(waitUntil([&client] { return (*client)->isServiceRegistered("vel"); }));
  // It never died.
  EXPECT_THAT(handle->call(*qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo"), 10000),
              IsReply());
}

// Its socket may be where a client looks: the system says who listens there.
TEST_F(HostileService, OfAnotherUserIsRefused) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to start a service as another user";
  }
  std::filesystem::permissions(std::filesystem::path(socket()).parent_path(),
                               std::filesystem::perms(0777));
  Process service(helper({BUS_PROCESS, "serve", address(), "vel", "65534"}));
  ASSERT_EQ(service.readLine(), "running");
  const auto client = qxbus::Client::connect(address());
  ASSERT_TRUE(client);
  const auto safe = std::make_shared<Messages>();
  const auto any = std::make_shared<Messages>();
  const std::string name = newBroadcastName();
  (*client)->addBroadcastListener(
      name, lastingListener([safe](const MessageRef& event) { safe->add(event); }), kSafe);
  (*client)->addBroadcastListener(
      name, lastingListener([any](const MessageRef& event) { any->add(event); }),
      QXBUS_SECURITY_ANY_USER);

  EXPECT_FALSE((*client)->isServiceRegistered("vel"));
  EXPECT_FALSE((*client)->handleOn("vel", kSafe));
  EXPECT_THAT(loggedLines(), Contains(HasSubstr("it runs as user 65534")));

  const auto handle = (*client)->handleOn("vel", QXBUS_SECURITY_ANY_USER);
  ASSERT_TRUE(handle);
  const auto request = qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "broadcast");
  request->appendString(name);
  EXPECT_THAT(handle->call(*request, 10000), IsReply());
  EXPECT_TRUE(any->waitFor(1));
  EXPECT_EQ(safe->size(), 0u);
}

// A service that is reached without a bus is no bus: what it says in the name of one has no effect.
TEST_F(HostileService, CannotSpeakForABus) {
  qxbus::wire::Header forged =
      headerOf(MessageType::kSignal, "org.freedesktop.DBus", "NameOwnerChanged");
  forged.path = "/org/freedesktop/DBus";
  forged.sender = "org.freedesktop.DBus";
  forged.signature = "sss";
  const std::string death =
      serialized(forged, {std::string(kVelName), std::string(qxbus::kPeerName), std::string()});
  const PlayedService service(socket(), [&death](int connection) {
    char call[1000];
    ::recv(connection, call, sizeof call, 0);
    sendAll(connection, replyTo(1));
    ::recv(connection, call, sizeof call, 0);
    sendAll(connection, death + replyTo(2));
    awaitEnd(connection);
  });
  const auto client = qxbus::Client::connect(address());
  ASSERT_TRUE(client);
  const auto handle = (*client)->handleOn("vel", kSafe);
  ASSERT_TRUE(handle);
  const auto deaths = std::make_shared<Record<std::string>>();
  handle->setDeathCallback([deaths] { deaths->add("death"); });

  EXPECT_THAT(handle->call(*qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo"), 10000),
              IsReply());

  EXPECT_TRUE(deaths->stays(0));
}

// The first event may come together with the answer that makes the connection.
TEST_F(HostileService, MaySendABroadcastBeforeAnythingElse) {
  const PlayedService service(socket(), [](int connection) {
    char call[1000];
    ::recv(connection, call, sizeof call, 0);
    sendAll(connection, signalOf("qx.bus.Broadcast", "early") + replyTo(1));
    awaitEnd(connection);
  });
  const auto client = qxbus::Client::connect(address());
  ASSERT_TRUE(client);
  const auto heard = std::make_shared<Messages>();
  (*client)->addBroadcastListener(
      "early", lastingListener([heard](const MessageRef& event) { heard->add(event); }), kSafe);

  EXPECT_TRUE((*client)->isServiceRegistered("vel"));

  EXPECT_TRUE(heard->waitFor(1));
  EXPECT_THAT(loggedLines(), Not(Contains(HasSubstr("refused"))));
}

}  // namespace
