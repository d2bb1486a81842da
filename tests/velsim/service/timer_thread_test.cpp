#include "vel/apps/local/velsim/service/timer_thread.h"

#include <atomic>
#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velsim {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

TEST(TimerThreadTest, RunsATaskNotBeforeItsTime) {
  TimerThread timers;
  std::promise<Clock::time_point> ran;
  const Clock::time_point start = Clock::now();

  timers.after(milliseconds(30), [&ran] { ran.set_value(Clock::now()); });

  EXPECT_GE(ran.get_future().get() - start, milliseconds(30));
}

TEST(TimerThreadTest, RunsTasksInTheOrderOfTheirTimes) {
  TimerThread timers;
  std::vector<int> order;
  std::promise<void> isDone;
  std::promise<void> isPrepared;
  std::shared_future<void> prepared = isPrepared.get_future().share();

  // Everything is handed in before the first one has run.
  timers.after(milliseconds(0), [prepared] { prepared.wait(); });
  timers.after(milliseconds(20), [&] {
    order.push_back(3);
    isDone.set_value();
  });
  timers.after(milliseconds(5), [&order] { order.push_back(1); });
  timers.after(milliseconds(10), [&order] { order.push_back(2); });
  isPrepared.set_value();
  isDone.get_future().wait();

  EXPECT_THAT(order, ::testing::ElementsAre(1, 2, 3));
}

TEST(TimerThreadTest, ATaskMayAddAnother) {
  TimerThread timers;
  std::promise<void> isDone;

  timers.after(milliseconds(0),
               [&] { timers.after(milliseconds(0), [&isDone] { isDone.set_value(); }); });

  EXPECT_EQ(isDone.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST(TimerThreadTest, DropsTasksThatAreNotDueWhenStopped) {
  std::atomic<int> runs{0};
  TimerThread timers;
  timers.after(std::chrono::hours(1), [&runs] { ++runs; });

  timers.stop();
  timers.after(milliseconds(0), [&runs] { ++runs; });
  timers.stop();

  EXPECT_EQ(runs, 0);
}

TEST(TimerThreadTest, StoppingWaitsForTheTaskThatRuns) {
  TimerThread timers;
  std::promise<void> hasBegun;
  std::atomic<bool> hasEnded{false};
  timers.after(milliseconds(0), [&] {
    hasBegun.set_value();
    std::this_thread::sleep_for(milliseconds(20));
    hasEnded = true;
  });
  hasBegun.get_future().wait();

  timers.stop();

  EXPECT_TRUE(hasEnded);
}

}  // namespace
}  // namespace velsim
