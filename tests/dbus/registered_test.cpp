// Whether a service is registered, and that asking starts none.

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/raw_peer.h"
#include "tests/dbus/timing.h"

namespace {

using namespace dbustest;

class ServiceOverDBus : public DBusTest {};

TEST_F(ServiceOverDBus, IsAskedForEachTime) {
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  auto service = std::make_unique<TestService>();
  EXPECT_TRUE(manager().isServiceRegistered("vel"));
  service.reset();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  service = std::make_unique<TestService>();
  EXPECT_TRUE(manager().isServiceRegistered("vel"));
}

TEST_F(ServiceOverDBus, ThatIsAbsentHasNoInterface) {
  EXPECT_FALSE(manager().getServiceProxyInterface("absent", kSafe, 1));
  EXPECT_FALSE(manager().isServiceRegistered("absent"));
}

TEST_F(ServiceOverDBus, WithANameThatDBusDoesNotAllowIsNotThere) {
  for (const std::string& name :
       {std::string(), std::string("with blank"), std::string("a-b"), std::string(".."),
        std::string("nul\0l", 5), std::string("\xC3"), std::string(300, 'a'), std::string("1a")}) {
    EXPECT_FALSE(manager().isServiceRegistered(name)) << name;
    EXPECT_FALSE(manager().getServiceProxyInterface(name, kSafe, 1)) << name;
  }
}

TEST_F(ServiceOverDBus, HasManyInterfacesIfNeedBe) {
  const TestService service;
  const ProxyRef first = proxyOf();
  ProxyRef second = proxyOf();

  EXPECT_NE(first, second);
  second.reset();

  EXPECT_THAT(call(*first, "echo"), IsReply());
}

// Releasing one must not end the bus's signals for the other.
TEST_F(ServiceOverDBus, KeepsItsEventsWhenOneOfTwoInterfacesIsReleased) {
  auto service = std::make_unique<TestService>();
  const ProxyRef kept = proxyOf();
  ProxyRef released = proxyOf();
  const auto events = std::make_shared<Messages>();
  const auto death = std::make_shared<Gate>();
  kept->addEventListener("velevent",
                         lastingListener([events](const MessageRef& event) { events->add(event); }),
                         kSafe);
  kept->setDeathCallback([death] { death->open(); });

  released.reset();

  EXPECT_THAT(call(*kept, "echo"), IsReply());
  service->emit("velevent", {});
  EXPECT_TRUE(events->waitFor(1));
  service.reset();
  EXPECT_TRUE(death->wait());
}

// Writes another value of a limit into the configuration of the bus, which is then started again.
void restartWithLimit(PrivateBus& bus, const std::string& name, const std::string& value) {
  const std::filesystem::path path = bus.directory() / "bus.conf";
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  const std::regex limit("(<limit name=\"" + name + "\">)[0-9]+");
  std::ofstream(path) << std::regex_replace(text.str(), limit, "$01" + value);
  bus.kill();
  bus.start();
}

// An interface that gets no rule of its own must not remove the same rule of another one.
TEST_F(ServiceOverDBus, KeepsItsEventsAndItsDeathWhenTheBusRefusesAnotherInterface) {
  NEEDS_DAEMON();
  // One rule for broadcasts and two for each interface.
  restartWithLimit(bus(), "max_match_rules_per_connection", "4");
  auto service = std::make_unique<TestService>();
  const ProxyRef kept = proxyOf();
  const auto events = std::make_shared<Messages>();
  const auto death = std::make_shared<Gate>();
  kept->addEventListener("velevent",
                         lastingListener([events](const MessageRef& event) { events->add(event); }),
                         kSafe);
  kept->setDeathCallback([death] { death->open(); });

  EXPECT_FALSE(manager().getServiceProxyInterface("vel", kSafe, 1));
  EXPECT_FALSE(manager().getServiceProxyInterface("vel", kSafe, 1));

  service->emit("velevent", {});
  EXPECT_TRUE(events->waitFor(1));
  service.reset();
  EXPECT_TRUE(death->wait());
  restartWithLimit(bus(), "max_match_rules_per_connection", "50000");
}

// A bus starts a service that a client calls by its name.
TEST_F(ServiceOverDBus, IsNeverStartedByAsking) {
  NEEDS_DAEMON();
  const std::filesystem::path witness = bus().directory() / "started";
  bus().kill();
  std::ofstream(bus().serviceDirectory() / "qx.bus.startable.service")
      << "[D-BUS Service]\nName=qx.bus.startable\nExec=/bin/sh -c \"touch " << witness.string()
      << "; exit 1\"\n";
  bus().start();
  ASSERT_FALSE(manager().isServiceRegistered("startable"));

  EXPECT_FALSE(manager().getServiceProxyInterface("startable", kSafe, 1));
  auto service = std::make_unique<TestService>("startable");
  const ProxyRef proxy = proxyOf("startable");
  service.reset();
  EXPECT_THAT(call(*proxy, "echo", {}, 2000), IsDisconnected());
  EXPECT_FALSE(manager().isServiceRegistered("startable"));
  std::this_thread::sleep_for(kSilence);
  EXPECT_FALSE(std::filesystem::exists(witness));

  // That the file can appear at all: another client has the service started.
  RawPeer other(bus().address());
  other.call("qx.bus.startable", "/", "qx.bus.startable", "start");
  EXPECT_TRUE(std::filesystem::exists(witness));
  std::filesystem::remove(bus().serviceDirectory() / "qx.bus.startable.service");
  std::filesystem::remove(witness);
}

class HangingBus : public DBusTest {
 protected:
  ~HangingBus() override { bus().resume(); }

  static Milliseconds timeToFindNoService() {
    return timeOf([] { EXPECT_FALSE(manager().isServiceRegistered("vel")); });
  }
};

TEST_F(HangingBus, MeansAfterTwoSecondsThatTheServiceIsNotThere) {
  const TestService service;
  const ProxyRef proxy = proxyOf();
  bus().hang();

  const Milliseconds toFind = measuredBelow(Milliseconds(2500), timeToFindNoService);
  EXPECT_GE(toFind, Milliseconds(1000));
  EXPECT_LT(toFind, Milliseconds(2500));

  const Milliseconds toCall = measuredBelow(Milliseconds(1000), [&proxy] {
    return timeOf([&proxy] { EXPECT_THAT(call(*proxy, "echo", {}, 100), IsNoReply()); });
  });
  EXPECT_GE(toCall, Milliseconds(100));
  EXPECT_LT(toCall, Milliseconds(1000));

  bus().resume();
  EXPECT_TRUE(manager().isServiceRegistered("vel"));
  EXPECT_THAT(call(*proxy, "echo"), IsReply());
}

// The bus takes the connection and then says nothing.
TEST_F(HangingBus, ThatHasStartedAnewMeansTheSame) {
  bus().kill();
  bus().start();
  bus().hang();

  EXPECT_LT(measuredBelow(Milliseconds(2500), timeToFindNoService), Milliseconds(2500));
  bus().resume();
  const TestService service;
  EXPECT_TRUE(manager().isServiceRegistered("vel"));
}

// Those who come while an attempt to connect is made wait for that one.
TEST_F(HangingBus, ThatHasStartedAnewHoldsUpEachOfSeveralThreadsForTwoSecondsAtMost) {
  bus().kill();
  bus().start();
  bus().hang();
  const Milliseconds longest = measuredBelow(Milliseconds(2500), [] {
    Record<Milliseconds> took;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&took] { took.add(timeToFindNoService()); });
      std::this_thread::sleep_for(Milliseconds(500));
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    return longestOf(took.items());
  });

  EXPECT_LT(longest, Milliseconds(2500));
}

}  // namespace
