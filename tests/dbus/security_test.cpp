// A service must run as this user or root.

#include <algorithm>
#include <chrono>
#include <csignal>

#include <unistd.h>

#include "bus/dbus/plain_call.h"
#include "bus/dbus/service_client.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr char kOtherUser[] = "65534";

// Only root can start a service as another user.
class AnotherUser : public DBusTest {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) {
      GTEST_SKIP() << "needs root to start a service as another user";
    }
    stranger_ = std::make_unique<Process>(
        helper({BUS_PROCESS, "serve", bus().address(), "vel", kOtherUser}));
    ASSERT_EQ(stranger_->readLine(), "running");
  }

  static auto refusal() {
    return AllOf(HasSubstr("error: "), HasSubstr(kOtherUser), HasSubstr("vel"));
  }

  std::unique_ptr<Process> stranger_;
};

TEST_F(AnotherUser, IsNotTakenForTheService) {
  EXPECT_FALSE(manager().isServiceRegistered("vel"));

  EXPECT_THAT(loggedLines(), Contains(refusal()));
}

TEST_F(AnotherUser, GetsNoInterface) {
  EXPECT_FALSE(manager().getServiceProxyInterface("vel", kSafe, 1));

  EXPECT_THAT(loggedLines(), Contains(refusal()));
}

TEST_F(AnotherUser, IsRefusedEachTime) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(manager().isServiceRegistered("vel"));
    EXPECT_FALSE(manager().getServiceProxyInterface("vel", kSafe, 1));
  }
}

TEST_F(AnotherUser, CanBeCalledByAClientThatTakesAnybody) {
  const ProxyRef proxy = manager().getServiceProxyInterface("vel", QXBUS_SECURITY_ANY_USER, 1);

  ASSERT_TRUE(proxy);
  EXPECT_THAT(call(*proxy, "echo"), IsReply());
}

TEST_F(AnotherUser, SendsEventsOnlyToListenersThatTakeAnybody) {
  const ProxyRef proxy = manager().getServiceProxyInterface("vel", QXBUS_SECURITY_ANY_USER, 1);
  ASSERT_TRUE(proxy);
  const auto safe = std::make_shared<Messages>();
  const auto any = std::make_shared<Messages>();
  proxy->addEventListener(
      "velevent", lastingListener([safe](const MessageRef& event) { safe->add(event); }), kSafe);
  proxy->addEventListener("velevent",
                          lastingListener([any](const MessageRef& event) { any->add(event); }),
                          QXBUS_SECURITY_ANY_USER);

  call(*proxy, "shout");

  EXPECT_TRUE(any->waitFor(3));
  EXPECT_EQ(safe->size(), 0u);
}

TEST_F(AnotherUser, MakesRoomForTheRealService) {
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  stranger_->end(SIGKILL);
  ASSERT_TRUE(waitUntil([] {
    try {
      return std::make_unique<TestService>() != nullptr;
    } catch (const std::runtime_error&) {
      return false;
    }
  }));
  const TestService service;

  EXPECT_TRUE(manager().isServiceRegistered("vel"));
  EXPECT_TRUE(manager().getServiceProxyInterface("vel", kSafe, 1));
}

// Takes the events of a name and counts them.
std::shared_ptr<Messages> broadcastsTo(QXBusSerivceManager& manager, QXBusEventCallback* listener,
                                       const std::string& name, QXBusSecurityFlags flags) {
  auto heard = std::make_shared<Messages>();
  listener->handler = [heard](const MessageRef& event) { heard->add(event); };
  manager.addEventListener(name, listener, flags);
  return heard;
}

std::ptrdiff_t linesWith(const std::string& text) {
  const std::vector<std::string> lines = loggedLines();
  return std::count_if(lines.begin(), lines.end(), [&text](const std::string& line) {
    return line.find(text) != std::string::npos;
  });
}

TEST_F(AnotherUser, FillsNoLogWithItsBroadcasts) {
  const std::string name = newBroadcastName();
  const auto safe = broadcastsTo(manager(), lastingListener(nullptr), name, kSafe);
  const auto any = broadcastsTo(manager(), lastingListener(nullptr), name, QXBUS_SECURITY_ANY_USER);
  const ProxyRef proxy = manager().getServiceProxyInterface("vel", QXBUS_SECURITY_ANY_USER, 1);
  ASSERT_TRUE(proxy);

  for (int i = 0; i < 5; ++i) {
    EXPECT_THAT(call(*proxy, "broadcast", {name}), IsReply());
  }

  ASSERT_TRUE(any->waitFor(5));
  EXPECT_EQ(safe->size(), 0u);
  EXPECT_EQ(linesWith(kOtherUser), 1);
  EXPECT_THAT(loggedLines(), Contains(AllOf(HasSubstr("broadcast events of :"),
                                            HasSubstr(" are refused: "), HasSubstr(kOtherUser))));
}

TEST_F(AnotherUser, GetsNoRequestsThatAProgramPassesOn) {
  const auto client = qxbus::ServiceClient::attach("", "vel", {});

  ASSERT_FALSE(client);
  EXPECT_THAT(client.reason(), HasSubstr("qx.bus.vel belongs to another user"));
}

TEST_F(AnotherUser, GetsNoPlainCalls) {
  const qxbus::PlainReply reply = qxbus::callPlain(
      "", {"vel", "/lamp", "qx.bus.Lamp", "switch", "", {}}, std::chrono::seconds(10));

  EXPECT_EQ(reply.kind, qxbus::PlainReply::Kind::kNoService);
  EXPECT_THAT(reply.text, HasSubstr("qx.bus.vel belongs to another user"));
}

#if defined(__linux__)
TEST_F(AnotherUser, TakesNoMemoryWithALargeBroadcast) {
  const std::string name = newBroadcastName();
  const auto safe = broadcastsTo(manager(), lastingListener(nullptr), name, kSafe);
  const ProxyRef proxy = manager().getServiceProxyInterface("vel", QXBUS_SECURITY_ANY_USER, 1);
  ASSERT_TRUE(proxy);
  constexpr std::int32_t kBytes = 60 * static_cast<std::int32_t>(kMegabyte);
  takePeakMemory();
  const long before = takePeakMemory();

  // The reply comes after the event.
  EXPECT_THAT(call(*proxy, "broadcastLarge", {name, kBytes}, 60000), IsReply());

  EXPECT_LT(takePeakMemory() - before, 30);
  EXPECT_EQ(safe->size(), 0u);
}
#endif

// Unique names begin anew with the bus, and events of the last bus may still wait.
TEST_F(AnotherUser, IsNotTakenForOneWithItsUniqueNameOnTheNextBus) {
  stranger_->end(SIGKILL);
  bus().kill();
  bus().start();
  stranger_ =
      std::make_unique<Process>(helper({BUS_PROCESS, "serve", bus().address(), "vel", kOtherUser}));
  ASSERT_EQ(stranger_->readLine(), "running");
  const ProxyRef proxy = manager().getServiceProxyInterface("vel", QXBUS_SECURITY_ANY_USER, 1);
  ASSERT_TRUE(proxy);
  const std::string strangersName = RawPeer(bus().address()).ownerOf("qx.bus.vel");
  const std::string forged = newBroadcastName();
  const std::string last = newBroadcastName();
  const auto heard = broadcastsTo(manager(), lastingListener(nullptr), forged, kSafe);
  const auto end = broadcastsTo(manager(), lastingListener(nullptr), last, kSafe);
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto entered = std::make_shared<Gate>();
  proxy->addEventListener("velevent", lastingListener([entered, gate](const MessageRef&) {
                            entered->open();
                            gate->wait();
                          }),
                          QXBUS_SECURITY_ANY_USER);
  call(*proxy, "shout");
  ASSERT_TRUE(entered->wait());
  call(*proxy, "broadcast", {forged});
  // The second reply is read after everything that came before the first has been handled.
  call(*proxy, "echo");

  bus().kill();
  stranger_->end(SIGKILL);
  bus().start();
  TestService trusted;
  ASSERT_TRUE(manager().isServiceRegistered("vel"));
  gate->open();
  trusted.host().broadcast(last, {});

  ASSERT_TRUE(end->waitFor(1));
  EXPECT_EQ(heard->size(), 0u);
  EXPECT_EQ(RawPeer(bus().address()).ownerOf("qx.bus.vel"), strangersName);
}

class ThisUser : public DBusTest {};

// The bus does not know its user any more.
// Its user is asked for when its first broadcast is read. The answer may come too late for a sender
// that leaves at once.
TEST_F(ThisUser, IsHeardInFullOrRefusedWithOneLineWhenItLeavesTheBusAtOnce) {
  const std::string name = newBroadcastName();
  const auto safe = broadcastsTo(manager(), lastingListener(nullptr), name, kSafe);
  const auto any = broadcastsTo(manager(), lastingListener(nullptr), name, QXBUS_SECURITY_ANY_USER);
  auto peer = std::make_unique<RawPeer>(bus().address());
  const std::string sender = peer->uniqueName();
  for (std::int32_t i = 0; i < 5; ++i) {
    peer->emit("/", "qx.bus.Broadcast", name, nativeInt32(i));
  }
  peer->sync();

  peer.reset();

  ASSERT_TRUE(any->waitFor(5));
  const bool isHeard = safe->size() > 0;
  EXPECT_EQ(safe->size(), isHeard ? 5u : 0u);
  EXPECT_EQ(linesWith(sender + " "), isHeard ? 0 : 1);
}

TEST_F(ThisUser, IsTakenForTheServiceWithoutAWordInTheLog) {
  Process service(helper({BUS_PROCESS, "serve", bus().address(), "vel"}));
  ASSERT_EQ(service.readLine(), "running");

  EXPECT_TRUE(manager().isServiceRegistered("vel"));
  const ProxyRef proxy = manager().getServiceProxyInterface("vel", kSafe, 1);

  ASSERT_TRUE(proxy);
  EXPECT_THAT(call(*proxy, "echo"), IsReply());
  EXPECT_THAT(loggedLines(), Not(Contains(HasSubstr("error"))));
}

// The service runs in a process of its own, and ends with that.
TEST_F(ThisUser, IsMissedWhenItsProcessIsKilled) {
  Process service(helper({BUS_PROCESS, "serve", bus().address(), "vel"}));
  ASSERT_EQ(service.readLine(), "running");
  const ProxyRef proxy = proxyOf();
  const auto death = std::make_shared<Gate>();
  proxy->setDeathCallback([death] { death->open(); });

  service.end(SIGKILL);

  EXPECT_TRUE(death->wait());
  EXPECT_THAT(call(*proxy, "echo", {}, 2000), IsDisconnected());
}

TEST_F(ThisUser, IsHeardToItsLastEvent) {
  Process service(helper({BUS_PROCESS, "serve", bus().address(), "vel"}));
  ASSERT_EQ(service.readLine(), "running");
  const ProxyRef proxy = proxyOf();
  const auto events = std::make_shared<Messages>();
  proxy->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      kSafe);

  call(*proxy, "shoutAndEnd");

  EXPECT_TRUE(events->waitFor(3, Milliseconds(2000)));
  EXPECT_THAT(firstNumbers(*events), testing::ElementsAre(0, 1, 2));
}

}  // namespace
