// Every operation of the library with every fault of its service: result, reason, and no more time
// than the operation has. One table states the faults, another one (tests/library/) the operations.

#include <chrono>
#include <cstdio>
#include <functional>
#include <optional>
#include <ostream>
#include <set>

#include <gmock/gmock.h>

#include "tests/faults/operations.h"
#include "tests/faults/simulated_vel.h"
#include "tests/processes/busy_machine.h"
#include "tests/processes/process.h"
#include "vel/protocol/methods.h"

namespace fault_tests {
namespace {

using velsim::Fault;
using velsim::FaultKind;
using Kind = qx::VelError::Kind;

// What must come of a call. nullopt: anything that the library can make of it.
struct Expected {
  std::optional<std::string> result;
  std::optional<Kind> kind;
};

using Expect = Expected (*)(const Operation& operation, const std::string& good);

Expected asUsual(const Operation&, const std::string& good) {
  return {good, Kind::kNone};
}

Expected noReply(const Operation& operation, const std::string& good) {
  return operation.waits() ? Expected{operation.row().afterError(), Kind::kNoReply}
                           : Expected{good, Kind::kNone};
}

Expected errorReply(const Operation& operation, const std::string& good) {
  return operation.waits() ? Expected{operation.row().afterError(), Kind::kErrorReply}
                           : Expected{good, Kind::kNone};
}

Expected nothingUsable(const Operation& operation, const std::string& good) {
  return operation.waits() ? Expected{operation.row().ofNothing(), Kind::kBadReply}
                           : Expected{good, Kind::kNone};
}

// A list ends at its first empty block.
Expected emptyBlocks(const Operation& operation, const std::string& good) {
  return operation.hasBlocks() ? nothingUsable(operation, good) : asUsual(operation, good);
}

Expected randomBlocks(const Operation& operation, const std::string& good) {
  return operation.hasBlocks() ? Expected{std::nullopt, std::nullopt} : asUsual(operation, good);
}

Expected noList(const Operation& operation, const std::string& good) {
  return operation.hasList() ? nothingUsable(operation, good) : asUsual(operation, good);
}

// The elements that there are.
Expected listUpToItsEnd(const Operation& operation, const std::string& good) {
  return {good, operation.hasList() ? Kind::kBadReply : Kind::kNone};
}

// Texts come as they are, so the result is another one.
Expected otherTexts(const Operation& operation, const std::string& good) {
  const bool hasTexts = operation.isText() || operation.hasList();
  return hasTexts ? Expected{std::nullopt, Kind::kNone} : asUsual(operation, good);
}

enum class Ends { kNo, kService };

struct Column {
  const char* name;
  FaultKind kind;
  std::optional<std::uint64_t> number;
  Expect expect;
  Ends ends = Ends::kNo;
};

void PrintTo(const Column& column, std::ostream* stream) {
  *stream << column.name;
}

const Column kColumns[] = {
    {"Delay", FaultKind::kDelay, 2, asUsual},
    {"Error", FaultKind::kError, std::nullopt, errorReply},
    {"WrongReplyType", FaultKind::kWrongReplyType, std::nullopt, nothingUsable},
    {"MissingArguments", FaultKind::kMissingArguments, std::nullopt, nothingUsable},
    {"WrongArgumentTypes", FaultKind::kWrongArgumentTypes, std::nullopt, nothingUsable},
    {"TruncatedBlocks", FaultKind::kTruncatedBlocks, std::nullopt, asUsual},
    {"EmptyBlocks", FaultKind::kEmptyBlocks, std::nullopt, emptyBlocks},
    {"OversizedBlocks", FaultKind::kOversizedBlocks, 100000, asUsual},
    {"RandomBlocks", FaultKind::kRandomBlocks, std::nullopt, randomBlocks},
    {"NegativeCount", FaultKind::kNegativeCount, std::nullopt, noList},
    {"HugeCount", FaultKind::kHugeCount, std::nullopt, listUpToItsEnd},
    {"NotUtf8", FaultKind::kNotUtf8, std::nullopt, otherTexts},
    {"EmbeddedNul", FaultKind::kEmbeddedNul, std::nullopt, otherTexts},
    {"DuplicateEvents", FaultKind::kDuplicateEvents, std::nullopt, asUsual},
    {"ReorderedEvents", FaultKind::kReorderedEvents, std::nullopt, asUsual},
    {"EventFlood", FaultKind::kEventFlood, 50000, asUsual},
    {"DeathBefore", FaultKind::kDeathBefore, std::nullopt, noReply, Ends::kService},
    {"DeathAfter", FaultKind::kDeathAfter, std::nullopt, asUsual, Ends::kService},
};

constexpr char kWords[] = "out of paper";

Fault faultOf(const Column& column, const Operation& operation) {
  Fault fault;
  fault.kind = column.kind;
  fault.number = column.number;
  fault.text = kWords;
  const bool isOfEvents =
      velsim::rowOf(column.kind).concern == velsim::FaultKindRow::Concern::kEvents;
  fault.method = isOfEvents ? velsim::kMethodOfEvents : operation.method();
  return fault;
}

// A connected library beside a simulated service.
class FaultTest : public testing::Test {
 protected:
  FaultTest() {
    vel_.appear();
    reconnect();
  }

  // A proxy that begins while the library notices the death of the service may still find the dead
  // one.
  void reconnect() {
    ASSERT_TRUE(processes::comesTrue([this] {
      proxy_ = std::make_unique<qx::VelProxy>();
      // The number of the VM is looked up before a fault is set.
      return proxy_->Init() == 0 && proxy_->GetVmIdInt(kVm) != 0;
    }));
  }

  Outcome run(const Operation& operation) { return operation.runOn(*proxy_); }
  SimulatedVel& vel() { return vel_; }
  qx::VelProxy& proxy() { return *proxy_; }

 private:
  SimulatedVel vel_;
  std::unique_ptr<qx::VelProxy> proxy_;
};

class FaultMatrix : public FaultTest, public testing::WithParamInterface<Column> {
 protected:
  static void TearDownTestSuite() {
    std::printf("fault matrix: %d cells, %zu operations of %zu methods\n", cells_,
                operations().size(), velprotocol::kMethodCount);
  }

  static std::chrono::milliseconds lateness(const Outcome& outcome) {
    return processes::lateUnless(outcome.kind != Kind::kNoReply);
  }

  // The result without a fault.
  std::string goodResult(const Operation& operation) {
    const Outcome good = processes::onTime(
        [&](int /*number*/) {
          vel().restore();
          return run(operation);
        },
        lateness);
    // Behind those that do not wait.
    proxy().CheckCameraAuthStat();
    EXPECT_EQ(good.kind, Kind::kNone) << good.text;
    return good.result;
  }

  void check(const Operation& operation) {
    const Column& column = GetParam();
    const std::string good = goodResult(operation);
    const Expected expected = column.expect(operation, good);
    Fault fault = faultOf(column, operation);
    const auto runWithFault = [&](int number) {
      vel().restore();
      if (fault.kind == FaultKind::kEventFlood && number > 1) {
        // As much as a busy machine can take.
        fault.number = *fault.number / 4;
      }
      vel().faults().add(fault);
      return run(operation);
    };

    const bool isRepeatable = expected.kind != Kind::kNoReply && column.ends != Ends::kService;
    const Outcome outcome =
        isRepeatable ? processes::onTime(runWithFault, lateness) : runWithFault(1);

    if (expected.result) {
      EXPECT_EQ(outcome.result, *expected.result);
    }
    if (expected.kind) {
      EXPECT_EQ(outcome.kind, *expected.kind) << outcome.text;
    } else {
      EXPECT_TRUE(outcome.kind == Kind::kNone || outcome.kind == Kind::kBadReply) << outcome.text;
    }
    if (outcome.kind == Kind::kErrorReply) {
      EXPECT_EQ(outcome.text, kWords);
    }
    if (fault.method != velsim::kMethodOfEvents) {
      EXPECT_TRUE(processes::comesTrue([this] {
        return vel().faults().list().find("met 1 of 1\n") != std::string::npos;
      })) << vel().faults().list();
    }
    if (column.ends == Ends::kService) {
      EXPECT_TRUE(vel().waitForDeath());
      vel().restore();
      vel().appear();
      reconnect();
    }
    ++cells_;
  }

 private:
  static inline int cells_ = 0;
};

TEST_P(FaultMatrix, GivesEachOperationItsResult) {
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.row().testName());

    check(operation);
  }
  // Whatever went wrong, the next call is as good as the first.
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.row().testName());
    goodResult(operation);
  }
}

INSTANTIATE_TEST_SUITE_P(All, FaultMatrix, testing::ValuesIn(kColumns),
                         [](const auto& instance) { return instance.param.name; });

class FaultMatrixItself : public FaultTest {};

TEST_F(FaultMatrixItself, HasEveryMethodAndEveryFault) {
  std::set<std::string> methods;
  for (const Operation& operation : operations()) {
    methods.insert(operation.method());
  }
  std::set<FaultKind> kinds = {FaultKind::kNoAnswer, FaultKind::kSlowStart};  // tests below
  for (const Column& column : kColumns) {
    kinds.insert(column.kind);
  }

  EXPECT_EQ(methods.size(), velprotocol::kMethodCount);
  EXPECT_EQ(kinds.size(), velsim::faultKinds().size());
}

TEST_F(FaultMatrixItself, ListsHaveElementsForTheirFaults) {
  for (const Operation& operation : operations()) {
    if (operation.hasList()) {
      EXPECT_GT(run(operation).result.size(), 2u) << operation.method();
    }
  }
}

TEST_F(FaultMatrixItself, OtherTextsComeAsTheyAre) {
  int texts = 0;
  for (const Operation& operation : operations()) {
    if (!operation.isText()) {
      continue;
    }
    SCOPED_TRACE(operation.method());
    vel().restore();
    const std::string good = run(operation).result;
    vel().restore();
    vel().faults().add(
        {FaultKind::kNotUtf8, operation.method(), *velsim::parseCallRange("1"), {}, ""});
    vel().faults().add(
        {FaultKind::kEmbeddedNul, operation.method(), *velsim::parseCallRange("2"), {}, ""});

    EXPECT_THAT(run(operation).result, testing::HasSubstr("\xFF\xC0\xAF"));
    const std::string withNul = run(operation).result;

    EXPECT_NE(withNul.find('\0'), std::string::npos);
    EXPECT_EQ(withNul.size(), good.size() + 1);
    ++texts;
  }
  EXPECT_GT(texts, 4);
}

TEST_F(FaultMatrixItself, ASeedGivesTheSameBytesAgain) {
  const auto devices = [this](std::uint64_t seed) {
    vel().restore();
    vel().faults().add({FaultKind::kRandomBlocks, "getDeviceList", {}, seed, ""});
    std::string lengths;
    for (CommonDevice* const device : proxy().GetLocalDeviceList()) {
      std::free(device);
    }
    for (const std::size_t length : qx::VelProxy::lastRecordLengths()) {
      lengths += std::to_string(length) + " ";
    }
    return lengths;
  };

  const std::string first = devices(7);

  EXPECT_NE(first, "");
  EXPECT_EQ(devices(7), first);
  EXPECT_NE(devices(8), first);
}

// --- A service that is not there yet ------------------------------------------------------------

class SlowStart : public testing::Test {};

TEST_F(SlowStart, GivesEachOperationNoServiceAndThenItsResult) {
  SimulatedVel vel;
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.row().testName());
    vel.restore();
    qx::VelProxy early;
    EXPECT_NE(early.Init(), 0u);

    const Outcome before = operation.runOn(early);
    vel.appear();
    qx::VelProxy later;
    // An attempt of the thread that handles the death before may be under way, and is shared.
    EXPECT_TRUE(processes::comesTrue([&later] { return later.Init() == 0u; }));
    const Outcome after = operation.runOn(later);

    EXPECT_EQ(before.result, operation.row().withoutService());
    EXPECT_EQ(before.kind, Kind::kNoService) << before.text;
    EXPECT_EQ(after.kind, Kind::kNone) << after.text;
    vel.vanish();
  }
}

// --- Calls without an answer --------------------------------------------------------------------

// All of them wait at the same time, so that the longest time-out is the time of the test. Each
// operation has two faults: no answer at all, and one that comes long after its time-out.
class NoAnswerInTime : public FaultTest {
 protected:
  struct Waiting {
    const Operation* operation;
    std::unique_ptr<qx::VelProxy> proxy;
    Outcome outcome;
    std::chrono::milliseconds took{0};
  };

  void waitFor(const std::function<bool(const Operation&)>& isMeant) {
    // Far above what a busy machine adds, and below the next longer time-out.
    constexpr std::chrono::milliseconds kSlack{5000};
    std::vector<Waiting> all;
    for (const Operation& operation : operations()) {
      if (operation.waits() && isMeant(operation)) {
        for (int i = 0; i < 2; ++i) {
          auto proxy = std::make_unique<qx::VelProxy>();
          ASSERT_EQ(proxy->Init(), 0u);
          proxy->GetVmIdInt(kVm);
          all.push_back({&operation, std::move(proxy), {}, {}});
        }
      }
    }
    for (const velprotocol::Method& method : velprotocol::kMethods) {
      const std::string name(method.name);
      vel().faults().add({FaultKind::kNoAnswer, name, *velsim::parseCallRange("*/2"), {}, ""});
      vel().faults().add({FaultKind::kDelay, name, {}, 600000, ""});
    }

    std::vector<std::thread> threads;
    for (Waiting& waiting : all) {
      threads.emplace_back([&waiting] {
        const auto begin = std::chrono::steady_clock::now();
        waiting.outcome = waiting.operation->runOn(*waiting.proxy);
        waiting.took = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - begin);
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }

    for (const Waiting& waiting : all) {
      SCOPED_TRACE(waiting.operation->row().testName());
      const std::chrono::milliseconds limit(waiting.operation->timeoutMs());
      EXPECT_EQ(waiting.outcome.result, waiting.operation->row().afterError());
      EXPECT_EQ(waiting.outcome.kind, Kind::kNoReply) << waiting.outcome.text;
      EXPECT_GE(waiting.took, limit - std::chrono::milliseconds(1));
      EXPECT_LT(waiting.took, limit + kSlack);
    }
    std::printf("fault matrix: %zu cells without an answer in time\n", all.size());
  }
};

TEST_F(NoAnswerInTime, EndsEachCallAfterItsTimeOut) {
  waitFor(
      [](const Operation& operation) { return operation.timeoutMs() < velprotocol::kSearchMs; });
}

// A test program of its own in ctest, because it takes 30 s.
TEST_F(NoAnswerInTime, EndsTheLongestCallsAfterTheirTimeOut) {
  waitFor(
      [](const Operation& operation) { return operation.timeoutMs() >= velprotocol::kSearchMs; });
}

TEST_F(NoAnswerInTime, LeavesCallsThatDoNotWaitAlone) {
  for (const Operation& operation : operations()) {
    if (!operation.waits()) {
      vel().faults().add({FaultKind::kNoAnswer, operation.method(), {}, {}, ""});
      vel().faults().add({FaultKind::kDelay, operation.method(), {}, 600000, ""});
      const Outcome outcome = run(operation);
      EXPECT_EQ(outcome.result, operation.row().result()) << operation.method();
      EXPECT_EQ(outcome.kind, Kind::kNone) << operation.method();
    }
  }
}

}  // namespace
}  // namespace fault_tests
