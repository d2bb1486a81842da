// What all remote operations have in common: requests, results, log lines, the order of the steps.

#include <functional>
#include <limits>
#include <set>

#include "tests/library/remote_operation_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lock = RemoteOperation::Lock;
using Mapping = RemoteOperation::Mapping;

Strings joined(std::initializer_list<Strings> parts) {
  Strings all;
  for (const Strings& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

// How the timeline shows the line of a summary.
std::string eventOf(const std::string& summary) {
  return summary.substr(0, summary.find("   <- "));
}

TEST_P(RemoteOperationTest, SendsItsRequestAndGivesTheResult) {
  EXPECT_EQ(run(), operation().result());

  ASSERT_EQ(bus.calls().size(), 1u);
  const scripted::Call sent = bus.calls().front();
  EXPECT_EQ(sent.text(), operation().request());
  EXPECT_EQ(sent.timeoutMs, operation().timeoutMs());
  EXPECT_EQ(sent.waits, operation().waits());
  EXPECT_THAT(bus.madeMessages(), ElementsAre(operation().method()));
  EXPECT_EQ(log.summaries(),
            joined({operation().first(), operation().underLock(), operation().connected(),
                    operation().beforeCall(), operation().replyLine(operation().reply()),
                    operation().afterReply()}));
}

TEST_P(RemoteOperationTest, LogsALateReply) {
  run();
  forget();

  EXPECT_EQ(bus.complete(), operation().waits() ? 0 : 1);

  EXPECT_EQ(log.summaries(), operation().completion());
  EXPECT_THAT(timeline.of(std::this_thread::get_id()), IsEmpty());
}

TEST_P(RemoteOperationTest, FailsAtOnceWithoutAService) {
  disconnect(*proxy);

  EXPECT_EQ(run(), operation().withoutService());

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(bus.calls(), IsEmpty());
  EXPECT_EQ(log.summaries(), joined({operation().first(), operation().underLock(),
                                     operation().withoutServiceLines()}));
}

TEST_P(RemoteOperationTest, FailsAtOnceWhenTheServiceHasDied) {
  disconnect(*instance);
  bus.serviceDies();
  ASSERT_TRUE(timeline.waitFor("Error Init: isServiceRegistered failed"));
  bus.waitForDeaths();
  forget();

  EXPECT_EQ(run(), operation().withoutService());

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(log.errors(), testing::Contains("retry to get qxbus interface failed"));
  EXPECT_EQ(log.summariesOf(operation().name()),
            operation().needsVm()  // its number has died with the service
                ? joined({operation().first(), operation().unknownVmLines()})
                : joined({operation().first(), operation().underLock(),
                          operation().withoutServiceLines()}));
}

TEST_P(RemoteOperationTest, FailsAfterAnErrorReply) {
  for (const int type : {3, 0, 1, 4, -9}) {
    const Reply refusal = Reply::error("too busy", type);
    bus.answer(operation().method(), refusal);
    forget();

    EXPECT_EQ(run(), operation().afterError());

    EXPECT_THAT(bus.requests(), ElementsAre(operation().request()));
    EXPECT_EQ(log.summaries(),
              joined({operation().first(), operation().underLock(), operation().connected(),
                      operation().beforeCall(), operation().replyLine(refusal),
                      operation().errorLines(type, "too busy")}));
  }
}

TEST_P(RemoteOperationTest, TakesANormalReplyWithoutArguments) {
  bus.answer(operation().method(), Reply());

  EXPECT_EQ(run(), operation().ofNothing());

  EXPECT_THAT(log.errors(), testing::Not(testing::Contains(testing::HasSubstr("reply type"))));
}

TEST_P(RemoteOperationTest, TakesItsStepsInOrder) {
  disconnect(*instance);
  qx::VelProxy fresh;
  fresh.Init();
  expectOf(fresh);
  forget();
  // Everything that Init() of the instance does stands for one step.
  Strings expected;
  const auto expect = [&expected](const Strings& steps) {
    expected.insert(expected.end(), steps.begin(), steps.end());
  };
  const auto messagesOf = [](const Strings& summaries) {
    Strings events;
    for (const std::string& summary : summaries) {
      events.push_back(eventOf(summary));
    }
    return events;
  };
  const Strings mapping =
      operation().hasVm()
          ? Strings{"make getVmListSize()",
                    "call getVmListSize(string \"" + std::string(kVm) + "\") within 3000 ms",
                    "return getVmListSize()"}
          : Strings();
  expect(messagesOf(operation().first()));
  expect({kReconnects});
  expect(operation().mapping() == Mapping::kBeforeLock ? mapping : Strings());
  expect(messagesOf(operation().underLock()));
  expect(operation().mapping() == Mapping::kBeforeMessage ? mapping : Strings());
  expect(messagesOf(operation().connected()));
  expect({"make " + operation().method() + "()"});
  expect(operation().mapping() == Mapping::kAfterMessage ? mapping : Strings());
  expect(messagesOf(operation().beforeCall()));
  expect({(operation().waits() ? "call " : "send ") + operation().request() + " within " +
          std::to_string(operation().timeoutMs()) + " ms"});
  if (operation().waits()) {
    expect({"return " + operation().method() + "()"});
  }
  expect(messagesOf(operation().replyLine(operation().reply())));
  expect(messagesOf(operation().afterReply()));

  operation().runOn(fresh);

  Strings steps;
  for (const std::string& event : timeline.of(std::this_thread::get_id())) {
    const auto isOne = [&event](const std::string& start) { return event.rfind(start, 0) == 0; };
    if (isOne("make ") || isOne("call ") || isOne("send ") || isOne("return ") ||
        event == kReconnects || isOne("Debug " + operation().name() + ":") ||
        isOne("Error " + operation().name() + ":")) {
      steps.push_back(event);
    }
  }
  EXPECT_EQ(steps, expected);
}

TEST_P(RemoteOperationTest, ConnectsAgainBeforeItWaitsForTheLock) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background earlier([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);

  Background later([this] { return run(); });

  EXPECT_TRUE(timeline.waitFor(later.id(), kReconnects));
  if (operation().lock() == Lock::kNone) {
    EXPECT_TRUE(timeline.waitFor(later.id(), "return " + operation().method() + "()"));
  } else {
    EXPECT_FALSE(timeline.happensSoon(later.id(), "make " + operation().method() + "()"));
    EXPECT_EQ(linesOf(later.id()), operation().first());
  }
  gate.open();
  EXPECT_EQ(later.result(), operation().result());
  EXPECT_EQ(earlier.result(), 0u);
}

TEST_P(RemoteOperationTest, MakesOthersWaitWhileItHoldsTheLock) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold(operation().requestEvent());
  Background earlier([this] { return run(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);

  // Another operation than the one that is held up.
  Background later([this] {
    return operation().method() == "resetService" ? proxy->GetVmList().size()
                                                  : std::size_t{proxy->ResetService()};
  });

  ASSERT_TRUE(timeline.waitFor(later.id(), kReconnects));
  if (operation().lock() == Lock::kHeld) {
    EXPECT_FALSE(timeline.happensSoon(later.id(), "make "));
  } else {
    EXPECT_TRUE(later.isDone());
  }
  gate.open();
  EXPECT_EQ(earlier.result(), operation().result());
  EXPECT_EQ(later.result(), 0u);
}

TEST_P(RemoteOperationTest, FreesTheLockWhenItHasFailed) {
  bus.answer("resetService", Reply().int32(0));
  bus.answer(operation().method(), Reply::error("too busy"));
  run();
  disconnect(*proxy);
  run();
  proxy->Init();

  Background next([this] { return proxy->ResetService(); });

  ASSERT_TRUE(next.isDone());
  EXPECT_EQ(next.result(), operation().method() == "resetService" ? kFailed : 0u);
}

TEST_P(RemoteOperationTest, TakesNoReplyAtAllForAFailure) {
  bus.answer(operation().method(), Reply::missing());

  EXPECT_EQ(run(), operation().afterError());

  EXPECT_THAT(bus.requests(), ElementsAre(operation().request()));
  EXPECT_EQ(bus.complete(), operation().waits() ? 0 : 1);
}

TEST_P(RemoteOperationTest, SendsTheNumberThatItsVirtualLookUpGives) {
  Renumbering renumbering;
  renumbering.Init();
  expectOf(renumbering);
  forget();

  operation().runOn(renumbering);

  if (operation().hasVm()) {
    EXPECT_EQ(bus.lastCall(), operation().requestForVm(Renumbering::kNumber));
    EXPECT_THAT(renumbering.asked, ElementsAre(kVm));
  } else if (operation().name() != "GetVmIdInt") {
    EXPECT_EQ(bus.lastCall(), operation().request());
    EXPECT_THAT(renumbering.asked, IsEmpty());
  }
}

TEST_P(RemoteOperationTest, SendsZeroForAVmThatTheServiceDoesNotKnow) {
  for (const Reply& noNumber : {Reply::error("no such VM"), Reply::missing()}) {
    bus.answer("getVmListSize", noNumber);
    qx::VelProxy fresh;
    fresh.Init();
    expectOf(fresh);
    forget();

    const std::string result = operation().runOn(fresh);

    if (operation().needsVm()) {
      EXPECT_EQ(result, operation().afterError());
      EXPECT_THAT(bus.madeMessages(), ElementsAre("getVmListSize"));
      EXPECT_EQ(log.summaries(), joined({operation().first(), operation().unknownVmLines()}));
    } else if (operation().name() != "GetVmIdInt") {
      EXPECT_EQ(bus.lastCall(), operation().requestForVm(0));
    }
  }
}

TEST_P(RemoteOperationTest, RefusesBadArgumentsBeforeAnythingElse) {
  disconnect(*instance);
  for (const RemoteOperation::Refusal& refusal : operation().refusals()) {
    SCOPED_TRACE(refusal.arguments);
    forget();

    EXPECT_EQ(refusal.run(*proxy), refusal.result);

    EXPECT_EQ(log.summaries(), refusal.lines);
    EXPECT_EQ(timeline.all().size(), refusal.lines.size()) << "something else happened as well";
  }
}

INSTANTIATE_TEST_SUITE_P(All, RemoteOperationTest, testing::ValuesIn(remoteOperations()),
                         testNameOf);

// --- Statuses -----------------------------------------------------------------------------------

class StatusTest : public RemoteOperationTest {
 protected:
  // The results for statuses from end to end, each of a new proxy: a name that has a number would
  // not be asked for again.
  void expectOfEachStatus(const std::function<std::string(int status)>& result) {
    for (const int status :
         {-1, -77, 0, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
      bus.answer(operation().method(), Reply().int32(status).int32(99));
      qx::VelProxy fresh;
      fresh.Init();
      log.clear();

      EXPECT_EQ(operation().runOn(fresh), result(status));

      EXPECT_THAT(log.errors(), testing::Not(testing::Contains(testing::HasSubstr("reply type"))));
    }
  }
};

class PassedStatusTest : public StatusTest {};

TEST_P(PassedStatusTest, IsTheResult) {
  expectOfEachStatus([](int status) { return shown(status); });
}

INSTANTIATE_TEST_SUITE_P(All, PassedStatusTest,
                         testing::ValuesIn(remoteOperationsThat([](const RemoteOperation& row) {
                           return row.passesStatusOn();
                         })),
                         testNameOf);

class IgnoredStatusTest : public StatusTest {};

TEST_P(IgnoredStatusTest, DoesNotChangeTheResult) {
  expectOfEachStatus([this](int) { return operation().result(); });
}

INSTANTIATE_TEST_SUITE_P(All, IgnoredStatusTest,
                         testing::ValuesIn(remoteOperationsThat([](const RemoteOperation& row) {
                           return row.ignoresStatus();
                         })),
                         testNameOf);

// --- The rows as a whole ------------------------------------------------------------------------

TEST(RowsTest, HaveNamesOfTheirOwn) {
  std::set<std::string> names;
  for (const RemoteOperation& operation : remoteOperations()) {
    EXPECT_TRUE(names.insert(operation.testName()).second)
        << operation.testName() << " has two rows: distinguish them with testedAs()";
  }
}

// Six, and no other: every further one would let requests overtake each other.
TEST(RowsTest, SayWhichOperationsLetOthersProceed) {
  std::set<std::string> proceeding;
  for (const RemoteOperation& operation : remoteOperations()) {
    if (operation.lock() != Lock::kHeld) {
      proceeding.insert(operation.name());
    }
  }

  EXPECT_THAT(proceeding,
              testing::UnorderedElementsAre("ConnectPrinter", "DisconnectPrinter", "Diagnose",
                                            "SetBwInfo", "SetRtcQosInfo",
                                            // A step of other operations, which hold the lock.
                                            "GetVmIdInt"));
}

}  // namespace
