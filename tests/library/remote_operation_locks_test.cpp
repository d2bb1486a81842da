// How long remote operations hold the call mutex, and whether they hold it while they look a VM up.

#include <functional>
#include <memory>

#include "tests/library/remote_operation_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lock = RemoteOperation::Lock;
using Mapping = RemoteOperation::Mapping;

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
                         testing::ValuesIn(remoteOperationsThat([](const RemoteOperation& row) {
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
                         testing::ValuesIn(remoteOperationsThat([](const RemoteOperation& row) {
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
                         testing::ValuesIn(remoteOperationsThat([](const RemoteOperation& row) {
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
                         testing::ValuesIn(remoteOperationsThat([](const RemoteOperation& row) {
                           return row.hasVm();
                         })),
                         testNameOf);

}  // namespace
