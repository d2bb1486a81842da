// Everything at once, for the sanitizers to watch: callers, listeners and interfaces come and go
// while the service dies and returns, and the bus once with it.

#include <atomic>
#include <thread>

#include "tests/dbus/dbus_test.h"

namespace {

using namespace dbustest;

constexpr int kRounds = 60;

class UnderStress : public DBusTest {
 protected:
  struct Counts {
    std::atomic<int> calls{0};
    std::atomic<int> completionsDue{0};
    std::atomic<int> completions{0};
    std::atomic<int> events{0};
    std::atomic<int> deaths{0};
    std::atomic<int> interfaces{0};
    std::atomic<bool> badMessage{false};
  };

  static void check(const std::shared_ptr<Counts>& counts, const MessageRef& reply) {
    if (!reply || (reply->type() != MESSAGE_TYPE_METHOD_RETURN && reply->getString(0).empty())) {
      counts->badMessage = true;
    }
  }

  // One thread of a client, over and over.
  static void useTheService(const std::shared_ptr<Counts>& counts, QXBusEventCallback* listener) {
    manager().isServiceRegistered("vel");
    const ProxyRef proxy = manager().getServiceProxyInterface("vel", kSafe, 1);
    if (!proxy) {
      return;
    }
    ++counts->interfaces;
    proxy->setDeathCallback([counts] { ++counts->deaths; });
    proxy->addEventListener("velevent", listener, kSafe);
    for (std::int32_t i = 0; i < 5; ++i) {
      const MessageRef reply = call(*proxy, "echo", {i}, 1000);
      check(counts, reply);
      if (reply->type() == MESSAGE_TYPE_METHOD_RETURN && reply->getInt32(0) != i) {
        counts->badMessage = true;
      }
      ++counts->calls;
      ++counts->completionsDue;
      proxy->callWithReply(
          messageTo(*proxy, i % 2 == 0 ? "echo" : "hold"),
          [counts, proxy](const MessageRef& each) {
            check(counts, each);
            ++counts->completions;
          },
          5);
    }
    proxy->removeEventListener("velevent", listener);
  }

  void runClients(const std::function<void()>& disturb) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> clients;
    clients.reserve(4);
    QXBusEventCallback* const listener =
        lastingListener([counts = counts_](const MessageRef&) { ++counts->events; });
    for (int i = 0; i < 4; ++i) {
      clients.emplace_back([this, &stop, listener] {
        for (int round = 0; round < kRounds || !stop; ++round) {
          useTheService(counts_, listener);
        }
      });
    }
    disturb();
    stop = true;
    for (std::thread& client : clients) {
      client.join();
    }
  }

  void expectAllIsWell() {
    EXPECT_FALSE(counts_->badMessage);
    EXPECT_GT(counts_->interfaces, 0);
    EXPECT_GT(counts_->calls, 0);
    EXPECT_TRUE(waitUntil([&] { return counts_->completions == counts_->completionsDue; }));
    EXPECT_LE(counts_->deaths, counts_->interfaces);
    if (!isDirect()) {
      bus().start();
    }
    EXPECT_TRUE(waitUntil([] {
      try {
        const TestService service;
        const ProxyRef proxy = manager().getServiceProxyInterface("vel", kSafe, 1);
        return proxy && call(*proxy, "echo")->type() == MESSAGE_TYPE_METHOD_RETURN;
      } catch (const std::runtime_error&) {
        return false;
      }
    }));
  }

  std::shared_ptr<Counts> counts_ = std::make_shared<Counts>();
};

TEST_F(UnderStress, AServiceMayComeAndGo) {
  runClients([] {
    for (int life = 0; life < 12; ++life) {
      TestService service;
      const auto end = TestClock::now() + Milliseconds(40 + life * 5);
      while (TestClock::now() < end) {
        service.emit("velevent", {std::int32_t{life}});
        std::this_thread::sleep_for(Milliseconds(1));
      }
    }
  });

  expectAllIsWell();
}

TEST_F(UnderStress, TheBusMayComeAndGo) {
  NEEDS_DAEMON();
  runClients([] {
    for (int life = 0; life < 4; ++life) {
      TestService service;
      const auto end = TestClock::now() + Milliseconds(120);
      while (TestClock::now() < end) {
        service.emit("velevent", {std::int32_t{life}});
        std::this_thread::sleep_for(Milliseconds(1));
      }
      bus().kill();
      bus().start();
    }
  });

  expectAllIsWell();
}

// Every interface that was made before the death has it reported, once.
TEST_F(UnderStress, NoDeathIsMissedAndNoneIsReportedTwice) {
  const auto deaths = std::make_shared<std::atomic<int>>(0);
  Record<ProxyRef> interfaces;
  for (int life = 0; life < 10; ++life) {
    auto service = std::make_unique<TestService>();
    std::atomic<bool> stop{false};
    std::vector<std::thread> clients;
    clients.reserve(3);
    for (int i = 0; i < 3; ++i) {
      clients.emplace_back([&] {
        while (!stop) {
          const ProxyRef proxy = manager().getServiceProxyInterface("vel", kSafe, 1);
          if (proxy) {
            proxy->setDeathCallback([deaths] { ++*deaths; });
            interfaces.add(proxy);
          }
        }
      });
    }
    std::this_thread::sleep_for(Milliseconds(10));
    service.reset();
    stop = true;
    for (std::thread& client : clients) {
      client.join();
    }
  }
  const auto due = static_cast<int>(interfaces.size());

  EXPECT_GT(due, 0);
  EXPECT_TRUE(waitUntil([&] { return *deaths == due; })) << *deaths << " of " << due;
  std::this_thread::sleep_for(kSilence);
  EXPECT_EQ(*deaths, due);
}

}  // namespace
