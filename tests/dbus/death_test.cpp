// An interface stands for one running instance of a service: its end is reported once, and
// no later instance is taken for it.

#include <thread>

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::ElementsAre;

class Death : public DBusTest {
 protected:
  std::function<void()> note(const std::string& what = "death") {
    return [deaths = deaths_, what] { deaths->add(what); };
  }

  std::shared_ptr<Record<std::string>> deaths_ = std::make_shared<Record<std::string>>();
};

TEST_F(Death, IsReportedOnceWhenTheServiceReleasesItsName) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  proxy->setDeathCallback(note());
  ASSERT_TRUE(deaths_->stays(0));

  service.reset();

  ASSERT_TRUE(deaths_->waitFor(1));
  EXPECT_TRUE(deaths_->stays(1));
}

TEST_F(Death, IsReportedWhenTheConnectionOfTheServiceEnds) {
  NEEDS_DAEMON();
  auto service = std::make_unique<RawPeer>(bus().address());
  ASSERT_TRUE(service->own(kVelName));
  const ProxyRef proxy = proxyOf();
  proxy->setDeathCallback(note());

  service.reset();

  EXPECT_TRUE(deaths_->waitFor(1));
}

TEST_F(Death, IsReportedWhenAnotherServiceTakesTheName) {
  NEEDS_DAEMON();
  RawPeer first(bus().address());
  RawPeer second(bus().address());
  ASSERT_TRUE(first.own(kVelName, DBUS_NAME_FLAG_ALLOW_REPLACEMENT));
  const ProxyRef proxy = proxyOf();
  proxy->setDeathCallback(note());

  ASSERT_TRUE(second.own(kVelName, DBUS_NAME_FLAG_REPLACE_EXISTING));

  ASSERT_TRUE(deaths_->waitFor(1));
  EXPECT_TRUE(deaths_->stays(1));
}

TEST_F(Death, IsReportedToEveryInterfaceOfTheInstanceAndToNoOther) {
  auto mortal = std::make_unique<TestService>("mortal");
  const TestService survivor;
  const ProxyRef first = proxyOf("mortal");
  const ProxyRef second = proxyOf("mortal");
  const ProxyRef other = proxyOf();
  first->setDeathCallback(note("one of two"));
  second->setDeathCallback(note("one of two"));
  other->setDeathCallback(note("another service's"));

  mortal.reset();

  ASSERT_TRUE(deaths_->waitFor(2));
  EXPECT_TRUE(deaths_->stays(2));
  EXPECT_THAT(deaths_->items(), ElementsAre("one of two", "one of two"));
}

TEST_F(Death, ThatCameBeforeTheCallbackIsReportedWhenItIsSet) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  service.reset();
  ASSERT_TRUE(waitUntil([&] { return !manager().isServiceRegistered("vel"); }));

  proxy->setDeathCallback(note());

  ASSERT_TRUE(deaths_->waitFor(1));
  EXPECT_TRUE(deaths_->stays(1));
}

TEST_F(Death, IsNotReportedAgainToACallbackThatIsSetLater) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  proxy->setDeathCallback(note("first"));
  service.reset();
  ASSERT_TRUE(deaths_->waitFor(1));

  proxy->setDeathCallback(note("second"));

  EXPECT_TRUE(deaths_->stays(1));
}

TEST_F(Death, IsReportedToTheLastCallbackThatWasSet) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  proxy->setDeathCallback(note("first"));
  proxy->setDeathCallback(note("second"));

  service.reset();

  ASSERT_TRUE(deaths_->waitFor(1));
  EXPECT_TRUE(deaths_->stays(1));
  EXPECT_THAT(deaths_->items(), ElementsAre("second"));
}

TEST_F(Death, OfAReleasedInterfaceIsNotReported) {
  auto service = std::make_unique<TestService>();
  ProxyRef proxy = proxyOf();
  proxy->setDeathCallback(note());
  proxy.reset();

  service.reset();

  EXPECT_TRUE(deaths_->stays(0));
}

// The service goes while the interface is being made: the death is reported, or there is no
// interface.
TEST_F(Death, IsNeverMissedWhileAnInterfaceIsMade) {
  std::size_t made = 0;
  for (int round = 0; round < 60; ++round) {
    auto service = std::make_unique<TestService>();
    std::thread killer([&] {
      std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
      service.reset();
    });

    const ProxyRef proxy =
        manager().getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
    if (proxy) {
      proxy->setDeathCallback(note());
      ++made;
    }

    killer.join();
    ASSERT_TRUE(deaths_->waitFor(made)) << "in round " << round;
  }
  EXPECT_TRUE(deaths_->stays(made));
}

// Events that the service sent in time are not lost because it ended before they were handled.
TEST_F(Death, DoesNotOvertakeTheEventsThatWereSentBefore) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  const auto events = std::make_shared<Messages>();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  proxy->addEventListener("velevent", lastingListener([events, gate](const MessageRef& event) {
                            events->add(event);
                            gate->wait();
                          }),
                          QXBUS_SECURITY_SAME_USER_OR_ROOT);
  proxy->setDeathCallback(note());

  service->emit("velevent", {std::int32_t{1}});
  service->emit("velevent", {std::int32_t{2}});
  service.reset();
  ASSERT_TRUE(deaths_->waitFor(1));
  gate->open();

  EXPECT_TRUE(events->waitFor(2, Milliseconds(2000)));
  EXPECT_THAT(firstNumbers(*events), ElementsAre(1, 2));
}

// --- A stale interface ---------------------------------------------------------------------------

using StaleInterface = Death;

TEST_F(StaleInterface, DoesNotReachTheNextInstance) {
  auto service = std::make_unique<TestService>();
  const ProxyRef stale = proxyOf();
  stale->setDeathCallback(note());
  service.reset();
  ASSERT_TRUE(deaths_->waitFor(1));
  TestService next;
  const auto replies = std::make_shared<Messages>();

  const MessageRef reply = call(*stale, "hold", {}, 2000);
  stale->callWithReply(
      messageTo(*stale, "hold"), [replies](const MessageRef& each) { replies->add(each); }, 2000);

  EXPECT_THAT(reply, IsDisconnected());
  ASSERT_TRUE(replies->waitFor(1));
  EXPECT_THAT(replies->items(), ElementsAre(IsDisconnected()));
  EXPECT_EQ(next.held(), 0u);
}

// Not even in the moment before the death is known.
TEST_F(StaleInterface, DoesNotReachTheNextInstanceInTheMomentOfTheChange) {
  for (int round = 0; round < 30; ++round) {
    auto service = std::make_unique<TestService>();
    const ProxyRef stale = proxyOf();
    service.reset();
    const TestService next;

    EXPECT_THAT(call(*stale, "hold", {}, 2000), IsDisconnected());
    EXPECT_EQ(next.held(), 0u);
  }
}

TEST_F(StaleInterface, DoesNotReceiveTheEventsOfTheNextInstance) {
  auto service = std::make_unique<TestService>();
  const ProxyRef stale = proxyOf();
  const auto events = std::make_shared<Messages>();
  stale->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);
  service->emit("velevent", {std::int32_t{1}});
  ASSERT_TRUE(events->waitFor(1));
  service.reset();

  TestService next;
  const ProxyRef fresh = proxyOf();
  const auto freshEvents = std::make_shared<Messages>();
  fresh->addEventListener("velevent", lastingListener([freshEvents](const MessageRef& event) {
                            freshEvents->add(event);
                          }),
                          QXBUS_SECURITY_SAME_USER_OR_ROOT);
  next.emit("velevent", {std::int32_t{2}});

  ASSERT_TRUE(freshEvents->waitFor(1));
  EXPECT_THAT(firstNumbers(*freshEvents), ElementsAre(2));
  EXPECT_TRUE(events->stays(1));
}

// The former owner of the name is still there, and would answer.
TEST_F(StaleInterface, OfAReplacedOwnerMakesNoCall) {
  NEEDS_DAEMON();
  RawPeer first(bus().address());
  RawPeer second(bus().address());
  ASSERT_TRUE(first.own(kVelName, DBUS_NAME_FLAG_ALLOW_REPLACEMENT));
  const ProxyRef stale = proxyOf();
  const auto events = std::make_shared<Messages>();
  stale->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);
  stale->setDeathCallback(note());
  ASSERT_TRUE(second.own(kVelName, DBUS_NAME_FLAG_REPLACE_EXISTING));
  ASSERT_TRUE(deaths_->waitFor(1));

  const auto begun = TestClock::now();
  EXPECT_THAT(call(*stale, "echo", {}, 10000), IsDisconnected());
  EXPECT_LT(since(begun), Milliseconds(5000));

  second.emit(kVelPath, kVelName, "velevent", nativeInt32(2));
  second.sync();
  EXPECT_TRUE(events->stays(0));
}

}  // namespace
