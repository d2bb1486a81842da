#include "base/result.h"

#include <memory>

#include <gtest/gtest.h>

namespace {

base::Result<int> halfOf(int number) {
  if (number % 2 != 0) {
    return base::Failed{"odd"};
  }
  return number / 2;
}

base::Result<void> check(bool isGood) {
  return isGood ? base::Result<void>() : base::Failed{"bad"};
}

TEST(ResultTest, HoldsAValueAndNoReason) {
  const base::Result<int> result = halfOf(8);

  ASSERT_TRUE(result);
  EXPECT_EQ(*result, 4);
  EXPECT_EQ(result.reason(), "");
}

TEST(ResultTest, HoldsTheReasonInPlaceOfAValue) {
  const base::Result<int> result = halfOf(7);

  EXPECT_FALSE(result);
  EXPECT_EQ(result.reason(), "odd");
}

TEST(ResultTest, MovesItsValueOut) {
  base::Result<std::unique_ptr<int>> result = std::make_unique<int>(5);

  const std::unique_ptr<int> taken = std::move(*result);

  EXPECT_EQ(*taken, 5);
}

TEST(ResultTest, PassesItsReasonOnToAnotherResult) {
  const base::Result<int> first = halfOf(7);

  const base::Result<void> second = first.failed();

  EXPECT_FALSE(second);
  EXPECT_EQ(second.reason(), "odd");
}

TEST(ResultTest, SucceedsWithoutAValue) {
  EXPECT_TRUE(check(true));
  EXPECT_EQ(check(true).reason(), "");
  EXPECT_FALSE(check(false));
  EXPECT_EQ(check(false).reason(), "bad");
}

}  // namespace
