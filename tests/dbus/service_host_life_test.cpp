// How the service side begins and ends.

#include <atomic>
#include <thread>

#include "bus/dbus/link.h"
#include "tests/dbus/dbus_test.h"
#include "tests/dbus/libdbus_messages.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::AllOf;
using testing::HasSubstr;

class LifeOfAServiceHost : public DBusTest {};

std::string reasonNotToRun(const std::string& address, const std::string& name) {
  try {
    const qxbus::ServiceHost host(address, name, {});
    return "it runs";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST_F(LifeOfAServiceHost, SaysWhyItCannotRun) {
  NEEDS_DAEMON();
  const TestService service;

  EXPECT_THAT(reasonNotToRun("", "vel"), AllOf(HasSubstr("qx.bus.vel"), HasSubstr("taken")));
  EXPECT_THAT(reasonNotToRun("", "no name"), HasSubstr("no name"));
  EXPECT_THAT(reasonNotToRun("", ""), testing::Ne(""));
  EXPECT_THAT(reasonNotToRun("unix:path=" + (bus().directory() / "nothing").string(), "vel"),
              HasSubstr("nothing"));
  EXPECT_THAT(reasonNotToRun("nonsense", "vel"), HasSubstr("nonsense"));
  EXPECT_EQ(reasonNotToRun("", "another"), "it runs");
}

// A caller that waits for the name must not find an empty house.
TEST_F(LifeOfAServiceHost, AnswersFromTheMomentItHasItsName) {
  NEEDS_DAEMON();
  RawPeer client(bus().address());
  for (int round = 0; round < 50; ++round) {
    std::unique_ptr<TestService> service;
    std::thread starter([&] { service = std::make_unique<TestService>(); });

    std::string error = DBUS_ERROR_SERVICE_UNKNOWN;
    const auto deadline = TestClock::now() + kLongestWait;
    while (error == DBUS_ERROR_SERVICE_UNKNOWN && TestClock::now() < deadline) {
      error = errorNameOf(client.call("qx.bus.vel", "/qx/bus/vel", "qx.bus.vel", "echo"));
    }

    starter.join();
    ASSERT_EQ(error, "") << "in round " << round;
  }
}

TEST_F(LifeOfAServiceHost, CanBeFollowedByAnotherAtOnce) {
  for (int round = 0; round < 20; ++round) {
    const TestService service;
    EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
  }
}

// --- Its end -------------------------------------------------------------------------------------

TEST_F(LifeOfAServiceHost, WaitsAtItsEndForTheHandlerThatRuns) {
  const auto gate = std::make_shared<Gate>();
  const auto entered = std::make_shared<Gate>();
  std::atomic<bool> left{false};
  auto service = std::make_unique<TestService>(
      "vel", std::vector<qxbus::Method>{{"wait", [&, gate, entered](qxbus::Request request) {
                                           entered->open();
                                           gate->wait();
                                           request.reply({});
                                           left = true;
                                         }}});
  const ProxyRef proxy = proxyOf();
  proxy->callWithReply(messageTo(*proxy, "wait"), nullptr, 10000);
  ASSERT_TRUE(entered->wait());
  std::thread opener([gate] {
    std::this_thread::sleep_for(kSilence);
    gate->open();
  });

  service.reset();

  EXPECT_TRUE(left);
  opener.join();
}

// As in a method such as "quit".
TEST_F(LifeOfAServiceHost, CanEndInsideItsHandler) {
  const auto host = std::make_shared<std::unique_ptr<qxbus::ServiceHost>>();
  const auto after = std::make_shared<Record<std::string>>();
  const std::string kept(100, 'k');
  *host = std::make_unique<qxbus::ServiceHost>(
      "", "vel", std::vector<qxbus::Method>{{"quit", [host, after, kept](qxbus::Request request) {
                                               host->reset();
                                               request.reply({kept});
                                               after->add(kept);
                                             }}});

  const ProxyRef proxy = proxyOf();
  proxy->callWithReply(messageTo(*proxy, "quit"), nullptr, 10000);

  ASSERT_TRUE(after->waitFor(1));
  EXPECT_EQ(after->items().front(), kept);
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
}

// More than the socket takes at once.
TEST_F(LifeOfAServiceHost, CanEndInsideItsHandlerBeforeALargeReply) {
  const auto host = std::make_shared<std::unique_ptr<qxbus::ServiceHost>>();
  const std::string large(8 * kMegabyte, 'x');
  *host = std::make_unique<qxbus::ServiceHost>(
      "", "vel", std::vector<qxbus::Method>{{"quit", [host, large](qxbus::Request request) {
                                               host->reset();
                                               request.reply({large});
                                             }}});

  const MessageRef reply = call(*proxyOf(), "quit");

  ASSERT_THAT(reply, IsReply());
  EXPECT_TRUE(reply->getString(0) == large);
}

// Bytes that the bus does not take are not kept for ever.
TEST_F(LifeOfAServiceHost, EndsSoonAfterALastReplyThatTheBusDoesNotTake) {
  NEEDS_DAEMON();
  const auto lost = std::make_shared<Gate>();
  const auto makeHandlers = [lost](const std::weak_ptr<qxbus::Link>&) {
    qxbus::Connection::Handlers handlers;
    handlers.onMessages = [](const std::vector<qxbus::Received>&) {};
    handlers.onLost = [lost] { lost->open(); };
    return handlers;
  };
  auto connected =
      qxbus::Link::connect(bus().address(), "vel", "", makeHandlers, qxbus::deadlineAfter(10000));
  ASSERT_TRUE(connected) << connected.reason();
  std::shared_ptr<qxbus::Link>& link = *connected;
  bus().hang();
  qxbus::wire::MessageWriter signal;
  ASSERT_TRUE(writeSignal(&signal, {std::string(8 * kMegabyte, 'x')}));
  EXPECT_TRUE(link->connection()->send(&signal));

  link.reset();

  EXPECT_TRUE(lost->wait(Milliseconds(10000)));
  bus().resume();
}

TEST_F(LifeOfAServiceHost, MayBeOutlivedByARequest) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  proxy->callWithReply(messageTo(*proxy, "hold"), nullptr, 10000);
  ASSERT_TRUE(service->waitForHeld(1));
  const auto held = service->takeHeld();

  service.reset();
  held->front().reply({std::int32_t{7}});

  EXPECT_FALSE(manager().isServiceRegistered("vel"));
}

TEST_F(LifeOfAServiceHost, ReportsTheLossOfItsBusOnce) {
  NEEDS_DAEMON();
  TestService service;
  const auto lost = std::make_shared<Record<std::thread::id>>();
  service.host().setLostCallback([lost] { lost->add(std::this_thread::get_id()); });

  bus().kill();

  ASSERT_TRUE(lost->waitFor(1));
  EXPECT_TRUE(lost->stays(1));
  EXPECT_NE(lost->items().front(), std::this_thread::get_id());
}

TEST_F(LifeOfAServiceHost, ReportsTheLossOfItsBusAlsoToALateCallback) {
  NEEDS_DAEMON();
  TestService service;
  const auto lost = std::make_shared<Gate>();
  bus().kill();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));

  service.host().setLostCallback([lost] { lost->open(); });

  EXPECT_TRUE(lost->wait());
}

TEST_F(LifeOfAServiceHost, ForgetsItsCallbackBeforeAndAfterTheLoss) {
  NEEDS_DAEMON();
  TestService service;
  const auto lost = std::make_shared<Record<std::string>>();
  service.host().setLostCallback([lost] { lost->add("forgotten"); });
  service.host().setLostCallback(nullptr);
  bus().kill();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));

  service.host().setLostCallback(nullptr);

  EXPECT_TRUE(lost->stays(0));
}

TEST_F(LifeOfAServiceHost, MaySendEventsWhenItsBusIsGone) {
  NEEDS_DAEMON();
  TestService service;
  bus().kill();
  for (int i = 0; i < 1000; ++i) {
    service.emit("velevent", {});
    service.host().broadcast("mountedEvent", {});
  }
  bus().start();

  const TestService next;

  EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
}

TEST_F(LifeOfAServiceHost, EndsWithoutWaitingWhenItsBusIsGone) {
  NEEDS_DAEMON();
  auto service = std::make_unique<TestService>();
  bus().kill();

  const auto begun = TestClock::now();
  service.reset();

  EXPECT_LT(since(begun), Milliseconds(2000));
}

}  // namespace
