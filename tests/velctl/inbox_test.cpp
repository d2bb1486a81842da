#include "vel/apps/local/velctl/run/inbox.h"

#include <chrono>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

namespace velctl {
namespace {

using Numbers = Inbox<int>;

TEST(InboxTest, ItemsComeInTheirOrder) {
  Numbers inbox;
  inbox.add(1);
  inbox.addAlways(2);

  EXPECT_EQ(inbox.next(), 1);
  EXPECT_EQ(inbox.next(), 2);
  EXPECT_EQ(inbox.next(Numbers::Clock::now()), std::nullopt);
}

TEST(InboxTest, ItemsThatDoNotFitAreCounted) {
  Numbers inbox;
  const int most = static_cast<int>(Numbers::kMostItems);
  for (int i = 0; i < most + 3; ++i) {
    inbox.add(i);
  }
  inbox.addAlways(-1);
  inbox.add(-2);
  EXPECT_EQ(inbox.remaining(), Numbers::kMostItems + 5);

  for (int i = 0; i < most; ++i) {
    ASSERT_EQ(inbox.next(), i);
    ASSERT_EQ(inbox.droppedBefore(), 0u);
  }
  EXPECT_EQ(inbox.next(), -1);
  EXPECT_EQ(inbox.droppedBefore(), 3u);
  EXPECT_EQ(inbox.remaining(), 1u);
  inbox.add(5);
  EXPECT_EQ(inbox.next(), 5);
  EXPECT_EQ(inbox.droppedBefore(), 1u);
  EXPECT_EQ(inbox.remaining(), 0u);
}

TEST(InboxTest, AStopKeepsEarlierItemsAndTakesNoOthers) {
  Numbers inbox;
  inbox.add(1);
  inbox.stop();
  inbox.add(2);
  inbox.addAlways(3);

  EXPECT_TRUE(inbox.isStopped());
  EXPECT_EQ(inbox.next(), 1);
  EXPECT_EQ(inbox.next(), std::nullopt);
}

TEST(InboxTest, AnItemOrAStopEndsAWait) {
  for (const bool isStop : {false, true}) {
    Numbers inbox;
    std::thread other([&inbox, isStop] { isStop ? inbox.stop() : inbox.add(7); });

    EXPECT_EQ(inbox.next(), isStop ? std::nullopt : std::optional(7));
    other.join();
  }
}

TEST(InboxTest, ADeadlineEndsAWait) {
  Numbers inbox;
  const auto deadline = Numbers::Clock::now() + std::chrono::milliseconds{20};

  EXPECT_EQ(inbox.next(deadline), std::nullopt);
  EXPECT_GE(Numbers::Clock::now(), deadline);
  EXPECT_FALSE(inbox.isStopped());
}

}  // namespace
}  // namespace velctl
