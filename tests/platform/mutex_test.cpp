#include "platform/mutex.h"

#include <chrono>

#include <gtest/gtest.h>

#include "base/thread.h"

namespace {

TEST(ConditionTest, EndsAWaitAtItsDeadline) {
  platform::Mutex mutex;
  platform::Condition condition;
  platform::MutexLock lock(mutex);

  const auto deadline = platform::Condition::Clock::now() + std::chrono::milliseconds(20);
  while (condition.waitUntil(lock, deadline)) {
  }

  EXPECT_GE(platform::Condition::Clock::now(), deadline);
}

TEST(ConditionTest, WakesTheThreadThatWaits) {
  platform::Mutex mutex;
  platform::Condition condition;
  bool isSet = false;
  base::Result<std::thread> thread = base::startThread("test", [&] {
    const platform::MutexLock lock(mutex);
    isSet = true;
    condition.notifyOne();
  });
  ASSERT_TRUE(thread) << thread.reason();

  {
    platform::MutexLock lock(mutex);
    while (!isSet) {
      condition.waitUntil(lock, platform::Condition::Clock::time_point::max());
    }
  }

  thread->join();
}

// --- The time that a wait is given where the system waits for durations -------------------------

using platform::MonotonicClock;
using platform::timeLeft;
using std::chrono::hours;
using std::chrono::nanoseconds;

MonotonicClock::time_point at(nanoseconds time) {
  return MonotonicClock::time_point(std::chrono::duration_cast<MonotonicClock::duration>(time));
}

nanoseconds given(nanoseconds deadline, nanoseconds now) {
  const std::timespec left = timeLeft(at(deadline), at(now));
  EXPECT_GE(left.tv_nsec, 0);
  EXPECT_LT(left.tv_nsec, 1'000'000'000);
  return std::chrono::seconds(left.tv_sec) + nanoseconds(left.tv_nsec);
}

TEST(TimeLeftTest, IsTheTimeUntilTheDeadline) {
  EXPECT_EQ(given(nanoseconds(5'000'000'001), nanoseconds(3'999'999'999)),
            nanoseconds(1'000'000'002));
  EXPECT_EQ(given(nanoseconds(8), nanoseconds(7)), nanoseconds(1));
}

TEST(TimeLeftTest, IsZeroAtTheDeadlineAndBehindIt) {
  EXPECT_EQ(given(nanoseconds(7), nanoseconds(7)), nanoseconds(0));
  EXPECT_EQ(given(nanoseconds(6), nanoseconds(7)), nanoseconds(0));
  EXPECT_EQ(given(nanoseconds::min(), nanoseconds(7)), nanoseconds(0));
}

TEST(TimeLeftTest, IsAnHourAtMost) {
  EXPECT_EQ(given(hours(2) + nanoseconds(7), nanoseconds(7)), hours(1));
  EXPECT_EQ(given(nanoseconds::max(), nanoseconds(7)), hours(1));
}

TEST(ConditionTest, DoesNotWaitForADeadlineThatHasPassed) {
  platform::Mutex mutex;
  platform::Condition condition;
  platform::MutexLock lock(mutex);

  EXPECT_FALSE(condition.waitUntil(lock, platform::Condition::Clock::time_point()));
}

}  // namespace
