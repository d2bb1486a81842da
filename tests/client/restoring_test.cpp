// What is repeated for a new service when the first attempt fails.

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <utility>
#include <vector>

#include "tests/client/client_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::StartsWith;

class RestoringTest : public ClientTest {
 protected:
  RestoringTest() {
    bus.knowsVm("win11", 7);
    bus.answer("registerJoystickCallback", Reply().int32(0));
    bus.answer("unregisterJoystickCallback", Reply().int32(0));
  }

  // Two deaths may report their returns at once. Tests read when neither has a thread any more.
  std::mutex mutex;
  std::vector<vel::ServiceReturn> returns;
  vel::Subscription back = client.onServiceReturn([this](const vel::ServiceReturn& event) {
    const std::lock_guard<std::mutex> lock(mutex);
    returns.push_back(event);
  });
};

TEST_F(RestoringTest, AVmThatTheServiceDidNotAnswerForIsNamedToTheNextOne) {
  client.vmNumber("win11");
  bus.answerOnce("getVmListSize", Reply::error("late", MESSAGE_TYPE_NO_REPLY));
  restartService();
  ASSERT_EQ(returns.size(), 1U);
  EXPECT_THAT(returns[0].vms, IsEmpty());
  ASSERT_EQ(returns[0].failures.size(), 1U);
  EXPECT_EQ(returns[0].failures[0].kind(), vel::ErrorKind::kNoReply);

  restartService();

  ASSERT_EQ(returns.size(), 2U);
  EXPECT_THAT(returns[1].vms, ElementsAre("win11"));
  EXPECT_THAT(returns[1].failures, IsEmpty());
}

TEST_F(RestoringTest, AVmIsNamedToTheThirdServiceWhenTheSecondDiesMeanwhile) {
  client.vmNumber("win11");
  std::atomic<int> lookUps{0};
  timeline.when("call getVmListSize", [&] {
    if (++lookUps == 1) {
      bus.serviceDies();
    }
  });

  restartService();

  ASSERT_EQ(returns.size(), 2U);
  EXPECT_EQ(client.vmName(vel::VmNumber(7)), "win11") << "its events arrive";
}

TEST_F(RestoringTest, AVmWhoseNumberComesFromAServiceThatHasDiedIsNamedToTheNextOne) {
  client.vmNumber("win11");
  std::atomic<int> deaths{0};
  std::promise<void> diedAgain;
  const auto death = client.onServiceDeath([&](const vel::ServiceDeath&) {
    if (++deaths == 2) {
      diedAgain.set_value();
    }
  });
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
  Gate answer = timeline.hold("return getVmListSize()");
  bus.serviceDies();
  ASSERT_TRUE(answer.isReached());

  bus.serviceDies();
  ASSERT_EQ(diedAgain.get_future().wait_for(std::chrono::minutes(1)), std::future_status::ready);
  answer.open();
  bus.waitForDeaths();

  // Each death has a thread of its own, and either of them may be the first to report the return.
  ASSERT_EQ(returns.size(), 2U);
  if (returns[0].failures.empty()) {
    std::swap(returns[0], returns[1]);
  }
  ASSERT_EQ(returns[0].failures.size(), 1U);
  EXPECT_EQ(returns[0].failures[0].message(), "getVmListSize: the service has died again");
  EXPECT_THAT(returns[1].vms, ElementsAre("win11"));
}

TEST_F(RestoringTest, AVmThatTheServiceDoesNotKnowIsForgotten) {
  client.vmNumber("win11");
  bus.knowsVm("win11", 0);
  restartService();

  restartService();

  ASSERT_EQ(returns.size(), 2U);
  EXPECT_EQ(returns[0].failures.size(), 1U);
  EXPECT_THAT(returns[1].failures, IsEmpty());
}

TEST_F(RestoringTest, JoysticksThatOneServiceRefusedAreAskedOfTheNext) {
  const auto joystick = client.onJoystick([](const vel::JoystickEvent&) {});
  bus.answerOnce("registerJoystickCallback", Reply().int32(19));
  restartService();

  restartService();

  ASSERT_EQ(returns.size(), 2U);
  EXPECT_THAT(returns[0].joysticks, Optional(false));
  EXPECT_THAT(returns[1].joysticks, Optional(true));
  EXPECT_THAT(bus.lastCall(), StartsWith("registerJoystickCallback("));
}

TEST_F(RestoringTest, JoysticksThatNobodySubscribesToAnyMoreAreNotAskedFor) {
  auto joystick = client.onJoystick([](const vel::JoystickEvent&) {});
  const auto device = client.onDevice([&](const vel::DeviceEvent&) { joystick->end(); });
  emitDevice("Camera");
  forget();

  restartService();

  EXPECT_THAT(bus.requests(), IsEmpty());
  ASSERT_EQ(returns.size(), 1U);
  EXPECT_EQ(returns[0].joysticks, std::nullopt);
}

}  // namespace
