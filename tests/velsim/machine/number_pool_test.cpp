#include "vel/apps/local/velsim/machine/number_pool.h"

#include <set>

#include <gtest/gtest.h>

namespace velsim {
namespace {

constexpr int kCount = 65536 - NumberPool::kFirst;

TEST(NumberPoolTest, ANumberThatWasGivenBackComesLast) {
  NumberPool pool;
  const std::uint16_t first = pool.take();
  pool.giveBack(first);

  std::set<std::uint16_t> before;
  for (int i = 1; i < kCount; ++i) {
    before.insert(pool.take());
  }

  EXPECT_EQ(before.count(first), 0u);
  EXPECT_EQ(before.size(), kCount - 1u);
  EXPECT_EQ(pool.take(), first);
}

TEST(NumberPoolTest, ReturnsZeroWhenAllNumbersAreInUse) {
  NumberPool pool;
  for (int i = 0; i < kCount; ++i) {
    EXPECT_NE(pool.take(), 0);
  }

  EXPECT_EQ(pool.take(), 0);
  EXPECT_EQ(pool.take(), 0);
  pool.giveBack(500);
  EXPECT_EQ(pool.take(), 500);
}

TEST(NumberPoolTest, BeginsAgainWithItsFirstNumberBehindTheLast) {
  constexpr std::uint16_t kNearTheEnd = 65534;
  NumberPool pool(kNearTheEnd);
  EXPECT_EQ(pool.take(), 65534);
  EXPECT_EQ(pool.take(), 65535);
  EXPECT_EQ(pool.take(), 0);

  pool.giveBack(kNearTheEnd);

  EXPECT_EQ(pool.take(), 65534);
}

}  // namespace
}  // namespace velsim
