// Who may stand behind a service: this user or root, and nobody else.

#include <csignal>

#include <unistd.h>

#include "tests/dbus/bus_test.h"

namespace {

using namespace dbustest;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr char kOtherUser[] = "65534";

// Only root can start a service as somebody else.
class AnotherUser : public BusTest {
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

class ThisUser : public BusTest {};

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
  EXPECT_THAT(call(*proxy, "echo", {}, 2000), IsFailure());
}

TEST_F(ThisUser, IsHeardToItsLastWord) {
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
