// The bus itself goes away and comes back.

#include <atomic>
#include <thread>

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/odd_sockets.h"
#include "tests/dbus/raw_peer.h"
#include "tests/dbus/timing.h"

namespace {

using namespace dbustest;
using testing::Each;
using testing::ElementsAre;

class BusThatIsLost : public DBusTest {
 protected:
  std::unique_ptr<TestService> service_ = std::make_unique<TestService>();
  ProxyRef proxy_ = proxyOf();
};

TEST_F(BusThatIsLost, EndsEveryPendingCall) {
  const auto replies = std::make_shared<Messages>();
  for (const int timeoutMs : {-1, 60000}) {
    proxy_->callWithReply(
        messageTo(*proxy_, "hold"), [replies](const MessageRef& reply) { replies->add(reply); },
        timeoutMs);
  }
  Messages blocking;
  std::vector<std::thread> callers;
  for (const int timeoutMs : {-1, 60000}) {
    callers.emplace_back([&, timeoutMs] { blocking.add(call(*proxy_, "hold", {}, timeoutMs)); });
  }
  ASSERT_TRUE(service_->waitForHeld(4));

  bus().kill();
  for (std::thread& caller : callers) {
    caller.join();
  }

  EXPECT_THAT(blocking.items(), ElementsAre(IsDisconnected(), IsDisconnected()));
  ASSERT_TRUE(replies->waitFor(2));
  EXPECT_TRUE(replies->stays(2));
  EXPECT_THAT(replies->items(), Each(IsDisconnected()));
}

TEST_F(BusThatIsLost, IsTheDeathOfEveryInterface) {
  const TestService other("other");
  const ProxyRef second = proxyOf("other");
  const ProxyRef unwatched = proxyOf();
  const auto deaths = std::make_shared<Record<std::string>>();
  for (const ProxyRef& proxy : {proxy_, second}) {
    proxy->setDeathCallback([deaths] { deaths->add("reported"); });
  }

  bus().kill();
  ASSERT_TRUE(deaths->waitFor(2));
  unwatched->setDeathCallback([deaths] { deaths->add("reported when set"); });

  ASSERT_TRUE(deaths->waitFor(3));
  EXPECT_TRUE(deaths->stays(3));
  EXPECT_THAT(deaths->items(), ElementsAre("reported", "reported", "reported when set"));
}

TEST_F(BusThatIsLost, IsNoSecondDeathOfAServiceThatDiedBefore) {
  const auto deaths = std::make_shared<Record<std::string>>();
  proxy_->setDeathCallback([deaths] { deaths->add("death"); });
  service_.reset();
  ASSERT_TRUE(deaths->waitFor(1));

  bus().kill();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));

  EXPECT_TRUE(deaths->stays(1));
}

TEST_F(BusThatIsLost, MeansThatNothingIsThereAndNothingIsWaitedFor) {
  bus().kill();

  const auto begun = TestClock::now();
  EXPECT_THAT(call(*proxy_, "echo", {}, -1), IsDisconnected());
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  EXPECT_FALSE(manager().getServiceProxyInterface("vel", kSafe, 1));
  const auto replies = std::make_shared<Messages>();
  proxy_->callWithReply(
      messageTo(*proxy_, "echo"), [replies](const MessageRef& reply) { replies->add(reply); }, -1);
  EXPECT_TRUE(replies->waitFor(1));

  EXPECT_LT(since(begun), Milliseconds(5000));
  EXPECT_THAT(replies->items(), Each(IsDisconnected()));
}

TEST_F(BusThatIsLost, LeavesTheSameManager) {
  QXBusSerivceManager* const before = QXBusSerivceManager::initSync(-1);
  bus().kill();
  QXBusSerivceManager* const meanwhile = QXBusSerivceManager::initSync(-1);
  bus().start();
  QXBusSerivceManager* const afterwards = QXBusSerivceManager::initSync(-1);

  EXPECT_EQ(meanwhile, before);
  EXPECT_EQ(afterwards, before);
}

TEST_F(BusThatIsLost, CanBeUsedAgainAfterItsReturn) {
  for (int round = 0; round < 3; ++round) {
    bus().kill();
    bus().start();
    EXPECT_FALSE(manager().isServiceRegistered("vel"));
    const TestService again;
    ASSERT_TRUE(manager().isServiceRegistered("vel"));

    const ProxyRef fresh = proxyOf();
    EXPECT_THAT(call(*fresh, "echo"), IsReply());
    EXPECT_THAT(call(*proxy_, "echo", {}, 1000), IsDisconnected());
  }
}

TEST_F(BusThatIsLost, IsFoundAgainByTheFirstRequest) {
  bus().kill();
  bus().start();
  const TestService again;

  const ProxyRef fresh = manager().getServiceProxyInterface("vel", kSafe, 1);

  ASSERT_TRUE(fresh);
  EXPECT_THAT(call(*fresh, "echo"), IsReply());
}

TEST_F(BusThatIsLost, KeepsItsBroadcastListeners) {
  const auto broadcasts = std::make_shared<Messages>();
  const std::string name = newBroadcastName();
  QXBusEventCallback* const listener =
      lastingListener([broadcasts](const MessageRef& event) { broadcasts->add(event); });
  manager().addEventListener(name, listener, kSafe);
  manager().addEventListener(name, listener, kSafe);

  bus().kill();
  bus().start();
  TestService again;
  ASSERT_TRUE(manager().isServiceRegistered("vel"));
  again.host().broadcast(name, {std::int32_t{7}});

  ASSERT_TRUE(broadcasts->waitFor(2));
  EXPECT_TRUE(broadcasts->stays(2));
  EXPECT_THAT(firstNumbers(*broadcasts), ElementsAre(7, 7));
}

TEST_F(BusThatIsLost, TakesBroadcastListenersAlsoMeanwhile) {
  const auto broadcasts = std::make_shared<Messages>();
  const std::string name = newBroadcastName();
  bus().kill();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  manager().addEventListener(
      name, lastingListener([broadcasts](const MessageRef& event) { broadcasts->add(event); }),
      kSafe);

  bus().start();
  TestService again;
  ASSERT_TRUE(manager().isServiceRegistered("vel"));
  again.host().broadcast(name, {});

  EXPECT_TRUE(broadcasts->waitFor(1));
}

// How a client comes back: the death handler waits for the service and takes a new interface.
TEST_F(BusThatIsLost, CanBeWaitedForInADeathHandler) {
  const auto replies = std::make_shared<Messages>();
  const auto fresh = std::make_shared<Record<ProxyRef>>();
  proxy_->setDeathCallback([=] {
    waitUntil([] { return manager().isServiceRegistered("vel"); });
    fresh->add(manager().getServiceProxyInterface("vel", kSafe, 1));
    if (const ProxyRef proxy = fresh->items().front()) {
      replies->add(call(*proxy, "echo"));
    }
  });

  bus().kill();
  bus().start();
  const TestService again;

  ASSERT_TRUE(replies->waitFor(1));
  EXPECT_THAT(replies->items(), ElementsAre(IsReply()));
}

// A caller whose call has just ended connects again before every interface has its report.
TEST_F(BusThatIsLost, IsTheDeathOfEveryInterfaceAlsoWhenACallerReconnectsAtOnce) {
  const auto deaths = std::make_shared<Gate>();
  proxy_->setDeathCallback([deaths] { deaths->open(); });
  std::thread caller([&] {
    EXPECT_THAT(call(*proxy_, "hold", {}, -1), IsDisconnected());
    manager().isServiceRegistered("vel");
  });
  ASSERT_TRUE(service_->waitForHeld(1));
  std::atomic<std::size_t> ended{0};
  constexpr std::size_t kPending = 20000;
  for (std::size_t i = 0; i < kPending; ++i) {
    proxy_->callWithReply(
        messageTo(*proxy_, "hold"), [&](const MessageRef&) { ++ended; }, -1);
  }
  ASSERT_TRUE(service_->waitForHeld(kPending + 1));

  bus().kill();
  caller.join();

  EXPECT_TRUE(waitUntil([&] { return ended == kPending; }));
  EXPECT_TRUE(deaths->wait(Milliseconds(3000)));
}

// Unique names begin anew with the bus: the next instance may have the name of the last one.
TEST_F(BusThatIsLost, DoesNotTakeTheEventsOfTheNextInstanceToAnInterfaceOfTheLast) {
  std::vector<ProxyRef> proxies;
  std::vector<std::shared_ptr<Messages>> events;
  std::vector<std::string> names;
  for (std::int32_t life = 0; life < 2; ++life) {
    bus().kill();
    bus().start();
    service_ = std::make_unique<TestService>();
    proxies.push_back(proxyOf());
    const auto heard = std::make_shared<Messages>();
    events.push_back(heard);
    proxies.back()->addEventListener(
        "velevent", lastingListener([heard](const MessageRef& event) { heard->add(event); }),
        kSafe);
    service_->emit("velevent", {life});
    ASSERT_TRUE(heard->waitFor(1));
    names.push_back(RawPeer(bus().address()).ownerOf("qx.bus.vel"));
  }

  ASSERT_EQ(names[0], names[1]);
  EXPECT_TRUE(events[0]->stays(1));
  EXPECT_THAT(firstNumbers(*events[0]), ElementsAre(0));
  EXPECT_THAT(firstNumbers(*events[1]), ElementsAre(1));
}

TEST_F(BusThatIsLost, AndTakesNoConnectionsMeansAfterTwoSecondsThatNothingIsThere) {
  bus().kill();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  auto socket = std::make_unique<FullSocket>(bus().directory() / "bus");
  const std::ptrdiff_t threads = entriesOf("/proc/self/task");

  for (int i = 0; i < 2; ++i) {
    const Milliseconds longest = measuredBelow(Milliseconds(2500), [] {
      Record<Milliseconds> took;
      std::vector<std::thread> callers;
      callers.reserve(3);
      for (int caller = 0; caller < 3; ++caller) {
        callers.emplace_back([&took] {
          took.add(timeOf([] { EXPECT_FALSE(manager().isServiceRegistered("vel")); }));
        });
      }
      for (std::thread& caller : callers) {
        caller.join();
      }
      return longestOf(took.items());
    });
    EXPECT_LT(longest, Milliseconds(2500));
  }
  // However often it was tried, one thread at most still waits there.
  EXPECT_TRUE(waitUntil([&] { return entriesOf("/proc/self/task") <= threads + 1; }));

  socket.reset();
  bus().start();
  const TestService service;
  EXPECT_TRUE(waitUntil([] { return manager().isServiceRegistered("vel"); }));
}

#if defined(__linux__)
std::ptrdiff_t openDescriptors() {
  return entriesOf("/proc/self/fd");
}

TEST_F(BusThatIsLost, LeavesNoDescriptorsOpen) {
  const auto restart = [] {
    bus().kill();
    bus().start();
    TestService again;
    call(*proxyOf(), "echo");
  };
  service_.reset();
  proxy_.reset();
  restart();
  const std::ptrdiff_t before = openDescriptors();

  for (int i = 0; i < 5; ++i) {
    restart();
  }

  EXPECT_TRUE(waitUntil([&] { return openDescriptors() <= before; }, Milliseconds(5000)))
      << openDescriptors() << " instead of " << before;
}
#endif

}  // namespace
