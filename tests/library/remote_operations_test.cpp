// What all remote operations have in common, done with each row of the table.

#include "tests/library/remote_operations.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <set>

#include "tests/library/proxy_test.h"

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

// A proxy that gives VMs numbers of its own.
class Renumbering : public qx::VelProxy {
 public:
  static constexpr unsigned int kNumber = 4242;

  unsigned int GetVmIdInt(std::string vmId) override {
    asked.push_back(std::move(vmId));
    return kNumber;
  }

  Strings asked;
};

class RemoteOperationTest : public ProxyTest, public testing::WithParamInterface<RemoteOperation> {
 protected:
  // The service knows the VM and gives the good answer; the proxy has the VM's number already.
  RemoteOperationTest() : operation_(GetParam().sentBy(*proxy)) {
    bus.knowsVm(kVm, kVmNumber);
    proxy->GetVmIdInt(kVm);
    bus.answer(operation().method(), operation().reply());
    forget();
  }

  const RemoteOperation& operation() const { return operation_; }
  // For a test that uses another object than proxy.
  void expectOf(const qx::VelProxy& other) { operation_ = GetParam().sentBy(other); }
  std::string run() { return operation().runOn(*proxy); }
  Strings linesOf(scripted::Timeline::Thread thread) const {
    Strings lines;
    for (const scripted::LogLine& line : log.lines()) {
      if (line.thread == thread && line.function == operation().name()) {
        lines.push_back(line.summary());
      }
    }
    return lines;
  }

 private:
  RemoteOperation operation_;
};

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

TEST_P(RemoteOperationTest, LogsWhatALateReplySays) {
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

TEST_P(RemoteOperationTest, PassesAnyStatusOn) {
  for (const int status :
       {-1, -77, 0, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    bus.answer(operation().method(), Reply().int32(status).int32(99));
    if (!operation().passesStatusOn()) {
      continue;
    }
    // A name that has a number would not be asked for again.
    qx::VelProxy fresh;
    fresh.Init();
    log.clear();

    EXPECT_EQ(operation().runOn(fresh), shown(status));

    EXPECT_THAT(log.errors(), testing::Not(testing::Contains(testing::HasSubstr("reply type"))));
  }
  if (!operation().passesStatusOn() && operation().reply().arguments.size() == 1) {
    // A result of its own, whatever the service's integer is.
    bus.answer(operation().method(), Reply().int32(kStatus + 1));
    EXPECT_EQ(run(), operation().result());
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
    SCOPED_TRACE(refusal.what);
    forget();

    EXPECT_EQ(refusal.run(*proxy), refusal.result);

    EXPECT_EQ(log.summaries(), refusal.lines);
    EXPECT_EQ(timeline.all().size(), refusal.lines.size()) << "something else happened as well";
  }
}

std::string testNameOf(const testing::TestParamInfo<RemoteOperation>& row) {
  return row.param.testName();
}

std::vector<RemoteOperation> operationsThat(bool (*apply)(const RemoteOperation&)) {
  std::vector<RemoteOperation> rows = remoteOperations();
  rows.erase(std::remove_if(rows.begin(), rows.end(), std::not_fn(apply)), rows.end());
  return rows;
}

INSTANTIATE_TEST_SUITE_P(All, RemoteOperationTest, testing::ValuesIn(remoteOperations()),
                         testNameOf);

// --- How long the lock is held ------------------------------------------------------------------

// Another operation on the same proxy, and how far it gets while the tested one is held up.
class LockTest : public RemoteOperationTest {
 protected:
  LockTest() { bus.answer("resetService", Reply().int32(0)); }

  // Stops the operation at the last thing that it is seen to do: at a reading of the reply or at a
  // line of its own. It is run once to find out which that is.
  Gate holdAtTheLastStep() {
    const Strings starts = {"read " + operation().method() + "(",
                            "Debug " + operation().name() + ":",
                            "Error " + operation().name() + ":"};
    const auto steps = std::make_shared<int>(0);
    for (const std::string& start : starts) {
      timeline.when(start, [steps] { ++*steps; });
    }
    run();
    Gate gate;
    for (const std::string& start : starts) {
      timeline.when(start, [steps, last = *steps, pass = gate.pass()] {
        if (*steps == last) {
          pass();
        }
      });
    }
    *steps = 0;
    return gate;
  }

  // The tested one is at the gate; the other one waits before anything that is seen of it.
  void expectAnotherToWait(Gate& gate, const std::string& itWouldDo) {
    ASSERT_TRUE(gate.isReached());
    disconnect(*instance);

    Background another(anotherOperation());

    ASSERT_TRUE(timeline.waitFor(another.id(), kReconnects));
    EXPECT_FALSE(timeline.happensSoon(another.id(), itWouldDo));
    gate.open();
    EXPECT_TRUE(another.isDone());
  }

  void expectAnotherToProceed(Gate& gate) {
    ASSERT_TRUE(gate.isReached());

    Background another(anotherOperation());

    EXPECT_TRUE(another.isDone());
    gate.open();
  }

 private:
  std::function<bool()> anotherOperation() {
    return [this] {
      return operation().method() == "resetService" ? proxy->GetVmList().empty()
                                                    : proxy->ResetService() == 0;
    };
  }
};

class HeldLockTest : public LockTest {};

TEST_P(HeldLockTest, StaysHeldUntilTheReplyHasBeenReadAndLogged) {
  Gate gate = holdAtTheLastStep();
  Background held([this] { return run(); });

  expectAnotherToWait(gate, "make ");

  EXPECT_EQ(held.result(), operation().result());
}

TEST_P(HeldLockTest, StaysHeldUntilAnErrorReplyHasBeenLogged) {
  bus.answer(operation().method(), Reply::error("too busy"));
  Gate gate = holdAtTheLastStep();
  Background held([this] { return run(); });

  expectAnotherToWait(gate, "make ");

  EXPECT_EQ(held.result(), operation().afterError());
}

// Those that do not wait do nothing that is seen once their request is sent.
INSTANTIATE_TEST_SUITE_P(All, HeldLockTest,
                         testing::ValuesIn(operationsThat([](const RemoteOperation& row) {
                           return row.lock() == Lock::kHeld && row.waits();
                         })),
                         testNameOf);

class ReleasedLockTest : public LockTest {};

TEST_P(ReleasedLockTest, IsFreeWhenTheMessageIsMade) {
  Gate gate = timeline.hold("make " + operation().method() + "()");
  Background released([this] { return run(); });

  expectAnotherToProceed(gate);

  EXPECT_EQ(released.result(), operation().result());
}

INSTANTIATE_TEST_SUITE_P(All, ReleasedLockTest,
                         testing::ValuesIn(operationsThat([](const RemoteOperation& row) {
                           return row.lock() == Lock::kReleased;
                         })),
                         testNameOf);

class MissingServiceLockTest : public LockTest {};

TEST_P(MissingServiceLockTest, IsHeldWhileThatIsLoggedIfItIsHeldDuringACall) {
  disconnect(*proxy);
  Gate gate = holdAtTheLastStep();
  Background failing([this] { return run(); });

  if (operation().lock() == Lock::kHeld) {
    expectAnotherToWait(gate, "Error ");
  } else {
    expectAnotherToProceed(gate);
  }

  EXPECT_EQ(failing.result(), operation().withoutService());
}

INSTANTIATE_TEST_SUITE_P(All, MissingServiceLockTest,
                         testing::ValuesIn(operationsThat([](const RemoteOperation& row) {
                           return row.lock() != Lock::kNone;
                         })),
                         testNameOf);

// --- Looking a VM up ----------------------------------------------------------------------------

class LookUpTest : public RemoteOperationTest {};

TEST_P(LookUpTest, IsMadeUnderTheLockOfItsOperationIfThatHoldsIt) {
  bus.answer("resetService", Reply().int32(0));
  qx::VelProxy fresh;
  fresh.Init();
  Gate gate = timeline.hold("call getVmListSize(");
  Background mapping([&] { return operation().runOn(fresh); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);

  Background another([&fresh] { return fresh.ResetService(); });

  ASSERT_TRUE(timeline.waitFor(another.id(), kReconnects));
  if (operation().lock() == Lock::kHeld && operation().mapping() == Mapping::kAfterMessage) {
    EXPECT_FALSE(timeline.happensSoon(another.id(), "make "));
  } else {
    EXPECT_TRUE(another.isDone());
  }
  gate.open();
  EXPECT_EQ(mapping.result(), operation().result());
  EXPECT_EQ(another.result(), 0u);
}

TEST_P(LookUpTest, IsNotAskedForWithoutAService) {
  Renumbering neverConnected;

  EXPECT_EQ(operation().runOn(neverConnected), operation().withoutService());

  if (operation().mapping() == Mapping::kAfterMessage) {
    EXPECT_THAT(neverConnected.asked, IsEmpty());
  } else {
    EXPECT_THAT(neverConnected.asked, ElementsAre(kVm));
  }
}

INSTANTIATE_TEST_SUITE_P(All, LookUpTest,
                         testing::ValuesIn(operationsThat([](const RemoteOperation& row) {
                           return row.hasVm();
                         })),
                         testNameOf);

// --- The table ----------------------------------------------------------------------------------

TEST(RemoteOperationTableTest, HasOneRowForEachRequest) {
  Strings names;
  for (const RemoteOperation& operation : remoteOperations()) {
    names.push_back(operation.testName());
    EXPECT_NE(operation.request().find('('), std::string::npos) << operation.name();
  }
  const std::size_t rows = names.size();
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  EXPECT_EQ(names.size(), rows);
}

TEST(RemoteOperationTableTest, ListsEveryMethodOfTheService) {
  std::set<std::string> listed;
  for (const RemoteOperation& operation : remoteOperations()) {
    listed.insert(operation.method());
  }

  EXPECT_EQ(listed.size(), 68u);
  EXPECT_THAT(
      listed,
      testing::UnorderedElementsAre(
          "resetService", "connectVm", "disconnectVm", "createPipe", "destroyPipe", "startManager",
          "setPortChannelStatus", "getVmList", "getPrinterList", "getPrinterStatus",
          "connectPrinter", "disconnectPrinter", "addNetworkPrinter", "deleteNetworkPrinter",
          "renameNetworkPrinter", "getNetworkPrinterList", "getDeviceList", "getDeviceStatus",
          "connectDevice", "disconnectDevice", "onFocusChanged", "updateDriveToken",
          "setUsbredirStatus", "setLocalPolicy", "getVmListSize", "addNetworkDevice",
          "deleteNetworkDevice", "redirectDevice", "setAutoConnect", "getAutoConnect",
          "connectDeviceBySrcId", "disconnectDeviceBySrcId", "doveltest", "dovelcmd",
          "getvelcmdhelp", "setBwInfo", "setRtcQosInfo", "diagnose", "diagnoseDevice",
          "CheckCameraAuthStat", "setDevicePropertyWithVidPid", "getDevicePropertyWithVidPid",
          "getLocalDevicePropertyWithVidPid", "getPolicyListByVidPid", "getTurboConfigWithVidPid",
          "setTurboConfigWithVidPid", "resetAllDeviceProperty", "searchSharePrinter",
          "stopSearchSharePrinter", "addSharePrinter", "deleteSharePrinter", "searchAllPrinter",
          "getPrinterDriverlList", "addPrinter", "autoAddPrinter", "deletePrinter",
          "changePrinterDriver", "printTestPage", "configNewDeviceAsConnect",
          "configNewDeviceAsIgnore", "ConfigUdisks2Command", "ConfigPrinterCommand",
          "getJoystickDevList", "getJoystickMappingList", "setJoystickMapping",
          "calibrationJoystick", "registerJoystickCallback", "unregisterJoystickCallback"));
}

TEST(RemoteOperationTableTest, SaysWhichOperationsLetOthersProceed) {
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
