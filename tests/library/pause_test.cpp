// The pauses of a thread that works for a proxy.

#include "vel/apps/local/velproxy/internal/pause.h"

#include <chrono>
#include <future>
#include <memory>

#include <gtest/gtest.h>

#include "vel/apps/local/velproxy/internal/lifetime.h"

namespace {

using std::chrono::seconds;

TEST(PauseTest, LastsAtLeastAsLongAsItIsAskedTo) {
  qx::Lifetime lifetime;
  const auto start = std::chrono::steady_clock::now();

  qx::pauseFor(seconds(1), lifetime);

  EXPECT_GE(std::chrono::steady_clock::now() - start, seconds(1));
}

TEST(PauseTest, EndsWhenItsProxyIsDestroyed) {
  const auto lifetime = std::make_shared<qx::Lifetime>();
  std::promise<void> begun;
  auto pause = std::async(std::launch::async, [&] {
    const qx::Lifetime::Visit visit(lifetime);
    begun.set_value();
    qx::pauseFor(seconds(1000), *lifetime);
    return static_cast<bool>(visit);
  });
  begun.get_future().wait();

  lifetime->end();

  // end() has waited for the visit, and so for the pause.
  EXPECT_EQ(pause.wait_for(seconds(30)), std::future_status::ready);
  EXPECT_TRUE(pause.get());
}

TEST(PauseTest, EndsAtOnceWhenItsProxyHasBeenDestroyed) {
  qx::Lifetime lifetime;
  lifetime.end();

  qx::pauseFor(seconds(1000), lifetime);
}

TEST(LifetimeTest, AVisitIsRefusedAtTheEnd) {
  const auto lifetime = std::make_shared<qx::Lifetime>();
  EXPECT_FALSE(lifetime->hasEnded());
  EXPECT_TRUE(qx::Lifetime::Visit(lifetime));

  lifetime->end();

  EXPECT_TRUE(lifetime->hasEnded());
  EXPECT_FALSE(qx::Lifetime::Visit(lifetime));
}

TEST(LifetimeTest, TheEndDoesNotWaitForItsOwnThreadAndUnlocksItsMutex) {
  const auto lifetime = std::make_shared<qx::Lifetime>();
  platform::Mutex mutex;
  qx::Lifetime::Visit outer(lifetime);
  qx::Lifetime::Visit inner(lifetime);
  platform::MutexLock lock(mutex);
  inner.setLock(lock);

  lifetime->end();

  auto other = std::async(std::launch::async, [&] {
    const platform::MutexLock itsOwn(mutex);
    return true;
  });
  EXPECT_EQ(other.wait_for(seconds(30)), std::future_status::ready);
}

}  // namespace
