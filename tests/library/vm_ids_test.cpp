// The service's numbers for VMs; the rows are in rows/vm_ids.cpp.

#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Numbers = std::map<std::string, unsigned int>;

class VmIdsTest : public ProxyTest {
 protected:
  VmIdsTest() {
    bus.knowsVm("win11", 7001);
    bus.knowsVm("linux9", 7002);
  }

  // The service dies and comes back, and the proxy connects again.
  void restartService() {
    disconnect(*instance);
    bus.serviceDies();
    bus.waitForDeaths();
    bus.setRegistered(true);
    ASSERT_EQ(proxy->Init(), 0u);
    forget();
  }
};

// --- GetVmIdInt ---------------------------------------------------------------------------------

TEST_F(VmIdsTest, AnEmptyNameIsZeroWithoutAnyCall) {
  disconnect(*instance);

  EXPECT_EQ(proxy->GetVmIdInt(""), 0u);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_EQ(timeline.count(kReconnects), 1) << "it connects again first";
  EXPECT_THAT(log.summariesOf("GetVmIdInt"), IsEmpty());
}

TEST_F(VmIdsTest, ANameIsLookedUpOnce) {
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);
  EXPECT_EQ(proxy->GetVmIdInt("linux9"), 7002u);
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);

  EXPECT_THAT(bus.requests(),
              ElementsAre("getVmListSize(string \"win11\")", "getVmListSize(string \"linux9\")"));
  EXPECT_EQ(bus.lastTimeoutMs(), 3000);
}

TEST_F(VmIdsTest, AKnownNumberIsReturnedWithoutALogAndWithoutAService) {
  proxy->GetVmIdInt("win11");
  disconnect(*proxy);

  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(VmIdsTest, ConnectsAgainEvenForAKnownNumber) {
  proxy->GetVmIdInt("win11");
  disconnect(*instance);

  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);

  EXPECT_EQ(timeline.count(kReconnects), 1);
}

TEST_F(VmIdsTest, AnUnknownNameIsLoggedAndLookedUpEachTime) {
  EXPECT_EQ(proxy->GetVmIdInt("nobody"), 0u);
  EXPECT_EQ(proxy->GetVmIdInt("nobody"), 0u);

  const std::string line = debugLine("GetVmIdInt", "vmid[%s]~ maped to id[%d] from hulservice",
                                     "vmid[nobody]~ maped to id[0] from hulservice");
  EXPECT_THAT(log.summaries(), ElementsAre(line, line));
  EXPECT_EQ(bus.calls().size(), 2u);
  EXPECT_EQ(proxy->GetVmIdString(0), "");
}

TEST_F(VmIdsTest, AnErrorReplyIsZeroWithoutALogAndLookedUpAgain) {
  bus.answerOnce("getVmListSize", Reply::error("busy"));

  EXPECT_EQ(proxy->GetVmIdInt("win11"), 0u);
  EXPECT_THAT(log.summaries(), IsEmpty());
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);
}

TEST_F(VmIdsTest, AnErrorReplyWithAnIntegerIsZeroToo) {
  bus.answer("getVmListSize", Reply().ofType(MESSAGE_TYPE_ERROR).int32(9));

  EXPECT_EQ(proxy->GetVmIdInt("win11"), 0u);

  EXPECT_EQ(proxy->GetVmIdString(9), "");
}

TEST_F(VmIdsTest, WithoutAServiceItIsZeroWithoutALog) {
  disconnect(*proxy);

  EXPECT_EQ(proxy->GetVmIdInt("win11"), 0u);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(VmIdsTest, NumbersUseAll32Bits) {
  bus.knowsVm("high", 0x80000003);
  bus.knowsVm("last", 0xFFFFFFFF);

  EXPECT_EQ(proxy->GetVmIdInt("high"), 0x80000003u);
  EXPECT_EQ(proxy->GetVmIdInt("last"), 0xFFFFFFFFu);

  EXPECT_EQ(proxy->GetVmIdString(0x80000003), "high");
  EXPECT_EQ(proxy->GetVmIdString(0xFFFFFFFF), "last");
  EXPECT_THAT(log.summaries(),
              Contains(debugLine("GetVmIdInt", "vmid[%s]~ maped to id[%d] from hulservice",
                                 "vmid[high]~ maped to id[-2147483645] from hulservice")));
}

TEST_F(VmIdsTest, NamesAreComparedWhole) {
  bus.knowsVm("win", 7003);
  bus.knowsVm("WIN11", 7004);
  bus.knowsVm(std::string("win11\0a", 7), 7005);
  proxy->GetVmIdInt("win11");

  EXPECT_EQ(proxy->GetVmIdInt("win"), 7003u);
  EXPECT_EQ(proxy->GetVmIdInt("WIN11"), 7004u);
  EXPECT_EQ(proxy->GetVmIdInt(std::string("win11\0a", 7)), 7005u);
  EXPECT_EQ(bus.calls().size(), 4u);
}

TEST_F(VmIdsTest, OfTwoNamesWithOneNumberTheLaterStays) {
  bus.knowsVm("also 7001", 7001);
  proxy->GetVmIdInt("win11");
  proxy->GetVmIdInt("also 7001");

  EXPECT_EQ(proxy->GetVmIdString(7001), "also 7001");
  forget();

  EXPECT_EQ(proxy->GetVmIdInt("also 7001"), 7001u);
  EXPECT_THAT(bus.requests(), IsEmpty());
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);
  EXPECT_EQ(bus.requests().size(), 1u) << "the earlier is asked for again";
}

TEST_F(VmIdsTest, OfTwoNumbersWithOneNameTheSmallerIsReturned) {
  // Two threads look the same name up at once and get different numbers.
  bus.answerOnce("getVmListSize", Reply().int32(52));
  Gate gate = timeline.hold("return getVmListSize()");
  Background first([this] { return proxy->GetVmIdInt("twin"); });
  ASSERT_TRUE(gate.isReached());
  bus.answerOnce("getVmListSize", Reply().int32(51));
  Background second([this] { return proxy->GetVmIdInt("twin"); });
  ASSERT_TRUE(timeline.waitFor(second.id(), "return getVmListSize()"));
  gate.open();
  EXPECT_EQ(first.result(), 52u);
  EXPECT_EQ(second.result(), 51u);
  forget();

  EXPECT_EQ(proxy->GetVmIdInt("twin"), 51u);

  EXPECT_EQ(proxy->GetVmIdString(51), "twin");
  EXPECT_EQ(proxy->GetVmIdString(52), "twin");
  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(VmIdsTest, TheCacheIsFreeWhileALookUpWaits) {
  proxy->GetVmIdInt("win11");
  Gate gate = timeline.hold("call getVmListSize(");
  Background lookUp([this] { return proxy->GetVmIdInt("linux9"); });
  ASSERT_TRUE(gate.isReached());

  Background others(
      [this] { return proxy->GetVmIdString(7001) + std::to_string(proxy->GetVmIdInt("win11")); });

  ASSERT_TRUE(others.isDone());
  EXPECT_EQ(others.result(), "win117001");
  gate.open();
  EXPECT_EQ(lookUp.result(), 7002u);
}

TEST_F(VmIdsTest, TheCacheIsEmptyAfterTheServiceHasDied) {
  proxy->GetVmIdInt("win11");
  ASSERT_EQ(proxy->GetVmIdString(7001), "win11");

  restartService();

  EXPECT_EQ(proxy->GetVmIdString(7001), "");
  bus.knowsVm("win11", 8001);
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 8001u);
  EXPECT_EQ(bus.requests().size(), 1u);
}

TEST_F(VmIdsTest, TheCacheStaysWhenTheServiceIsReleased) {
  proxy->GetVmIdInt("win11");

  proxy->ReleaseService();
  ASSERT_EQ(proxy->Init(), 0u);
  forget();

  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);
  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(VmIdsTest, EachProxyHasACacheOfItsOwn) {
  proxy->GetVmIdInt("win11");

  EXPECT_EQ(instance->GetVmIdString(7001), "");
}

// A number from an instance of the service is not valid for the next instance, even when the answer
// is read after the death of the first has been handled.
TEST_F(VmIdsTest, ANumberOfADeadServiceIsNotRemembered) {
  disconnect(*instance);
  bus.answerOnce("getVmListSize", Reply().int32(66));
  Gate gate = timeline.hold("return getVmListSize()");
  Background lookUp([this] { return proxy->GetVmIdInt("win11"); });
  ASSERT_TRUE(gate.isReached());

  bus.serviceDies();
  bus.waitForDeaths();
  bus.setRegistered(true);
  ASSERT_EQ(proxy->Init(), 0u);
  gate.open();

  EXPECT_EQ(lookUp.result(), 66u) << "the caller's request is bound to the old service anyway";
  EXPECT_EQ(proxy->GetVmIdString(66), "");
  EXPECT_EQ(proxy->GetVmIdInt("win11"), 7001u);
}

// The same inside an operation that holds the call mutex: the release waits, the cache does not.
TEST_F(VmIdsTest, ANumberOfADeadServiceIsNotRememberedByAnOperation) {
  disconnect(*instance);
  bus.answer("disconnectVm", Reply().int32(0));
  bus.answerOnce("getVmListSize", Reply().int32(66));
  Gate gate = timeline.hold("return getVmListSize()");
  Background operation([this] { return proxy->DisconnectVm("win11"); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);

  bus.serviceDies();
  ASSERT_TRUE(timeline.waitFor("Debug ReleaseService: "));
  gate.open();

  EXPECT_EQ(operation.result(), 0u);
  bus.waitForDeaths();
  EXPECT_EQ(proxy->GetVmIdString(66), "");
}

TEST_F(VmIdsTest, ManyThreadsMayAskWhileTheServiceDiesAndComesBack) {
  disconnect(*instance);
  std::vector<std::unique_ptr<Background<bool>>> threads;
  for (const std::string vm : {"win11", "linux9", "win11", "nobody"}) {
    threads.push_back(std::make_unique<Background<bool>>([this, vm] {
      bool isRight = true;
      for (int i = 0; i < 100; ++i) {
        const unsigned int number = proxy->GetVmIdInt(vm);
        isRight = isRight && (number == 0 || number == (vm == "win11" ? 7001u : 7002u));
        const std::string name = proxy->GetVmIdString(number);
        isRight = isRight && (name.empty() || name == vm);
      }
      return isRight;
    }));
  }
  for (int restarts = 0; restarts < 5; ++restarts) {
    bus.serviceDies();
    bus.setRegistered(true);
    bus.waitForDeaths();
    EXPECT_EQ(proxy->Init(), 0u);
  }
  for (const auto& thread : threads) {
    EXPECT_TRUE(thread->result());
  }
}

// --- GetVmIdString ------------------------------------------------------------------------------

TEST_F(VmIdsTest, ANumberIsNeverLookedUp) {
  disconnect(*instance);

  EXPECT_EQ(proxy->GetVmIdString(7001), "");

  EXPECT_THAT(timeline.all(), IsEmpty());
}

// --- GetVmList ----------------------------------------------------------------------------------

TEST_F(VmIdsTest, TheListDoesNotFillTheCache) {
  bus.answer("getVmList", Reply().int32(1).string("win11").int32(7001));

  EXPECT_THAT(proxy->GetVmList(), ElementsAre(Pair("win11", 7001u)));

  EXPECT_EQ(proxy->GetVmIdString(7001), "");
  proxy->GetVmIdInt("win11");
  EXPECT_EQ(bus.lastCall(), "getVmListSize(string \"win11\")");
}

// An answer to getVmList.
struct ListCase {
  ListCase(const char* title, Reply answer) : name(title), reply(std::move(answer)) {}

  ListCase& logsSize(const char* logged) {
    size = logged;
    return *this;
  }
  // Otherwise the list is empty.
  ListCase& lists(Numbers numbers) {
    list = std::move(numbers);
    return *this;
  }

  const char* name;
  Reply reply;
  const char* size = "";
  Numbers list;
};

class VmListTest : public ProxyTest, public testing::WithParamInterface<ListCase> {};

TEST_P(VmListTest, ReadsTheWholeEntriesOfTheReply) {
  bus.answer("getVmList", GetParam().reply);

  EXPECT_EQ(proxy->GetVmList(), GetParam().list);

  ASSERT_EQ(log.summaries().size(), 1 + GetParam().list.size());
  EXPECT_EQ(log.summaries().front(), debugLine("GetVmList", "vm list size: %d",
                                               "vm list size: " + std::string(GetParam().size)));
  EXPECT_THAT(log.errors(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Replies, VmListTest,
    testing::Values(
        ListCase("CountOfZero", Reply().int32(0).string("a").int32(1)).logsSize("0"),
        ListCase("NegativeCount", Reply().int32(-1).string("a").int32(1)).logsSize("-1"),
        ListCase("SmallestCount",
                 Reply().int32(std::numeric_limits<int>::min()).string("a").int32(1))
            .logsSize("-2147483648"),
        ListCase("One", Reply().int32(1).string("a").int32(1)).logsSize("1").lists({{"a", 1}}),
        ListCase("TwoOfThree",
                 Reply().int32(2).string("b").int32(2).string("a").int32(1).string("c").int32(3))
            .logsSize("2")
            .lists({{"a", 1}, {"b", 2}}),
        ListCase("CountAboveArguments", Reply().int32(3).string("a").int32(1))
            .logsSize("3")
            .lists({{"a", 1}}),
        ListCase("LargestCount",
                 Reply().int32(std::numeric_limits<int>::max()).string("a").int32(1))
            .logsSize("2147483647")
            .lists({{"a", 1}}),
        ListCase("PairWithoutNumber", Reply().int32(2).string("a").int32(1).string("b"))
            .logsSize("2")
            .lists({{"a", 1}}),
        ListCase("CountOnly", Reply().int32(2)).logsSize("2"),
        ListCase("NoArguments", Reply()).logsSize("0"),
        ListCase("CountOfAnotherType", Reply().string("2").string("a").int32(1)).logsSize("0"),
        ListCase("NumbersAbove31Bits", Reply().int32(1).string("a").int32(-2))
            .logsSize("1")
            .lists({{"a", 0xFFFFFFFE}}),
        ListCase("EmptyName", Reply().int32(1).string("").int32(4)).logsSize("1").lists({{"", 4}}),
        ListCase("NumberZero", Reply().int32(1).string("a").int32(0))
            .logsSize("1")
            .lists({{"a", 0}}),
        ListCase("NumberOfAnotherType", Reply().int32(1).string("a").string("1"))
            .logsSize("1")
            .lists({{"a", 0}})),
    [](const testing::TestParamInfo<ListCase>& row) { return row.param.name; });

TEST_F(VmIdsTest, OfTwoListedNumbersForOneNameTheLaterStays) {
  bus.answer("getVmList", Reply().int32(2).string("a").int32(1).string("a").int32(2));

  EXPECT_THAT(proxy->GetVmList(), ElementsAre(Pair("a", 2u)));

  EXPECT_THAT(
      log.summaries(),
      ElementsAre(debugLine("GetVmList", "vm list size: %d", "vm list size: 2"),
                  debugLine("GetVmList", "vmid[%s]~ maped to id[%d]", "vmid[a]~ maped to id[1]"),
                  debugLine("GetVmList", "vmid[%s]~ maped to id[%d]", "vmid[a]~ maped to id[2]")));
}

TEST_F(VmIdsTest, ListsAfterAnErrorReplyAreEmpty) {
  bus.answer("getVmList", Reply().ofType(MESSAGE_TYPE_ERROR).int32(1).string("a").int32(1));

  EXPECT_THAT(proxy->GetVmList(), IsEmpty());
}

}  // namespace
