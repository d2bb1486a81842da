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

}  // namespace
