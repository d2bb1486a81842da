// Buses that answer wrongly, or late, or in an order that a bus daemon leaves to chance.

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "bus/dbus/bus_failure.h"
#include "bus/dbus/plain_call.h"
#include "bus/dbus/service_check.h"
#include "bus/dbus/service_client.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/played_daemon.h"

namespace {

using namespace dbustest;
using qxbus::Client;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::uint32_t kStrangeUser = 65534;

using Call = PlayedDaemon::Call;

// Answers in place of the right ones.
void refuse(PlayedDaemon& bus, const Call& call) {
  bus.refuse(call, "not today");
}
void sayNothing(PlayedDaemon& bus, const Call& call) {
  bus.reply(call);
}
void sayText(PlayedDaemon& bus, const Call& call) {
  bus.reply(call, "s", {std::string("text")});
}
void saySomebodyElse(PlayedDaemon& bus, const Call& call) {
  bus.reply(call, "u", {kStrangeUser});
}
void hangUp(PlayedDaemon& bus, const Call& /*call*/) {
  bus.close();
}

// Answers of a bus that come when the test says so.
class Later {
 public:
  void keep(const Call& call) { calls_->add(call); }
  std::function<void(PlayedDaemon&, const Call&)> keeper() {
    return [calls = calls_](PlayedDaemon&, const Call& call) { calls->add(call); };
  }
  bool waitFor(std::size_t count, Milliseconds within = kLongestWait) const {
    return calls_->waitFor(count, within);
  }
  Call call(std::size_t index) const { return calls_->items().at(index); }

 private:
  std::shared_ptr<Record<Call>> calls_ = std::make_shared<Record<Call>>();
};

std::string ownerChange(const std::string& name, const std::string& from, const std::string& to) {
  return signalFrom(kBus, kBusPath, kBus, "NameOwnerChanged", "sss", {name, from, to});
}

std::string broadcast(std::string_view sender, std::string_view name, std::int32_t number = 0) {
  return signalFrom(sender, kVelPath, "qx.bus.Broadcast", name, "av", {number});
}

class OddBus : public HostileTest {
 protected:
  std::shared_ptr<Client> connected(const PlayedDaemon& bus) {
    const auto client = Client::connect(bus.address());
    EXPECT_TRUE(client) << client.reason();
    return client ? *client : nullptr;
  }

  // Returns what the listener hears.
  static std::shared_ptr<Messages> listen(Client& client, const std::string& name,
                                          QXBusSecurityFlags flags = kSafe) {
    auto heard = std::make_shared<Messages>();
    client.addBroadcastListener(
        name, lastingListener([heard](const MessageRef& event) { heard->add(event); }), flags);
    return heard;
  }

  // Where a bus takes longer to send them than a client waits for its answer, none are.
  static bool haveBeenDropped() {
    return testing::Matches(Contains(HasSubstr(" dropped")))(loggedLines());
  }

  // Whether what was sent before has been read: the bus answers one question after the other.
  static bool hasReadAll(qxbus::ServiceHandle& service) {
    return service.call(*qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo"), 10000)->type() ==
           MESSAGE_TYPE_METHOD_RETURN;
  }
};

// --- Signing in ----------------------------------------------------------------------------------

TEST_F(OddBus, ThatRefusesTheGreetingGivesItsOwnReason) {
  const PlayedDaemon bus(socket(), {{"Hello", refuse}});

  EXPECT_FALSE(Client::connect(bus.address()));

  EXPECT_THAT(qxbus::busFailure(), AllOf(HasSubstr(bus.address()), HasSubstr("not today")));
  EXPECT_THAT(qxbus::busFailure(), Not(HasSubstr("refuse this user")));
}

TEST_F(OddBus, ThatSendsNoBroadcastsCanBeUsedAndTheLogSaysSo) {
  const PlayedDaemon bus(socket(), {{"AddMatch", refuse}});

  const auto client = connected(bus);

  EXPECT_TRUE(client->isServiceRegistered("vel"));
  EXPECT_THAT(loggedLines(), Contains(HasSubstr("broadcast events will not arrive: not today")));
}

TEST_F(OddBus, ThatRefusesANameKeepsTheServiceFromRunning) {
  const PlayedDaemon bus(socket(), {{"RequestName", refuse}});
  try {
    const qxbus::ServiceHost host(bus.address(), "vel", {});
    ADD_FAILURE() << "a service without its name";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("not today"));
  }
}

TEST_F(OddBus, ThatEndsEveryConnectionAtTheSameQuestionIsAskedTwice) {
  const auto asked = std::make_shared<std::atomic<int>>(0);
  const PlayedDaemon bus(socket(),
                         {{"GetConnectionUnixUser", [asked](PlayedDaemon& ending, const Call&) {
                             ++*asked;
                             ending.close();
                           }}});
  const auto client = connected(bus);

  EXPECT_FALSE(client->isServiceRegistered("vel"));

  EXPECT_EQ(*asked, 2);
}

// --- Who a service is ----------------------------------------------------------------------------

TEST_F(OddBus, ThatDoesNotSayTheUserOfAServiceHasNoServiceThatIsTrusted) {
  for (const auto& answer : {refuse, sayNothing, sayText}) {
    const PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", answer}});
    const auto client = connected(bus);

    EXPECT_FALSE(client->isServiceRegistered("vel"));
    EXPECT_FALSE(client->handleOn("vel", kSafe));
    EXPECT_TRUE(client->handleOn("vel", QXBUS_SECURITY_ANY_USER));
  }
  EXPECT_THAT(loggedLines(), Contains(HasSubstr("does not say which user it runs as")));
}

TEST_F(OddBus, ThatDoesNotSayTheUserOfAServicePassesNothingOnToIt) {
  const PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", sayNothing}});

  const auto passing = qxbus::ServiceClient::attach(bus.address(), "vel", {});
  EXPECT_THAT(passing.reason(), HasSubstr("belongs to another user"));
  const qxbus::PlainReply reply =
      qxbus::callPlain(bus.address(), {"vel", "/lamp", "qx.Lamp", "switch", "", {}}, kLongestWait);
  EXPECT_EQ(reply.kind, qxbus::PlainReply::Kind::kNoService);
  EXPECT_THAT(reply.text, HasSubstr("belongs to another user"));
  const qxbus::ServiceCheck check = qxbus::checkService("vel", bus.address(), kLongestWait);
  EXPECT_EQ(check.broken, qxbus::BusLink::kServiceUser);
}

TEST_F(OddBus, MayNotKnowTheProcessOfAService) {
  const PlayedDaemon bus(socket(), {{"GetConnectionUnixProcessID", sayText}});

  const qxbus::ServiceCheck check = qxbus::checkService("vel", bus.address(), kLongestWait);

  EXPECT_EQ(check.broken, std::nullopt);
  EXPECT_EQ(check.process, std::nullopt);
}

TEST_F(OddBus, ThatEndsWhileAPlainCallIsOnItsWayGivesTheCallAnEnd) {
  const PlayedDaemon bus(socket(), {{"switch", hangUp}});

  const qxbus::PlainReply reply =
      qxbus::callPlain(bus.address(), {"vel", "/lamp", "qx.Lamp", "switch", "", {}}, kLongestWait);

  EXPECT_EQ(reply.kind, qxbus::PlainReply::Kind::kNoReply);
}

// --- Owners --------------------------------------------------------------------------------------

class OwnerOnAnOddBus : public OddBus {
 protected:
  void SetUp() override {
    handle_ = client_->handleOn("vel", QXBUS_SECURITY_ANY_USER);
    ASSERT_TRUE(handle_);
    handle_->setDeathCallback([deaths = deaths_] { deaths->add(1); });
  }

  PlayedDaemon bus_{socket()};
  std::shared_ptr<Client> client_ = connected(bus_);
  std::shared_ptr<qxbus::ServiceHandle> handle_;
  const std::shared_ptr<Record<int>> deaths_ = std::make_shared<Record<int>>();
};

TEST_F(OwnerOnAnOddBus, OutlivesNewsThatIsNoneOfItsDeath) {
  bus_.send(signalFrom(kBus, kBusPath, kBus, "NameOwnerChanged"));
  bus_.send(signalFrom(kBus, kBusPath, kBus, "NameOwnerChanged", "i", {std::int32_t{1}}));
  bus_.send(signalFrom(kBus, kBusPath, kBus, "NameAcquired", "s", {std::string(":1.1")}));
  bus_.send(signalFrom(kBus, kBusPath, kVelName, "NameOwnerChanged", "sss",
                       {std::string(kVelName), std::string(PlayedDaemon::kOwner), std::string()}));
  bus_.send(ownerChange(kVelName, PlayedDaemon::kOwner, PlayedDaemon::kOwner));
  bus_.send(ownerChange(kVelName, ":1.6", ""));
  bus_.send(ownerChange("qx.bus.another", PlayedDaemon::kOwner, ""));

  EXPECT_TRUE(hasReadAll(*handle_));
  EXPECT_TRUE(deaths_->stays(0));

  bus_.send(ownerChange(kVelName, PlayedDaemon::kOwner, ""));
  EXPECT_TRUE(deaths_->waitFor(1));
}

TEST_F(OwnerOnAnOddBus, IsNotHeardThroughSignalsWithoutASender) {
  const auto heard = std::make_shared<Messages>();
  handle_->addEventListener(
      "velevent", lastingListener([heard](const MessageRef& event) { heard->add(event); }), kSafe);

  bus_.send(signalFrom("", kVelPath, kVelName, "velevent", "av", {std::int32_t{1}}));
  bus_.send(
      signalFrom(PlayedDaemon::kOwner, kVelPath, kVelName, "velevent", "av", {std::int32_t{2}}));

  EXPECT_TRUE(heard->waitFor(1));
  EXPECT_EQ(firstNumbers(*heard), std::vector<std::int32_t>{2});
}

// Types of messages that are still to be invented.
TEST_F(OwnerOnAnOddBus, OutlivesMessagesOfAnUnknownType) {
  std::string unknown = signalFrom(PlayedDaemon::kOwner, kVelPath, kVelName, "velevent");
  unknown[1] = 5;
  bus_.send(unknown);

  EXPECT_TRUE(hasReadAll(*handle_));
}

TEST_F(OwnerOnAnOddBus, CanBeCalledOnceTheClientIsGone) {
  const std::weak_ptr<Client> gone = client_;
  client_.reset();
  ASSERT_TRUE(waitUntil([&gone] { return gone.expired(); }));
  bus_.send(ownerChange(kVelName, PlayedDaemon::kOwner, ""));

  EXPECT_TRUE(hasReadAll(*handle_));
  bus_.close();
  EXPECT_FALSE(hasReadAll(*handle_));
}

TEST_F(OddBus, ThatEndsBeforeItNamesTheUserIsTheDeathOfTheService) {
  const PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", hangUp}});
  const auto client = connected(bus);
  const auto dead = std::make_shared<Gate>();

  const auto handle = client->handleOn("vel", QXBUS_SECURITY_ANY_USER);

  ASSERT_TRUE(handle);
  handle->setDeathCallback([dead] { dead->open(); });
  EXPECT_TRUE(dead->wait());
}

// --- Who sends a broadcast -----------------------------------------------------------------------

TEST_F(OddBus, MaySayWhoSentABroadcastOnlyAfterTheNextOne) {
  Later users;
  // The client asks for the sender of a broadcast first.
  PlayedDaemon bus(socket(),
                   {{"GetConnectionUnixUser", [&users](PlayedDaemon& asked, const Call& call) {
                       if (!users.waitFor(1, Milliseconds(0))) {
                         users.keep(call);
                       } else {
                         asked.reply(call, "u", {std::uint32_t{::geteuid()}});
                       }
                     }}});
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = listen(*client, name, QXBUS_SECURITY_ANY_USER);
  bus.send(broadcast(PlayedDaemon::kOwner, name, 1));
  ASSERT_TRUE(users.waitFor(1));

  // Now the user is known, and the first one still waits for the answer.
  const auto handle = client->handleOn("vel", kSafe);
  ASSERT_TRUE(handle);
  bus.send(broadcast(PlayedDaemon::kOwner, name, 2));
  ASSERT_TRUE(hasReadAll(*handle));
  bus.reply(users.call(0), "u", {std::uint32_t{::geteuid()}});

  EXPECT_TRUE(heard->waitFor(2));
  EXPECT_EQ(firstNumbers(*heard), (std::vector<std::int32_t>{1, 2}));
}

TEST_F(OddBus, MayNameAStrangerAsTheSenderOfABroadcast) {
  Later users;
  PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", users.keeper()}});
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const std::string other = newBroadcastName();
  const auto safe = listen(*client, name);
  const auto any = listen(*client, other, QXBUS_SECURITY_ANY_USER);
  std::string malformed = broadcast(":1.9", other, 1);
  malformed[malformed.size() - 6] = '\x7f';

  bus.send(broadcast(":1.9", name, 1) + broadcast(":1.9", other, 2) + malformed);
  ASSERT_TRUE(users.waitFor(1));
  bus.reply(users.call(0), "u", {kStrangeUser});

  EXPECT_TRUE(any->waitFor(1));
  EXPECT_EQ(firstNumbers(*any), std::vector<std::int32_t>{2});
  EXPECT_EQ(safe->size(), 0u);
  EXPECT_THAT(loggedLines(), Contains(HasSubstr("broadcast events of :1.9 are refused")));
}

TEST_F(OddBus, ThatEndsBeforeItSaysWhoSentABroadcastLeavesNoLine) {
  Later users;
  PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", users.keeper()}});
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = listen(*client, name);
  bus.send(broadcast(":1.9", name));
  ASSERT_TRUE(users.waitFor(1));

  bus.close();

  EXPECT_TRUE(heard->stays(0));
  EXPECT_THAT(loggedLines(), Not(Contains(HasSubstr("broadcast events of"))));
}

TEST_F(OddBus, MaySayWhoSentABroadcastWhenTheClientIsGone) {
  Later users;
  PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", users.keeper()}});
  auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = listen(*client, name);
  bus.send(broadcast(":1.9", name));
  ASSERT_TRUE(users.waitFor(1));

  client.reset();
  bus.reply(users.call(0), "u", {std::uint32_t{::geteuid()}});

  EXPECT_TRUE(heard->stays(0));
}

// Each line once, but not for ever: what is remembered is bounded.
TEST_F(OddBus, WithAThousandStrangersNamesTheFirstOneAgain) {
  PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", saySomebodyElse}});
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = listen(*client, name);
  const auto lines = [](const std::string& sender) {
    const std::vector<std::string> logged = loggedLines();
    return std::count_if(logged.begin(), logged.end(), [&](const std::string& line) {
      return line.find("broadcast events of " + sender + " are refused") != std::string::npos;
    });
  };

  bus.send(broadcast(":2.0", name) + broadcast(":2.0", name));
  for (int i = 1; i <= 1000; ++i) {
    bus.send(broadcast(":2." + std::to_string(i), name));
  }
  ASSERT_TRUE(waitUntil([&] { return lines(":2.1000") == 1; }));
  EXPECT_EQ(lines(":2.0"), 1);
  bus.send(broadcast(":2.0", name));

  EXPECT_TRUE(waitUntil([&] { return lines(":2.0") == 2; }));
  EXPECT_EQ(heard->size(), 0u);
}

TEST_F(OddBus, ThatSaysNobodysUserFillsNoMemoryWithTheBroadcastsOfOneSender) {
  Later users;
  PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", users.keeper()}});
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = listen(*client, name, QXBUS_SECURITY_ANY_USER);
  constexpr int kSent = 20;  // megabytes; 16 of them may wait
  for (std::int32_t i = 0; i < kSent; ++i) {
    bus.send(
        signalFrom(":1.9", kVelPath, "qx.bus.Broadcast", name, "av", {i, qxbus::Bytes(kMegabyte)}));
  }
  ASSERT_TRUE(users.waitFor(1));
  bus.reply(users.call(0), "u", {std::uint32_t{::geteuid()}});

  ASSERT_TRUE(heard->waitFor(15));
  EXPECT_TRUE(waitUntil([&heard] { return heard->size() == kSent || haveBeenDropped(); }));
}

#if defined(TAKES_ALL_DESCRIPTORS)
// Not under a sanitizer, which keeps what is freed.
TEST_F(OddBus, ThatSaysNobodysUserFillsNoMemoryWithTheBroadcastsOfMany) {
  Later users;
  PlayedDaemon bus(socket(), {{"GetConnectionUnixUser", users.keeper()}});
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = listen(*client, name, QXBUS_SECURITY_ANY_USER);
  constexpr int kSent = 6;
  constexpr std::size_t kSize = 60 * kMegabyte;  // four of them are below the bound, five are not
  for (std::int32_t i = 0; i < kSent; ++i) {
    bus.send(signalFrom(":1.2" + std::to_string(i), kVelPath, "qx.bus.Broadcast", name, "iay",
                        {i, qxbus::Bytes(kSize)}));
  }
  ASSERT_TRUE(users.waitFor(4));
  for (std::size_t i = 0; i < 4; ++i) {
    bus.reply(users.call(i), "u", {std::uint32_t{::geteuid()}});
  }

  ASSERT_TRUE(heard->waitFor(4));
  EXPECT_TRUE(waitUntil([&heard] { return heard->size() == kSent || haveBeenDropped(); }));
}
#endif

// --- Streams -------------------------------------------------------------------------------------

// Its connection is read until it is closed.
TEST_F(OddBus, MayStreamCallsToAServiceThatEnds) {
  PlayedDaemon bus(socket());
  const auto called = std::make_shared<std::atomic<int>>(0);
  auto host = std::make_unique<qxbus::ServiceHost>(
      bus.address(), "vel",
      std::vector<qxbus::Method>{{"note", [called](const qxbus::Request&) { ++*called; }}});
  qxbus::wire::Header call = headerOf(qxbus::wire::MessageType::kMethodCall, kVelName, "note");
  call.sender = ":1.9";
  call.flags = qxbus::wire::kNoReplyExpected;
  std::string many;
  for (int i = 0; i < 500; ++i) {
    many += serialized(call);
  }
  std::atomic<bool> isOver{false};
  std::thread streaming([&] {
    while (!isOver) {
      bus.send(many);
    }
  });
  ASSERT_TRUE(waitUntil([&] { return *called > 1000; }));

  host.reset();
  const int before = *called;

  std::this_thread::sleep_for(kSilence);
  EXPECT_EQ(*called, before);
  isOver = true;
  streaming.join();
}

// --- Handlers ------------------------------------------------------------------------------------

TEST_F(OddBus, OrItsClientMayBeOutOfMemoryForOneEvent) {
  PlayedDaemon bus(socket());
  const auto client = connected(bus);
  const std::string name = newBroadcastName();
  const auto heard = std::make_shared<Messages>();
  client->addBroadcastListener(name, lastingListener([heard](const MessageRef& event) {
                                 heard->add(event);
                                 if (heard->size() == 1) {
                                   throw std::bad_alloc();
                                 }
                               }),
                               kSafe);

  bus.send(broadcast(":1.9", name, 1));
  ASSERT_TRUE(heard->waitFor(1));
  bus.send(broadcast(":1.9", name, 2));

  EXPECT_TRUE(heard->waitFor(2));
  EXPECT_THAT(loggedLines(), Contains(HasSubstr("1 event dropped")));
}

}  // namespace
