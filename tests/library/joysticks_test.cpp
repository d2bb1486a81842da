// Joysticks: lists, mappings, calibration, results; the rows are in rows/joysticks.cpp.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>

#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

// A block whose bytes count up from the first.
Bytes counting(std::size_t size, unsigned char first) {
  Bytes block(size);
  std::iota(block.begin(), block.end(), first);
  return block;
}

// A block with the first bytes of one and the rest of another.
Bytes over(Bytes below, const Bytes& above) {
  std::copy(above.begin(), above.end(), below.begin());
  return below;
}

// --- GetJoystickDevList, GetJoystickMappingList -------------------------------------------------

template <typename Record>
std::vector<Bytes> bytesOfEach(const std::list<Record>& records) {
  std::vector<Bytes> all;
  for (const Record& record : records) {
    all.push_back(bytesOf(record.bytes, sizeof record.bytes));
  }
  return all;
}

// The two operations differ in name and size only.
struct ListOperation {
  const char* name;
  const char* method;
  std::size_t size;
  std::vector<Bytes> (*run)(qx::VelProxy&);
};

class JoystickListTest : public ProxyTest, public testing::WithParamInterface<ListOperation> {
 protected:
  static std::size_t size() { return GetParam().size; }

  std::vector<Bytes> listOf(const Reply& reply) {
    bus.answer(GetParam().method, reply);
    forget();
    return GetParam().run(*proxy);
  }

  static std::string sizeLine(const std::string& count) {
    return debugLine(GetParam().name, "joystick list size: %d", "joystick list size: " + count);
  }
  // The line for a missing block.
  static std::string endLine(const std::string& count) {
    return errorLine(GetParam().name, "buf: %p, size: %d",
                     "buf: " + pointer(nullptr) + ", size: " + count);
  }
};

TEST_P(JoystickListTest, GivesTheBlocksInTheOrderOfTheReply) {
  const Bytes first = counting(size(), 1);
  const Bytes second = counting(size(), 101);

  EXPECT_THAT(listOf(Reply().int32(2).bytes(first).bytes(second)), ElementsAre(first, second));

  EXPECT_EQ(log.summaries().back(), sizeLine("2"));
}

TEST_P(JoystickListTest, AShortBlockKeepsTheEndOfTheOneBefore) {
  const Bytes whole = counting(size(), 1);
  const Bytes shorter(size() - 1, 0xAA);
  const Bytes shortest(1, 0xBB);

  EXPECT_THAT(listOf(Reply().int32(3).bytes(whole).bytes(shorter).bytes(shortest)),
              ElementsAre(whole, over(whole, shorter), over(over(whole, shorter), shortest)));
  EXPECT_THAT(qx::VelProxy::lastRecordLengths(), ElementsAre(size(), size() - 1, 1));
}

TEST_P(JoystickListTest, AShortBlockAtTheBeginningEndsWithZeroes) {
  const Bytes shorter(3, 0xAA);
  const Bytes expected = over(Bytes(size(), 0), shorter);

  EXPECT_THAT(listOf(Reply().int32(1).bytes(shorter)), ElementsAre(expected));

  // Also when another list has been read.
  listOf(Reply().int32(1).bytes(counting(size(), 1)));
  EXPECT_THAT(listOf(Reply().int32(1).bytes(shorter)), ElementsAre(expected));
}

TEST_P(JoystickListTest, ALongBlockIsCut) {
  for (const std::size_t more : {std::size_t{1}, size(), std::size_t{100000}}) {
    const Bytes longer = counting(size() + more, 7);

    EXPECT_THAT(listOf(Reply().int32(2).bytes(longer).bytes(Bytes(1, 0xCC))),
                ElementsAre(counting(size(), 7), over(counting(size(), 7), Bytes(1, 0xCC))));
  }
}

TEST_P(JoystickListTest, StopsAtTheFirstEmptyBlockWithAnError) {
  const Bytes first = counting(size(), 1);

  EXPECT_THAT(listOf(Reply().int32(3).bytes(first).bytes({}).bytes(first)), ElementsAre(first));

  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine(GetParam().name, ""), sizeLine("3"), endLine("3")));
}

TEST_P(JoystickListTest, StopsAtTheEndOfTheReply) {
  const Bytes first = counting(size(), 1);

  EXPECT_THAT(listOf(Reply().int32(std::numeric_limits<int>::max()).bytes(first)),
              ElementsAre(first));

  EXPECT_EQ(log.summaries().back(), endLine("2147483647"));
}

TEST_P(JoystickListTest, StopsAtAnArgumentOfAnotherType) {
  const Bytes first = counting(size(), 1);

  EXPECT_THAT(listOf(Reply().int32(3).bytes(first).string("no").bytes(first)), ElementsAre(first));

  EXPECT_EQ(log.summaries().back(), endLine("3"));
}

TEST_P(JoystickListTest, ReadsNoMoreBlocksThanAnnounced) {
  const Bytes first = counting(size(), 1);

  EXPECT_THAT(listOf(Reply().int32(1).bytes(first).bytes(first)), ElementsAre(first));
  EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_P(JoystickListTest, IsEmptyForACountOfZeroOrLess) {
  for (const int count : {0, -1, -3, std::numeric_limits<int>::min()}) {
    EXPECT_THAT(listOf(Reply().int32(count).bytes(counting(size(), 1))), IsEmpty());

    EXPECT_THAT(log.summaries(),
                ElementsAre(debugLine(GetParam().name, ""), sizeLine(std::to_string(count))));
  }
}

TEST_P(JoystickListTest, TakesNoBlockOfAnErrorReply) {
  EXPECT_THAT(listOf(Reply().int32(1).bytes(counting(size(), 1)).ofType(MESSAGE_TYPE_ERROR)),
              IsEmpty());

  EXPECT_THAT(log.errors(), ElementsAre("reply type: 3()"));
}

INSTANTIATE_TEST_SUITE_P(
    Both, JoystickListTest,
    testing::Values(ListOperation{"GetJoystickDevList", "getJoystickDevList", 138,
                                  [](qx::VelProxy& proxy) {
                                    return bytesOfEach(proxy.GetJoystickDevList());
                                  }},
                    ListOperation{"GetJoystickMappingList", "getJoystickMappingList", 130,
                                  [](qx::VelProxy& proxy) {
                                    return bytesOfEach(proxy.GetJoystickMappingList());
                                  }}),
    [](const testing::TestParamInfo<ListOperation>& row) { return row.param.name; });

// --- SetJoystickMapping, CalibrationJoystick ----------------------------------------------------

using JoysticksTest = ProxyTest;

TEST_F(JoysticksTest, AnIndexKeepsItsBitsOnTheBusAndItsValueInTheLog) {
  bus.answer("setJoystickMapping", Reply().int32(0));
  bus.answer("calibrationJoystick", Reply().int32(0));
  const struct {
    unsigned short index;
    const char* sent;
  } rows[] = {{0, "0"}, {1, "1"}, {32767, "32767"}, {32768, "-32768"}, {65535, "-1"}};
  for (const auto& [index, sent] : rows) {
    const std::string argument = "int16 " + std::string(sent);
    const std::string value = std::to_string(index);
    forget();

    EXPECT_EQ(proxy->SetJoystickMapping(index, 17), 0);
    EXPECT_EQ(bus.lastCall(), "setJoystickMapping(" + argument + ", int16 17)");
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("SetJoystickMapping", "enter devIndex[%d], mappingIndex[%d]",
                                   "enter devIndex[" + value + "], mappingIndex[17]")));

    EXPECT_EQ(proxy->SetJoystickMapping(17, index), 0);
    EXPECT_EQ(bus.lastCall(), "setJoystickMapping(int16 17, " + argument + ")");
    EXPECT_THAT(
        log.summaries(),
        Contains(debugLine("SetJoystickMapping", "SetJoystickMapping devIndex:%d, mappingIndex:%d",
                           "SetJoystickMapping devIndex:17, mappingIndex:" + value)));

    EXPECT_EQ(proxy->CalibrationJoystick(index), 0);
    EXPECT_EQ(bus.lastCall(), "calibrationJoystick(" + argument + ")");
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("CalibrationJoystick", "CalibrationJoystick devIndex:%d",
                                   "CalibrationJoystick devIndex:" + value)));
  }
}

// --- Results and their callbacks ----------------------------------------------------------------

// Records its calls: pass `this` as user data.
struct JoystickListener {
  static int called(unsigned short code, _JoystickResult result, void* userData) {
    auto& self = *static_cast<JoystickListener*>(userData);
    self.codes.push_back(code);
    self.results.push_back(bytesOf(result.bytes, sizeof result.bytes));
    self.thread = std::this_thread::get_id();
    scripted::Timeline::the().record("callback " + pointer(userData));
    // The record is the callback's own copy.
    std::memset(result.bytes, 0xDD, sizeof result.bytes);
    if (self.meanwhile) {
      self.meanwhile();
    }
    return 77;
  }

  std::vector<unsigned short> codes;
  std::vector<Bytes> results;
  std::thread::id thread;
  std::function<void()> meanwhile;
};

int otherCallback(unsigned short, _JoystickResult, void* userData) {
  static_cast<JoystickListener*>(userData)->codes.push_back(4242);
  return 0;
}

class JoystickResultTest : public ProxyTest {
 protected:
  JoystickResultTest() {
    bus.answer("registerJoystickCallback", Reply().int32(0));
    bus.answer("unregisterJoystickCallback", Reply().int32(0));
    bus.answer("resetService", Reply().int32(0));
  }

  int subscribe(JoystickListener& listener) {
    return proxy->RegisterJoystickCallback(&JoystickListener::called, &listener);
  }
  // The proxy's address as a request shows it.
  std::string addressBytes() const {
    const qx::VelProxy* const address = proxy.get();
    return scripted::show(bytesOf(&address, sizeof address));
  }
  static std::string notifiedLine(const JoystickListener& listener, const std::string& code) {
    return debugLine("JoystickResultNotify", "userdata:%p,cmd[%d]",
                     "userdata:" + pointer(&listener) + ",cmd[" + code + "]");
  }

  // An array, so that the order of their addresses is known.
  JoystickListener listeners[3];
};

TEST_F(JoystickResultTest, GoesToEveryCallbackInTheOrderOfUserData) {
  _JoystickResult result;
  const Bytes bytes = counting(sizeof result.bytes, 33);
  std::memcpy(result.bytes, bytes.data(), bytes.size());
  for (const std::size_t i : {1u, 2u, 0u}) {
    subscribe(listeners[i]);
  }
  disconnect(*instance);

  EXPECT_EQ(proxy->JoystickResultNotify(65535, &result), 0);

  for (const JoystickListener& listener : listeners) {
    EXPECT_THAT(listener.codes, ElementsAre(65535));
    EXPECT_THAT(listener.results, ElementsAre(bytes));
    EXPECT_EQ(listener.thread, std::this_thread::get_id());
  }
  EXPECT_EQ(bytesOf(result.bytes, sizeof result.bytes), bytes);
  EXPECT_THAT(log.summaries(),
              ElementsAre(notifiedLine(listeners[0], "65535"), notifiedLine(listeners[1], "65535"),
                          notifiedLine(listeners[2], "65535")));
  const auto notified = [](const JoystickListener& listener) {
    return testing::StartsWith("Debug JoystickResultNotify: userdata:" + pointer(&listener));
  };
  EXPECT_THAT(timeline.all(),
              ElementsAre("callback " + pointer(&listeners[0]), notified(listeners[0]),
                          "callback " + pointer(&listeners[1]), notified(listeners[1]),
                          "callback " + pointer(&listeners[2]), notified(listeners[2])));
}

TEST_F(JoystickResultTest, IsZeroesWithoutARecord) {
  subscribe(listeners[0]);
  subscribe(listeners[1]);
  forget();

  EXPECT_EQ(proxy->JoystickResultNotify(7, nullptr), 0);

  for (const JoystickListener& listener : {listeners[0], listeners[1]}) {
    EXPECT_THAT(listener.codes, ElementsAre(7));
    EXPECT_THAT(listener.results, ElementsAre(Bytes(146, 0)));
  }
  EXPECT_THAT(log.summaries(),
              ElementsAre(notifiedLine(listeners[0], "7"), notifiedLine(listeners[1], "7")));
}

TEST_F(JoystickResultTest, IsReadAnewForEachCallback) {
  _JoystickResult result = {};
  for (JoystickListener& listener : listeners) {
    listener.meanwhile = [&result] { ++result.bytes[145]; };
    subscribe(listener);
  }

  proxy->JoystickResultNotify(7, &result);

  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_THAT(listeners[i].results, testing::SizeIs(1));
    EXPECT_EQ(listeners[i].results.front().back(), i) << "what those before it have made of it";
  }
}

TEST_F(JoystickResultTest, GoesNowhereWithoutACallback) {
  disconnect(*instance);
  _JoystickResult result = {};

  EXPECT_EQ(proxy->JoystickResultNotify(7, &result), 0);
  EXPECT_EQ(proxy->JoystickResultNotify(7, nullptr), 0);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(JoystickResultTest, LetsItsCallbacksCallTheService) {
  listeners[0].meanwhile = [this] { EXPECT_EQ(proxy->ResetService(), 0u); };
  subscribe(listeners[0]);
  forget();

  EXPECT_EQ(proxy->JoystickResultNotify(7, nullptr), 0);

  EXPECT_EQ(bus.lastCall(), "resetService()");
}

TEST_F(JoystickResultTest, HoldsTheMutexOfAllCallbacksAndNoOther) {
  Gate gate;
  listeners[0].meanwhile = gate.pass();
  subscribe(listeners[0]);
  Background notifying([this] { return proxy->JoystickResultNotify(7, nullptr); });
  ASSERT_TRUE(gate.isReached());

  Background other([this] { return proxy->UnregisterDeviceCallback(); });
  Background call([this] { return proxy->ResetService(); });

  EXPECT_TRUE(timeline.waitFor(other.id(), "Debug UnregisterDeviceCallback: enter"));
  EXPECT_FALSE(timeline.happensSoon(other.id(), "Debug UnregisterDeviceCallback: end"));
  EXPECT_TRUE(call.isDone());
  gate.open();
  EXPECT_EQ(notifying.result(), 0);
  EXPECT_EQ(other.result(), 0);
}

// --- RegisterJoystickCallback -------------------------------------------------------------------

TEST_F(JoystickResultTest, RegisteringSendsTheAddressOfTheProxy) {
  EXPECT_EQ(subscribe(listeners[0]), 0);

  EXPECT_EQ(bus.lastCall(), "registerJoystickCallback(" + addressBytes() + ")");
  EXPECT_THAT(bus.lastBytes(0), testing::SizeIs(8));
  EXPECT_THAT(
      log.summaries(),
      Contains(debugLine("RegisterJoystickCallback", "registerJoystickCallback objId:%ld",
                         "registerJoystickCallback objId:" +
                             std::to_string(reinterpret_cast<std::intptr_t>(proxy.get())))));
}

TEST_F(JoystickResultTest, RegisteringSendsARequestEachTime) {
  for (JoystickListener& listener : listeners) {
    subscribe(listener);
  }

  EXPECT_THAT(bus.requests(), testing::AllOf(testing::SizeIs(3), Each("registerJoystickCallback(" +
                                                                      addressBytes() + ")")));
}

TEST_F(JoystickResultTest, ALaterCallbackTakesThePlaceOfTheEarlier) {
  subscribe(listeners[0]);
  proxy->RegisterJoystickCallback(&otherCallback, &listeners[0]);

  proxy->JoystickResultNotify(7, nullptr);

  EXPECT_THAT(listeners[0].codes, ElementsAre(4242)) << "the second callback, once";
  EXPECT_THAT(listeners[0].results, IsEmpty());
  EXPECT_THAT(bus.requests(), testing::AllOf(testing::SizeIs(2), Each("registerJoystickCallback(" +
                                                                      addressBytes() + ")")));
}

TEST_F(JoystickResultTest, ACallbackIsKeptWhateverIntegerTheServiceAnswers) {
  const int statuses[] = {-1, 5, std::numeric_limits<int>::min()};
  for (std::size_t i = 0; i < 3; ++i) {
    bus.answer("registerJoystickCallback", Reply().int32(statuses[i]));
    EXPECT_EQ(subscribe(listeners[i]), statuses[i]);
  }

  proxy->JoystickResultNotify(7, nullptr);

  for (const JoystickListener& listener : listeners) {
    EXPECT_THAT(listener.codes, ElementsAre(7));
  }
}

TEST_F(JoystickResultTest, ACallbackIsNotKeptWithoutAnAnswer) {
  bus.answer("registerJoystickCallback", Reply().int32(0).ofType(MESSAGE_TYPE_ERROR));
  EXPECT_EQ(subscribe(listeners[0]), -1);
  disconnect(*proxy);
  EXPECT_EQ(subscribe(listeners[1]), -1);

  proxy->JoystickResultNotify(7, nullptr);

  EXPECT_THAT(listeners[0].codes, IsEmpty());
  EXPECT_THAT(listeners[1].codes, IsEmpty());
}

TEST_F(JoystickResultTest, AFailedRegistrationLeavesTheEarlierCallbackAlone) {
  subscribe(listeners[0]);
  bus.answer("registerJoystickCallback", Reply::error("busy"));
  EXPECT_EQ(proxy->RegisterJoystickCallback(&otherCallback, &listeners[0]), -1);
  EXPECT_EQ(proxy->RegisterJoystickCallback(nullptr, &listeners[0]), -1);

  proxy->JoystickResultNotify(7, nullptr);

  EXPECT_THAT(listeners[0].codes, ElementsAre(7));
}

TEST_F(JoystickResultTest, RegisteringTakesItsTwoMutexesOneAfterTheOther) {
  Gate gate;
  listeners[0].meanwhile = gate.pass();
  subscribe(listeners[0]);
  Background notifying([this] { return proxy->JoystickResultNotify(7, nullptr); });
  ASSERT_TRUE(gate.isReached());

  Background registering([this] { return subscribe(listeners[1]); });

  // The registration waits for the callbacks, and no call waits for the registration.
  EXPECT_TRUE(timeline.waitFor(registering.id(), "Debug RegisterJoystickCallback: reply: "));
  Background call([this] { return proxy->ResetService(); });
  EXPECT_TRUE(call.isDone());
  gate.open();
  EXPECT_EQ(notifying.result(), 0);
  EXPECT_EQ(registering.result(), 0);
}

TEST_F(JoystickResultTest, CallbacksOutliveTheServiceAndAreNotRegisteredAgain) {
  subscribe(listeners[0]);
  disconnect(*instance);
  bus.serviceDies();
  bus.waitForDeaths();
  bus.setRegistered(true);
  proxy->Init();

  proxy->JoystickResultNotify(7, nullptr);

  EXPECT_THAT(listeners[0].codes, ElementsAre(7));
  EXPECT_THAT(bus.madeMessages(), IsEmpty());
}

// --- UnregisterJoystickCallback -----------------------------------------------------------------

TEST_F(JoystickResultTest, OnlyUnregisteringTheLastCallbackSendsARequest) {
  bus.answer("unregisterJoystickCallback", Reply().int32(-9));
  subscribe(listeners[0]);
  subscribe(listeners[1]);
  forget();

  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[0]), 0);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("UnregisterJoystickCallback", "end userData[%p]",
                                    "end userData[" + pointer(&listeners[0]) + "]")));
  proxy->JoystickResultNotify(7, nullptr);
  EXPECT_THAT(listeners[0].codes, IsEmpty());
  EXPECT_THAT(listeners[1].codes, ElementsAre(7));

  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[1]), -9);

  EXPECT_THAT(bus.requests(), ElementsAre("unregisterJoystickCallback(" + addressBytes() + ")"));
  proxy->JoystickResultNotify(7, nullptr);
  EXPECT_THAT(listeners[1].codes, ElementsAre(7));
}

// The callbacks that are left are counted after the line is logged, and no lock is held meanwhile.
TEST_F(JoystickResultTest, ACallbackRegisteredWhileAnotherIsUnregisteredKeepsTheSubscription) {
  subscribe(listeners[0]);
  std::unique_ptr<Background<int>> coming;
  timeline.when("Debug UnregisterJoystickCallback: end", [&] {
    coming = std::make_unique<Background<int>>([this] { return subscribe(listeners[1]); });
    EXPECT_TRUE(coming->isDone());
  });
  forget();

  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[0]), 0);

  EXPECT_THAT(bus.requests(), ElementsAre("registerJoystickCallback(" + addressBytes() + ")"));
  proxy->JoystickResultNotify(7, nullptr);
  EXPECT_THAT(listeners[0].codes, IsEmpty());
  EXPECT_THAT(listeners[1].codes, ElementsAre(7));
}

TEST_F(JoystickResultTest, UnregisteringAnUnknownCallbackSendsARequestWhenThereIsNoOther) {
  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[0]), 0);
  EXPECT_EQ(proxy->UnregisterJoystickCallback(nullptr), 0);
  EXPECT_EQ(bus.calls().size(), 2u);

  subscribe(listeners[1]);
  forget();
  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[0]), 0);
  EXPECT_THAT(bus.madeMessages(), IsEmpty());
}

TEST_F(JoystickResultTest, ACallbackIsUnregisteredAlsoWithoutAService) {
  bus.answer("unregisterJoystickCallback", Reply::error("busy"));
  subscribe(listeners[0]);
  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[0]), -1);
  subscribe(listeners[1]);
  disconnect(*proxy);
  EXPECT_EQ(proxy->UnregisterJoystickCallback(&listeners[1]), -1);
  forget();

  proxy->JoystickResultNotify(7, nullptr);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(JoystickResultTest, ACallbackIsUnregisteredBeforeTheRequestIsSent) {
  subscribe(listeners[0]);
  Gate gate = timeline.hold("call unregisterJoystickCallback(");
  Background unregistering([this] { return proxy->UnregisterJoystickCallback(&listeners[0]); });
  ASSERT_TRUE(gate.isReached());

  Background notifying([this] { return proxy->JoystickResultNotify(7, nullptr); });

  EXPECT_TRUE(notifying.isDone());
  EXPECT_EQ(timeline.count("callback "), 0);
  gate.open();
  EXPECT_EQ(unregistering.result(), 0);
}

TEST_F(JoystickResultTest, ManyThreadsMayRegisterWhileResultsArrive) {
  std::vector<std::unique_ptr<Background<int>>> threads;
  for (JoystickListener& listener : listeners) {
    threads.push_back(std::make_unique<Background<int>>([this, &listener] {
      for (int i = 0; i < 20; ++i) {
        subscribe(listener);
        proxy->UnregisterJoystickCallback(&listener);
      }
      return subscribe(listener);
    }));
  }
  for (int i = 0; i < 100; ++i) {
    proxy->JoystickResultNotify(8, nullptr);
  }
  for (const auto& thread : threads) {
    ASSERT_EQ(thread->result(), 0);
  }

  proxy->JoystickResultNotify(7, nullptr);

  for (const JoystickListener& listener : listeners) {
    ASSERT_THAT(listener.codes, testing::Not(IsEmpty()));
    EXPECT_EQ(listener.codes.back(), 7);
    EXPECT_EQ(std::count(listener.codes.begin(), listener.codes.end(), 7), 1);
  }
}

}  // namespace
