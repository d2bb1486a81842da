// A handler may use the bus that runs it in every way.

#include <thread>

#include "tests/dbus/from_a_handler.h"

namespace {

using namespace dbustest;
using testing::ElementsAre;

class InsideAHandler : public FromAHandler {
 protected:
  TestService service_;
  ProxyRef proxy_ = proxyOf();
};

TEST_P(InsideAHandler, ABlockingCallGetsItsReply) {
  MessageRef reply;
  bool registered = false;

  ASSERT_TRUE(run([&] {
    reply = call(*proxy_, "echo", {std::int32_t{7}});
    registered = manager().isServiceRegistered("vel");
  }));

  ASSERT_THAT(reply, IsReply());
  EXPECT_EQ(firstNumber(reply), 7);
  EXPECT_TRUE(registered);
}

TEST_P(InsideAHandler, ABlockingCallEndsAtItsDeadline) {
  MessageRef reply;

  ASSERT_TRUE(run([&] { reply = call(*proxy_, "hold", {}, 50); }));

  EXPECT_THAT(reply, IsNoReply());
}

TEST_P(InsideAHandler, AnAsynchronousCallCanBeMade) {
  const auto replies = std::make_shared<Messages>();

  ASSERT_TRUE(run([&] {
    proxy_->callWithReply(
        messageTo(*proxy_, "echo"), [replies](const MessageRef& reply) { replies->add(reply); },
        10000);
  }));

  ASSERT_TRUE(replies->waitFor(1));
  EXPECT_THAT(replies->items(), ElementsAre(IsReply()));
}

TEST_P(InsideAHandler, ListenersCanBeAddedAndRemoved) {
  const auto added = std::make_shared<Messages>();
  const auto removed = std::make_shared<Messages>();
  const std::string broadcast = newBroadcastName();
  QXBusEventCallback* const goes =
      lastingListener([removed](const MessageRef& event) { removed->add(event); });
  QXBusEventCallback* const comes =
      lastingListener([added](const MessageRef& event) { added->add(event); });
  proxy_->addEventListener("velevent", goes, QXBUS_SECURITY_ANY_USER);

  ASSERT_TRUE(run([&] {
    proxy_->addEventListener("velevent", comes, QXBUS_SECURITY_SAME_USER_OR_ROOT);
    proxy_->removeEventListener("velevent", goes);
    manager().addEventListener(broadcast, comes, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  }));
  service_.emit("velevent", {std::int32_t{1}});
  service_.host().broadcast(broadcast, {std::int32_t{2}});

  ASSERT_TRUE(added->waitFor(2));
  EXPECT_THAT(firstNumbers(*added), ElementsAre(1, 2));
  EXPECT_EQ(removed->size(), 0u);
}

TEST_P(InsideAHandler, ADeathCallbackCanBeSet) {
  const auto mortal =
      std::make_shared<std::unique_ptr<TestService>>(std::make_unique<TestService>("mortal"));
  const ProxyRef lives = proxyOf("mortal");
  const ProxyRef diesFirst = proxyOf("mortal");
  const auto deaths = std::make_shared<Record<std::string>>();

  ASSERT_TRUE(run([&] {
    lives->setDeathCallback([deaths] { deaths->add("set before the death"); });
    mortal->reset();
    deaths->waitFor(1);
    diesFirst->setDeathCallback([deaths] { deaths->add("set after the death"); });
  }));

  ASSERT_TRUE(deaths->waitFor(2));
  EXPECT_THAT(deaths->items(), ElementsAre("set before the death", "set after the death"));
}

TEST_P(InsideAHandler, InterfacesCanBeMadeUsedAndReleased) {
  MessageRef reply;
  const auto events = std::make_shared<Messages>();

  ASSERT_TRUE(run([&] {
    ProxyRef made = proxyOf();
    QXBusEventCallback* const listener =
        lastingListener([events](const MessageRef& event) { events->add(event); });
    made->addEventListener("velevent", listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
    made->setDeathCallback([] {});
    reply = call(*made, "echo");
    made.reset();
    made = proxyOf();
    made.reset();
  }));
  service_.emit("velevent", {});

  EXPECT_THAT(reply, IsReply());
  EXPECT_TRUE(events->stays(0));
  EXPECT_THAT(call(*proxy_, "echo"), IsReply());
}

TEST_P(InsideAHandler, TheLastReferenceToItsOwnInterfaceCanBeReleased) {
  std::weak_ptr<QXBusProxyInterface> watched = trigger();
  bool released = false;

  ASSERT_TRUE(run([&] {
    trigger().reset();
    released = watched.expired();
  }));

  EXPECT_TRUE(released);
  EXPECT_THAT(call(*proxy_, "echo"), IsReply());
}

TEST_P(InsideAHandler, AServiceCanBeAskedForByANameThatIsNotThere) {
  ProxyRef none = proxy_;

  ASSERT_TRUE(run([&] {
    none = manager().getServiceProxyInterface("absent", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
  }));

  EXPECT_FALSE(none);
}

// If releasing waited for the handler, each would wait for the other.
TEST_P(InsideAHandler, ReleasingAndRemovingElsewhereDoesNotWaitForIt) {
  const auto entered = std::make_shared<Gate>();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto left = std::make_shared<Gate>();
  QXBusEventCallback* const listener = lastingListener([](const MessageRef&) {});
  trigger()->addEventListener("velevent", listener, QXBUS_SECURITY_ANY_USER);
  start([entered, gate, left] {
    entered->open();
    gate->wait(Milliseconds(60000));
    left->open();
  });
  ASSERT_TRUE(entered->wait());

  const auto begun = TestClock::now();
  trigger()->removeEventListener("velevent", listener);
  trigger().reset();

  EXPECT_LT(since(begun), Milliseconds(10000));
  EXPECT_FALSE(left->isOpen());
  gate->open();
  EXPECT_TRUE(left->wait());
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, InsideAHandler, testing::ValuesIn(kEachKind), nameOf);

// --- Snapshots -----------------------------------------------------------------------------------

class DispatchOverASnapshot : public DBusTest {
 protected:
  TestService service_;
  ProxyRef proxy_ = proxyOf();
};

TEST_F(DispatchOverASnapshot, LeavesOutListenersThatAreAddedMeanwhile) {
  const auto calls = std::make_shared<Record<std::string>>();
  QXBusEventCallback* const second =
      lastingListener([calls](const MessageRef&) { calls->add("second"); });
  proxy_->addEventListener(
      "velevent", lastingListener([calls, second, proxy = proxy_.get()](const MessageRef&) {
        calls->add("first");
        if (calls->size() == 1) {
          proxy->addEventListener("velevent", second, QXBUS_SECURITY_ANY_USER);
        }
      }),
      QXBUS_SECURITY_ANY_USER);

  service_.emit("velevent", {});
  ASSERT_TRUE(calls->waitFor(1));
  ASSERT_TRUE(calls->stays(1));
  service_.emit("velevent", {});

  ASSERT_TRUE(calls->waitFor(3));
  EXPECT_THAT(calls->items(), ElementsAre("first", "first", "second"));
}

// A list that grows during its dispatch would move, or never end.
TEST_F(DispatchOverASnapshot, OfBroadcastsLeavesOutListenersThatAreAddedMeanwhile) {
  const auto calls = std::make_shared<Record<int>>();
  const std::string broadcast = newBroadcastName();
  manager().addEventListener(
      broadcast, lastingListener([calls, broadcast](const MessageRef&) {
        calls->add(0);
        for (int i = 1; i <= 100; ++i) {
          manager().addEventListener(
              broadcast, lastingListener([calls, i](const MessageRef&) { calls->add(i); }),
              QXBUS_SECURITY_ANY_USER);
        }
      }),
      QXBUS_SECURITY_ANY_USER);

  service_.host().broadcast(broadcast, {});
  ASSERT_TRUE(calls->waitFor(1));

  EXPECT_TRUE(calls->stays(1));
}

TEST_F(DispatchOverASnapshot, SurvivesAHandlerThatRemovesEveryListener) {
  const auto calls = std::make_shared<Record<int>>();
  const auto listeners = std::make_shared<std::vector<QXBusEventCallback*>>();
  for (int i = 0; i < 50; ++i) {
    listeners->push_back(
        lastingListener([calls, i, listeners, proxy = proxy_.get()](const MessageRef&) {
          if (i == 0) {
            for (QXBusEventCallback* const listener : *listeners) {
              proxy->removeEventListener("velevent", listener);
            }
          }
          calls->add(i);
        }));
  }
  for (QXBusEventCallback* const listener : *listeners) {
    proxy_->addEventListener("velevent", listener, QXBUS_SECURITY_ANY_USER);
  }

  service_.emit("velevent", {});
  ASSERT_TRUE(calls->waitFor(1));
  ASSERT_TRUE(waitUntil([&] { return calls->stays(calls->size()); }));
  const std::size_t before = calls->size();
  service_.emit("velevent", {});

  EXPECT_TRUE(calls->stays(before));
  EXPECT_EQ(calls->items().front(), 0);
}

}  // namespace
