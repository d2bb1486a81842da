#include "base/spelling.h"

#include <gtest/gtest.h>

namespace {

using base::slipsBetween;

TEST(SlipsBetweenTwoWords, AreNoneForTheSameWord) {
  EXPECT_EQ(slipsBetween("device", "device"), 0U);
  EXPECT_EQ(slipsBetween("", ""), 0U);
}

TEST(SlipsBetweenTwoWords, CountALetterThatIsMissingAddedChangedOrSwapped) {
  EXPECT_EQ(slipsBetween("devce", "device"), 1U);
  EXPECT_EQ(slipsBetween("deviice", "device"), 1U);
  EXPECT_EQ(slipsBetween("devyce", "device"), 1U);
  EXPECT_EQ(slipsBetween("devcie", "device"), 1U);
  EXPECT_EQ(slipsBetween("edvice", "device"), 1U);
}

TEST(SlipsBetweenTwoWords, AddUp) {
  EXPECT_EQ(slipsBetween("edvcie", "device"), 2U);
  EXPECT_EQ(slipsBetween("dvce", "device"), 2U);
  EXPECT_EQ(slipsBetween("printer", "camera"), 6U);
}

TEST(SlipsBetweenTwoWords, AreTheLettersOfOneWhenTheOtherHasNone) {
  EXPECT_EQ(slipsBetween("", "list"), 4U);
  EXPECT_EQ(slipsBetween("list", ""), 4U);
}

TEST(SlipsBetweenTwoWords, AreTheSameInBothDirections) {
  EXPECT_EQ(slipsBetween("atach", "attached"), slipsBetween("attached", "atach"));
}

}  // namespace
