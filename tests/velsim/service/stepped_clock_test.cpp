#include "vel/apps/local/velsim/service/stepped_clock.h"

#include <atomic>
#include <future>
#include <thread>

#include <gmock/gmock.h>

namespace velsim {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SteppedClockTest : public ::testing::Test {
 protected:
  void plan(int delay, const std::string& name) {
    clock.after(milliseconds(delay), [this, name] {
      happened.push_back(name + " at " + std::to_string(clock.now().count()));
    });
  }

  SteppedClock clock;
  std::vector<std::string> happened;
};

TEST_F(SteppedClockTest, NothingRunsByItself) {
  plan(0, "now");

  EXPECT_THAT(happened, IsEmpty());
}

TEST_F(SteppedClockTest, RunsWhatIsDueInOrder) {
  plan(20, "late");
  plan(10, "early");
  plan(20, "second late");
  plan(31, "later");

  clock.advance(milliseconds(30));

  EXPECT_THAT(happened, ElementsAre("early at 10", "late at 20", "second late at 20"));
  EXPECT_EQ(clock.now(), milliseconds(30));
}

TEST_F(SteppedClockTest, MovesToTheNextTask) {
  plan(5, "a");
  plan(3000, "b");

  EXPECT_TRUE(clock.runNext());
  EXPECT_TRUE(clock.runNext());
  EXPECT_FALSE(clock.runNext());

  EXPECT_THAT(happened, ElementsAre("a at 5", "b at 3000"));
}

TEST_F(SteppedClockTest, ATaskMayPlanAnother) {
  clock.after(milliseconds(10), [this] { plan(10, "inner"); });

  clock.advance(milliseconds(20));

  EXPECT_THAT(happened, ElementsAre("inner at 20"));
}

TEST_F(SteppedClockTest, AfterAStopNothingRuns) {
  plan(1, "before");
  clock.stop();
  plan(1, "after");

  clock.advance(milliseconds(10));

  EXPECT_THAT(happened, IsEmpty());
}

TEST_F(SteppedClockTest, AStopWaitsForARunningTask) {
  std::promise<void> started;
  std::promise<void> mayEnd;
  std::atomic<bool> hasEnded{false};
  clock.after(milliseconds(1), [&] {
    started.set_value();
    mayEnd.get_future().wait();
    hasEnded = true;
  });
  std::thread mover([this] { clock.advance(milliseconds(1)); });
  started.get_future().wait();

  std::thread ender([&mayEnd] { mayEnd.set_value(); });
  clock.stop();

  EXPECT_TRUE(hasEnded);
  mover.join();
  ender.join();
}

}  // namespace
}  // namespace velsim
