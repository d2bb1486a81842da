// The threads that handlers run on, and which of them wait for each other.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <numeric>
#include <set>
#include <thread>

#include "tests/dbus/from_a_handler.h"

namespace {

using namespace dbustest;
using testing::ElementsAreArray;
using ThreadIds = Record<std::thread::id>;

class HandlersOverDBus : public DBusTest {};

TEST_F(HandlersOverDBus, RunOnNoThreadOfACaller) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  const auto threads = std::make_shared<ThreadIds>();
  const auto note = [threads](const MessageRef&) { threads->add(std::this_thread::get_id()); };
  const std::string broadcast = newBroadcastName();

  proxy->addEventListener("velevent", lastingListener(note), QXBUS_SECURITY_SAME_USER_OR_ROOT);
  service->emit("velevent", {});
  ASSERT_TRUE(threads->waitFor(1));
  manager().addEventListener(broadcast, lastingListener(note), QXBUS_SECURITY_SAME_USER_OR_ROOT);
  service->host().broadcast(broadcast, {});
  ASSERT_TRUE(threads->waitFor(2));
  proxy->callWithReply(messageTo(*proxy, "echo"), note, 10000);
  ASSERT_TRUE(threads->waitFor(3));
  proxy->setDeathCallback([note] { note(nullptr); });
  service.reset();
  ASSERT_TRUE(threads->waitFor(4));

  EXPECT_THAT(threads->items(), testing::Each(testing::Ne(std::this_thread::get_id())));
}

// Signals go to a thread that does not block them: only the client's are left.
TEST_F(HandlersOverDBus, LeaveSignalsToTheClientAndTheirThreadsHaveNames) {
  NEEDS_DAEMON();
  Process process(helper({BUS_PROCESS, "signal", "QXBUS_ADDRESS=" + bus().address()}));
  const std::string names = process.readLine();
#if defined(__linux__)
  EXPECT_EQ(names, "qxbus-death qxbus-done qxbus-event qxbus-io qxbus-service");
#endif

  process.signal(SIGTERM);

  EXPECT_EQ(process.readLine(), "SIGTERM");
  EXPECT_EQ(process.wait().status, 0);
}

// A failure that is known at once is still reported on a thread of the bus.
TEST_F(HandlersOverDBus, OfWhatHasFailedAlreadyRunOutsideTheCall) {
  auto service = std::make_unique<TestService>();
  const ProxyRef proxy = proxyOf();
  service.reset();
  ASSERT_TRUE(waitUntil([&] { return !manager().isServiceRegistered("vel"); }));
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto threads = std::make_shared<ThreadIds>();
  const auto waitAndNote = [gate, threads] {
    gate->wait();
    threads->add(std::this_thread::get_id());
  };

  proxy->setDeathCallback(waitAndNote);
  proxy->callWithReply(
      messageTo(*proxy, "echo"), [=](const MessageRef&) { waitAndNote(); }, 1000);

  EXPECT_EQ(threads->size(), 0u);
  gate->open();
  ASSERT_TRUE(threads->waitFor(2));
  EXPECT_THAT(threads->items(), testing::Each(testing::Ne(std::this_thread::get_id())));
}

TEST_F(HandlersOverDBus, RunOutsideAddEventListenerWhileEventsKeepComing) {
  TestService service;
  const ProxyRef proxy = proxyOf();
  const auto threads = std::make_shared<ThreadIds>();
  std::atomic<bool> stop{false};
  std::thread emitter([&] {
    while (!stop) {
      service.emit("velevent", {});
      std::this_thread::sleep_for(Milliseconds(1));
    }
  });

  for (int i = 0; i < 50; ++i) {
    QXBusEventCallback* const listener =
        lastingListener([threads](const MessageRef&) { threads->add(std::this_thread::get_id()); });
    proxy->addEventListener("velevent", listener, QXBUS_SECURITY_ANY_USER);
    proxy->removeEventListener("velevent", listener);
  }
  proxy->addEventListener("velevent", lastingListener([threads](const MessageRef&) {
                            threads->add(std::this_thread::get_id());
                          }),
                          QXBUS_SECURITY_ANY_USER);
  const bool came = threads->waitFor(1);
  stop = true;
  emitter.join();

  EXPECT_TRUE(came);
  EXPECT_THAT(threads->items(), testing::Each(testing::Ne(std::this_thread::get_id())));
}

TEST_F(HandlersOverDBus, ReceiveEventsOfOneSenderInOrderAndOneAtATime) {
  TestService service;
  const ProxyRef proxy = proxyOf();
  const auto events = std::make_shared<Messages>();
  const auto running = std::make_shared<std::atomic<int>>(0);
  const auto most = std::make_shared<std::atomic<int>>(0);
  const std::string broadcast = newBroadcastName();
  QXBusEventCallback* const listener = lastingListener([=](MessageRef event) {
    *most = std::max(most->load(), ++*running);
    std::this_thread::yield();
    events->add(std::move(event));
    --*running;
  });
  proxy->addEventListener("velevent", listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  manager().addEventListener(broadcast, listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  constexpr int kEvents = 600;

  for (std::int32_t i = 0; i < kEvents; i += 2) {
    service.emit("velevent", {i});
    service.host().broadcast(broadcast, {i + 1});
  }

  ASSERT_TRUE(events->waitFor(kEvents));
  std::vector<std::int32_t> inOrder(kEvents);
  std::iota(inOrder.begin(), inOrder.end(), 0);
  EXPECT_THAT(firstNumbers(*events), ElementsAreArray(inOrder));
  EXPECT_EQ(*most, 1);
}

// Everything a client may be waiting for arrives while a handler of one kind stands still.
class BlockedHandler : public DBusTest {
 protected:
  void expectEverythingElseWorks() {
    const ProxyRef proxy = proxyOf();
    EXPECT_THAT(call(*proxy, "echo", {std::int32_t{7}}), IsReply());
    EXPECT_TRUE(manager().isServiceRegistered("vel"));
  }
  void expectEventsArrive() {
    const ProxyRef proxy = proxyOf();
    const auto events = std::make_shared<Messages>();
    const auto note = [events](const MessageRef& event) { events->add(event); };
    const std::string broadcast = newBroadcastName();
    proxy->addEventListener("velevent", lastingListener(note), QXBUS_SECURITY_ANY_USER);
    manager().addEventListener(broadcast, lastingListener(note), QXBUS_SECURITY_ANY_USER);
    service_.emit("velevent", {});
    service_.host().broadcast(broadcast, {});
    EXPECT_TRUE(events->waitFor(2));
  }
  void expectCompletionsArrive() {
    const ProxyRef proxy = proxyOf();
    const auto replies = std::make_shared<Messages>();
    const auto note = [replies](const MessageRef& reply) { replies->add(reply); };
    proxy->callWithReply(messageTo(*proxy, "echo"), note, 10000);
    proxy->callWithReply(messageTo(*proxy, "hold"), note, 20);
    EXPECT_TRUE(replies->waitFor(2));
  }
  void expectDeathsAreReported() {
    auto mortal = std::make_unique<TestService>("othermortal");
    const ProxyRef proxy = proxyOf("othermortal");
    const auto deaths = std::make_shared<Gate>();
    proxy->setDeathCallback([deaths] { deaths->open(); });
    mortal.reset();
    EXPECT_TRUE(deaths->wait());
  }

  TestService service_;
};

TEST_F(BlockedHandler, OfADeathHoldsUpNothing) {
  auto mortal = std::make_unique<TestService>("mortal");
  const ProxyRef proxy = proxyOf("mortal");
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto entered = std::make_shared<Gate>();
  proxy->setDeathCallback([=] {
    entered->open();
    gate->wait(Milliseconds(60000));
  });
  mortal.reset();
  ASSERT_TRUE(entered->wait());

  expectEverythingElseWorks();
  expectEventsArrive();
  expectCompletionsArrive();
  expectDeathsAreReported();
  EXPECT_FALSE(gate->isOpen());
}

TEST_F(BlockedHandler, OfAnEventHoldsUpOnlyEvents) {
  const ProxyRef proxy = proxyOf();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto entered = std::make_shared<Gate>();
  proxy->addEventListener("velevent", lastingListener([=](const MessageRef&) {
                            entered->open();
                            gate->wait(Milliseconds(60000));
                          }),
                          QXBUS_SECURITY_ANY_USER);
  service_.emit("velevent", {});
  ASSERT_TRUE(entered->wait());

  expectEverythingElseWorks();
  expectCompletionsArrive();
  expectDeathsAreReported();
  EXPECT_FALSE(gate->isOpen());
}

TEST_F(BlockedHandler, OfACompletionHoldsUpOnlyCompletions) {
  const ProxyRef proxy = proxyOf();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto entered = std::make_shared<Gate>();
  proxy->callWithReply(
      messageTo(*proxy, "echo"),
      [=](const MessageRef&) {
        entered->open();
        gate->wait(Milliseconds(60000));
      },
      10000);
  ASSERT_TRUE(entered->wait());

  expectEverythingElseWorks();
  expectEventsArrive();
  expectDeathsAreReported();
  EXPECT_FALSE(gate->isOpen());
}

// libdbus reads no more when the messages that are kept come to 63 MB.
constexpr std::int32_t kLargeMessages = 90;
// A slow machine takes a while to move them.
constexpr int kLargeTimeoutMs = 60000;
const std::string& largeText() {
  static const std::string text(kMegabyte, 'x');
  return text;
}

TEST_F(BlockedHandler, OfAnEventHoldsUpNothingHoweverMuchArrives) {
  const ProxyRef proxy = proxyOf();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto sizes = std::make_shared<Record<std::size_t>>();
  proxy->addEventListener("velevent", lastingListener([=](const MessageRef& event) {
                            gate->wait(Milliseconds(2 * kLargeTimeoutMs));
                            sizes->add(event->getString(0).size());
                          }),
                          QXBUS_SECURITY_ANY_USER);
  for (std::int32_t i = 0; i < kLargeMessages; ++i) {
    service_.emit("velevent", {largeText()});
  }

  // This reply comes after all of them.
  EXPECT_THAT(call(*proxy, "echo", {}, kLargeTimeoutMs), IsReply());
  expectEverythingElseWorks();
  expectCompletionsArrive();
  expectDeathsAreReported();
  EXPECT_FALSE(gate->isOpen());
  gate->open();
  EXPECT_TRUE(sizes->waitFor(kLargeMessages));
  EXPECT_THAT(sizes->items(), testing::Each(kMegabyte));
}

TEST_F(BlockedHandler, OfACompletionHoldsUpNothingHoweverMuchArrives) {
  const ProxyRef proxy = proxyOf();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto sizes = std::make_shared<Record<std::size_t>>();
  for (std::int32_t i = 0; i < kLargeMessages; ++i) {
    proxy->callWithReply(
        messageTo(*proxy, "echo", {largeText()}),
        [=](const MessageRef& reply) {
          gate->wait(Milliseconds(2 * kLargeTimeoutMs));
          sizes->add(reply->getString(0).size());
        },
        kLargeTimeoutMs);
  }

  // This reply comes after all of them.
  EXPECT_THAT(call(*proxy, "echo", {}, kLargeTimeoutMs), IsReply());
  expectEverythingElseWorks();
  expectEventsArrive();
  expectDeathsAreReported();
  EXPECT_FALSE(gate->isOpen());
  gate->open();
  EXPECT_TRUE(sizes->waitFor(kLargeMessages));
  EXPECT_THAT(sizes->items(), testing::Each(kMegabyte));
}

// More events than may wait. Each takes a little more than its megabyte.
constexpr std::int32_t kTooMany = 280;
constexpr std::size_t kMostWaiting = 256;

TEST_F(BlockedHandler, OfAnEventLosesTheEventsThatFillTheMemory) {
  const ProxyRef proxy = proxyOf();
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  const auto numbers = std::make_shared<Record<std::int32_t>>();
  proxy->addEventListener("velevent", lastingListener([=](const MessageRef& event) {
                            gate->wait(Milliseconds(2 * kLargeTimeoutMs));
                            numbers->add(event->getInt32(0));
                          }),
                          QXBUS_SECURITY_ANY_USER);
  for (std::int32_t i = 0; i < kTooMany; ++i) {
    service_.emit("velevent", {i, largeText()});
    if (i % 10 == 0) {
      call(*proxy, "echo", {}, kLargeTimeoutMs);
    }
  }
  EXPECT_THAT(call(*proxy, "echo", {}, kLargeTimeoutMs), IsReply());
  EXPECT_THAT(loggedLines(), testing::Contains(testing::HasSubstr("events are dropped")));
  expectEverythingElseWorks();

  gate->open();

  // The first ones, in order, up to the bound.
  ASSERT_TRUE(numbers->waitFor(kMostWaiting - 10));
  EXPECT_TRUE(waitUntil([] {
    const std::vector<std::string> lines = loggedLines();
    return std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
      return line.find("events dropped") != std::string::npos;
    });
  }));
  // Its event comes behind the last of them, and is one more.
  expectEventsArrive();
  std::vector<std::int32_t> kept = numbers->items();
  kept.pop_back();
  std::vector<std::int32_t> expected(kept.size());
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_LE(kept.size(), kMostWaiting);
  EXPECT_THAT(kept, ElementsAreArray(expected));
}

TEST_F(BlockedHandler, OfAServiceRefusesTheCallsThatFillTheMemory) {
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  TestService blocked("blocked", {{"wait", [gate](qxbus::Request request) {
                                     gate->wait(Milliseconds(2 * kLargeTimeoutMs));
                                     request.reply({});
                                   }}});
  const ProxyRef proxy = proxyOf("blocked");
  const auto replies = std::make_shared<Messages>();
  for (std::int32_t i = 0; i < kTooMany; ++i) {
    proxy->callWithReply(
        messageTo(*proxy, "wait", {largeText()}),
        [replies](const MessageRef& reply) { replies->add(reply); }, kLargeTimeoutMs);
  }

  ASSERT_TRUE(replies->waitFor(kTooMany - kMostWaiting - 1, Milliseconds(kLargeTimeoutMs)));
  EXPECT_THAT(replies->items(), testing::Each(IsError()));
  EXPECT_THAT(replies->items().front()->getString(0), testing::HasSubstr("fill the memory"));
  gate->open();
  ASSERT_TRUE(replies->waitFor(kTooMany));
  const std::vector<MessageRef> all = replies->items();
  EXPECT_GE(static_cast<std::size_t>(std::count_if(
                all.begin(), all.end(),
                [](const MessageRef& each) { return each->type() == MESSAGE_TYPE_METHOD_RETURN; })),
            kMostWaiting - 1);
  EXPECT_THAT(call(*proxy, "wait"), IsReply());
}

// The other side: calls that need no handler are answered while all handlers wait.
TEST_F(BlockedHandler, OfAServiceHoldsUpNoReadingHoweverMuchArrives) {
  const auto gate = std::make_shared<Gate>();
  const OpenAtScopeExit openAtScopeExit(gate);
  TestService blocked("blocked", {{"wait", [gate](qxbus::Request request) {
                                     gate->wait(Milliseconds(2 * kLargeTimeoutMs));
                                     request.reply(request.arguments());
                                   }}});
  const ProxyRef proxy = proxyOf("blocked");
  const auto replies = std::make_shared<Record<bool>>();
  for (std::int32_t i = 0; i < kLargeMessages; ++i) {
    proxy->callWithReply(
        messageTo(*proxy, "wait", {largeText()}),
        [replies](const MessageRef& reply) { replies->add(reply->getString(0) == largeText()); },
        kLargeTimeoutMs);
  }

  EXPECT_THAT(call(*proxy, "noSuchMethod", {}, kLargeTimeoutMs)->getString(0),
              testing::HasSubstr("has no method"));
  EXPECT_FALSE(gate->isOpen());
  gate->open();
  EXPECT_TRUE(replies->waitFor(kLargeMessages));
  EXPECT_THAT(replies->items(), testing::Each(true));
}

// A lock that is held while calling out would keep the other thread, and so the handler, waiting.
using NoLockIsHeld = FromAHandler;

TEST_P(NoLockIsHeld, SoAnotherThreadMayDoAnythingMeanwhile) {
  TestService service;
  const ProxyRef proxy = proxyOf();
  MessageRef reply;
  ProxyRef another;
  bool registered = false;

  const bool finished = run([&] {
    std::thread other([&] {
      reply = call(*proxy, "echo");
      proxy->callWithReply(
          messageTo(*proxy, "echo"), [](const MessageRef&) {}, 1000);
      registered = manager().isServiceRegistered("vel");
      another = manager().getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
      QXBusEventCallback* const listener = lastingListener([](const MessageRef&) {});
      manager().addEventListener(newBroadcastName(), listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
      for (const ProxyRef& each : {proxy, trigger()}) {
        each->addEventListener("velevent", listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
        each->removeEventListener("velevent", listener);
        each->setDeathCallback([] {});
      }
      trigger().reset();
    });
    other.join();
  });

  ASSERT_TRUE(finished);
  EXPECT_THAT(reply, IsReply());
  EXPECT_TRUE(registered);
  EXPECT_TRUE(another);
}

INSTANTIATE_TEST_SUITE_P(InEachHandler, NoLockIsHeld, testing::ValuesIn(kEachKind), nameOf);

}  // namespace
