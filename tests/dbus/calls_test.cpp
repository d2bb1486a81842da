// Calls: their replies, failures and deadlines.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/raw_peer.h"
#include "tests/dbus/timing.h"

namespace {

using namespace dbustest;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

// How late a deadline may be noticed.
constexpr Milliseconds kLate{250};

class CallOverDBus : public DBusTest {
 protected:
  std::function<void(MessageRef)> note() {
    return [replies = replies_](MessageRef reply) { replies->add(std::move(reply)); };
  }

  TestService service_;
  ProxyRef proxy_ = proxyOf();
  std::shared_ptr<Messages> replies_ = std::make_shared<Messages>();
};

TEST_F(CallOverDBus, GivesTheReply) {
  const MessageRef reply = call(*proxy_, "echo", {std::int32_t{7}, std::string("text")});

  ASSERT_THAT(reply, IsReply());
  EXPECT_EQ(reply->argCount(), 2);
  EXPECT_EQ(reply->getInt32(0), 7);
  EXPECT_EQ(reply->getString(1), "text");
}

TEST_F(CallOverDBus, GivesTheTextOfAnErrorReply) {
  const MessageRef reply = call(*proxy_, "fail", {std::string("no desktop connected")});

  EXPECT_EQ(reply->type(), 3);
  EXPECT_EQ(reply->getString(0), "no desktop connected");
}

TEST_F(CallOverDBus, OfAMethodThatIsNotThereFailsWithItsName) {
  const MessageRef reply = call(*proxy_, "noSuchMethod");

  EXPECT_THAT(reply, IsError());
  EXPECT_THAT(reply->getString(0), HasSubstr("noSuchMethod"));
}

TEST_F(CallOverDBus, WithANameThatDBusDoesNotAllowFails) {
  const std::string names[] = {"",        "with blank", "dotted.name",        "1st",
                               "dash-ed", "\xC3",       std::string(256, 'a')};
  for (const std::string& name : names) {
    EXPECT_THAT(call(*proxy_, name), IsDisconnected()) << name;
  }
  EXPECT_THAT(call(*proxy_, std::string("nul\0l", 5)), IsDisconnected());

  proxy_->callWithReply(proxy_->makeMethodCallMessage("with blank"), note(), 1000);

  ASSERT_TRUE(replies_->waitFor(1));
  EXPECT_THAT(replies_->items(), ElementsAre(IsDisconnected()));
}

TEST_F(CallOverDBus, WithoutAMessageFails) {
  EXPECT_THAT(proxy_->callWithReplyBlocking(nullptr, 1000), IsDisconnected());

  proxy_->callWithReply(nullptr, note(), 1000);

  ASSERT_TRUE(replies_->waitFor(1));
  EXPECT_THAT(replies_->items(), ElementsAre(IsDisconnected()));
}

TEST_F(CallOverDBus, WithoutACompletionIsMadeAllTheSame) {
  proxy_->callWithReply(messageTo(*proxy_, "hold"), nullptr, 5000);

  EXPECT_TRUE(service_.waitForHeld(1));
}

// The usual way to try again is with the same message.
TEST_F(CallOverDBus, MayBeMadeAgainWithTheSameMessage) {
  const MessageRef message = messageTo(*proxy_, "echo", {std::int32_t{7}});

  EXPECT_EQ(firstNumber(proxy_->callWithReplyBlocking(message, 10000)), 7);
  EXPECT_EQ(firstNumber(proxy_->callWithReplyBlocking(message, 10000)), 7);
  proxy_->callWithReply(message, note(), 10000);
  proxy_->callWithReply(message, note(), 10000);

  ASSERT_TRUE(replies_->waitFor(2));
  EXPECT_THAT(firstNumbers(*replies_), ElementsAre(7, 7));
}

TEST_F(CallOverDBus, MayBeMadeAgainAfterItsTimeOut) {
  const MessageRef message = messageTo(*proxy_, "hold");
  EXPECT_THAT(proxy_->callWithReplyBlocking(message, 20), IsNoReply());
  proxy_->callWithReply(message, note(), 10000);
  ASSERT_TRUE(service_.waitForHeld(2));

  service_.release({std::int32_t{5}});

  ASSERT_TRUE(replies_->waitFor(1));
  EXPECT_THAT(firstNumbers(*replies_), ElementsAre(5));
}

TEST_F(CallOverDBus, AnErrorReplyWithoutATextStillHasOne) {
  NEEDS_DAEMON();
  RawPeer odd(bus().address());
  ASSERT_TRUE(odd.own("qx.bus.odd"));
  const ProxyRef proxy = proxyOf("odd");

  proxy->callWithReply(proxy->makeMethodCallMessage("first"), note(), 10000);
  odd.replyError(odd.nextCall(), "odd.Error.Empty");
  proxy->callWithReply(proxy->makeMethodCallMessage("second"), note(), 10000);
  odd.replyError(odd.nextCall(), "odd.Error.Number", nativeInt32(5));

  ASSERT_TRUE(replies_->waitFor(2));
  EXPECT_THAT(replies_->items(), Each(IsError()));
}

// The bus daemon uses the same names in place of a service that has left.
TEST_F(CallOverDBus, AnErrorReplyOfTheServiceIsOneWhateverItsName) {
  NEEDS_DAEMON();
  RawPeer odd(bus().address());
  ASSERT_TRUE(odd.own("qx.bus.odd"));
  const ProxyRef proxy = proxyOf("odd");

  for (const char* const name : {DBUS_ERROR_NO_REPLY, DBUS_ERROR_SERVICE_UNKNOWN}) {
    proxy->callWithReply(proxy->makeMethodCallMessage("method"), note(), 10000);
    odd.replyError(odd.nextCall(), name, nativeString("why"));
  }

  ASSERT_TRUE(replies_->waitFor(2));
  EXPECT_THAT(replies_->items(), Each(IsError()));
  EXPECT_EQ(replies_->items()[0]->getString(0), "why");
}

// --- Deadlines -----------------------------------------------------------------------------------

TEST_F(CallOverDBus, EndsAtItsDeadline) {
  for (const int timeoutMs : {1, 50, 200}) {
    const Milliseconds took = measuredBelow(Milliseconds(timeoutMs) + kLate, [&] {
      return timeOf([&] {
        const MessageRef reply = call(*proxy_, "hold", {}, timeoutMs);
        EXPECT_THAT(reply, IsNoReply());
        EXPECT_EQ(reply->getString(0), "hold: no reply in time");
      });
    });

    EXPECT_GE(took, Milliseconds(timeoutMs));
    EXPECT_LT(took, Milliseconds(timeoutMs) + kLate);
  }
}

TEST_F(CallOverDBus, TakesNoProcessorTimeWhileItWaits) {
  const auto before = processes::processorTime();

  EXPECT_THAT(call(*proxy_, "hold", {}, 400), IsNoReply());

  EXPECT_LT(processes::processorTime() - before, Milliseconds(40));
}

TEST_F(CallOverDBus, EndsAtItsDeadlineWhileAnotherCallWaitsLonger) {
  MessageRef longReply;
  std::thread longCaller([&] { longReply = call(*proxy_, "hold", {std::int32_t{0}}, 30000); });
  proxy_->callWithReply(messageTo(*proxy_, "hold"), note(), 30000);
  ASSERT_TRUE(service_.waitForHeld(2));

  const Milliseconds took = measuredBelow(Milliseconds(50) + kLate, [this] {
    return timeOf([this] { EXPECT_THAT(call(*proxy_, "hold", {}, 50), IsNoReply()); });
  });
  service_.release({std::int32_t{9}});
  longCaller.join();

  EXPECT_GE(took, Milliseconds(50));
  EXPECT_LT(took, Milliseconds(50) + kLate);
  EXPECT_EQ(firstNumber(longReply), 9);
  EXPECT_TRUE(replies_->waitFor(1));
}

TEST_F(CallOverDBus, EndsAtItsDeadlineAmongManyCallersThatWaitLonger) {
  std::vector<std::thread> longCallers;
  longCallers.reserve(8);
  Record<MessageRef> longReplies;
  for (int i = 0; i < 8; ++i) {
    longCallers.emplace_back([&] { longReplies.add(call(*proxy_, "hold", {}, 30000)); });
  }
  ASSERT_TRUE(service_.waitForHeld(8));

  const Milliseconds longest = measuredBelow(Milliseconds(50) + kLate, [this] {
    Record<Milliseconds> took;
    std::vector<std::thread> callers;
    callers.reserve(8);
    for (int i = 0; i < 8; ++i) {
      callers.emplace_back([this, &took] {
        for (int round = 0; round < 4; ++round) {
          took.add(timeOf([this] { EXPECT_THAT(call(*proxy_, "hold", {}, 50), IsNoReply()); }));
        }
      });
    }
    for (std::thread& caller : callers) {
      caller.join();
    }
    EXPECT_THAT(took.items(), Each(testing::Ge(Milliseconds(50))));
    return longestOf(took.items());
  });
  EXPECT_EQ(longReplies.size(), 0u);
  service_.release({});
  for (std::thread& caller : longCallers) {
    caller.join();
  }

  EXPECT_LT(longest, Milliseconds(50) + kLate);
  EXPECT_THAT(longReplies.items(), Each(IsReply()));
}

TEST_F(CallOverDBus, EndsAtItsDeadlineWithoutWaitingForACallerThatSendsMuch) {
  std::atomic<bool> stop{false};
  std::thread sender([&] {
    const qxbus::Values much = {qxbus::Bytes(4 * kMegabyte)};
    while (!stop) {
      call(*proxy_, "echo", much, 10000);
    }
  });

  const Milliseconds longest = measuredBelow(Milliseconds(50) + 2 * kLate, [this] {
    std::vector<Milliseconds> took;
    took.reserve(5);
    for (int i = 0; i < 5; ++i) {
      took.push_back(timeOf([this] { EXPECT_THAT(call(*proxy_, "hold", {}, 50), IsNoReply()); }));
    }
    EXPECT_THAT(took, Each(testing::Ge(Milliseconds(50))));
    return longestOf(took);
  });
  stop = true;
  sender.join();

  EXPECT_LT(longest, Milliseconds(50) + 2 * kLate);
}

TEST_F(CallOverDBus, ACompletionComesAtItsDeadlineAlsoWhenALongerOneWasThereFirst) {
  const Milliseconds late = measuredBelow(kLate, [this] {
    proxy_->callWithReply(messageTo(*proxy_, "hold"), note(), 30000);
    // By now a thread polls until that deadline: a call with a nearer one must wake it.
    std::this_thread::sleep_for(kSilence);
    const auto took = std::make_shared<Record<Milliseconds>>();
    const auto begun = TestClock::now();
    const auto noteTime = [took, begun](const MessageRef&) { took->add(since(begun)); };
    proxy_->callWithReply(messageTo(*proxy_, "hold"), noteTime, 150);
    proxy_->callWithReply(messageTo(*proxy_, "hold"), noteTime, 50);

    EXPECT_TRUE(took->waitFor(2));

    const std::vector<Milliseconds> first = took->items();
    EXPECT_GE(first.at(0), Milliseconds(50));
    EXPECT_GE(first.at(1), Milliseconds(150));
    return std::max(first.at(0) - Milliseconds(50), first.at(1) - Milliseconds(150));
  });
  EXPECT_LT(late, kLate);
  service_.release({});
  EXPECT_TRUE(replies_->waitFor(1));
}

// Minus one is not the bus library's own default, nor a moment ago.
TEST_F(CallOverDBus, WithoutALimitWaitsForItsReply) {
  proxy_->callWithReply(messageTo(*proxy_, "hold"), note(), -1);
  MessageRef blocking;
  std::thread caller([&] { blocking = call(*proxy_, "hold", {}, -1); });
  ASSERT_TRUE(service_.waitForHeld(2));

  EXPECT_FALSE(replies_->waitFor(1, Milliseconds(1500)));
  service_.release({std::int32_t{3}});
  caller.join();

  ASSERT_TRUE(replies_->waitFor(1));
  EXPECT_EQ(firstNumber(blocking), 3);
  EXPECT_THAT(firstNumbers(*replies_), ElementsAre(3));
}

TEST_F(CallOverDBus, AReplyThatComesTooLateIsIgnored) {
  proxy_->callWithReply(messageTo(*proxy_, "hold"), note(), 30);
  EXPECT_THAT(call(*proxy_, "hold", {}, 30), IsNoReply());
  ASSERT_TRUE(replies_->waitFor(1));

  service_.release({std::int32_t{1}});

  const MessageRef next = call(*proxy_, "echo", {std::int32_t{2}});
  EXPECT_EQ(firstNumber(next), 2);
  EXPECT_TRUE(replies_->stays(1));
  EXPECT_THAT(replies_->items(), ElementsAre(IsNoReply()));
}

// --- Completions ---------------------------------------------------------------------------------

TEST_F(CallOverDBus, RunsItsCompletionExactlyOnceWhateverHappens) {
  for (int i = 0; i < 50; ++i) {
    proxy_->callWithReply(messageTo(*proxy_, "echo"), note(), 10000);
    proxy_->callWithReply(messageTo(*proxy_, "fail", {std::string("why")}), note(), 10000);
    proxy_->callWithReply(messageTo(*proxy_, "hold"), note(), i % 7);
    proxy_->callWithReply(messageTo(*proxy_, "echo"), note(), i % 3);
  }
  ASSERT_TRUE(replies_->waitFor(200));

  service_.release({});

  EXPECT_TRUE(replies_->stays(200));
  EXPECT_THAT(replies_->items(), Each(testing::NotNull()));
}

TEST_F(CallOverDBus, RunsItsCompletionAlsoWhenTheInterfaceIsGone) {
  proxy_->callWithReply(messageTo(*proxy_, "hold"), note(), 10000);
  ASSERT_TRUE(service_.waitForHeld(1));
  proxy_.reset();

  service_.release({std::int32_t{4}});

  ASSERT_TRUE(replies_->waitFor(1));
  EXPECT_THAT(firstNumbers(*replies_), ElementsAre(4));
}

TEST_F(CallOverDBus, FailsWhenTheServiceDiesBeforeItsReply) {
  NEEDS_DAEMON();
  auto mortal = std::make_unique<RawPeer>(bus().address());
  ASSERT_TRUE(mortal->own("qx.bus.mortal"));
  const ProxyRef proxy = proxyOf("mortal");
  proxy->callWithReply(proxy->makeMethodCallMessage("never"), note(), -1);
  MessageRef reply;
  std::thread caller([&] { reply = call(*proxy, "never", {}, -1); });
  ASSERT_TRUE(mortal->nextCall() && mortal->nextCall());

  mortal.reset();
  caller.join();

  EXPECT_THAT(reply, IsDisconnected());
  EXPECT_THAT(reply->getString(0), testing::StartsWith("never: "));
  ASSERT_TRUE(replies_->waitFor(1));
  EXPECT_THAT(replies_->items(), ElementsAre(IsDisconnected()));
}

TEST_F(CallOverDBus, ManyCallersAtOnceEachGetTheirOwnReply) {
  std::atomic<int> wrong{0};
  std::vector<std::thread> callers;
  callers.reserve(8);
  for (std::int32_t id = 0; id < 8; ++id) {
    callers.emplace_back([&, id] {
      for (std::int32_t i = 0; i < 100; ++i) {
        const std::int32_t asked = id * 1000 + i;
        const MessageRef reply = call(*proxy_, "echo", qxbus::Values(1, asked));
        wrong += firstNumber(reply) == asked ? 0 : 1;
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }

  EXPECT_EQ(wrong, 0);
}

}  // namespace
