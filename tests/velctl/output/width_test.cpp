#include "vel/apps/local/velctl/output/width.h"

#include <gtest/gtest.h>

namespace velctl {
namespace {

TEST(WidthTest, IsThatOfTheCharactersOnATerminal) {
  EXPECT_EQ(widthOf(""), 0u);
  EXPECT_EQ(widthOf("Front camera"), 12u);
  EXPECT_EQ(widthOf("\xc3\xa4\xc3\xa4"), 2u);
  // Han, full width, half width, Hangul, emoji.
  EXPECT_EQ(widthOf("\xe5\x89\x8d\xe9\x9d\xa2"), 4u);
  EXPECT_EQ(widthOf("\xef\xbc\xa1\xef\xbd\xb1"), 3u);
  EXPECT_EQ(widthOf("\xea\xb0\x80"), 2u);
  EXPECT_EQ(widthOf("\xf0\x9f\x98\x80"), 2u);
  // A printer, which terminals show in one column.
  EXPECT_EQ(widthOf("\xf0\x9f\x96\xa8"), 1u);
}

TEST(WidthTest, MarksThatJoinACharacterHaveNone) {
  EXPECT_EQ(widthOf("e\xcc\x81\xcc\x82"), 1u);
  EXPECT_EQ(widthOf("\xe0\xb8\x81\xe0\xb8\xb4"), 1u);
  // The same syllable, in its parts.
  EXPECT_EQ(widthOf("\xe1\x84\x80\xe1\x85\xa1\xe1\x86\xa8"), 2u);
  // Vowels that stand beside their consonant.
  EXPECT_EQ(widthOf("\xe0\xa4\x95\xe0\xa4\xbf"), 2u);
}

TEST(WidthTest, ATextThatFitsIsNotCut) {
  EXPECT_EQ(cutToWidth("camera", 6), "camera");
  EXPECT_EQ(cutToWidth("", 0), "");
  EXPECT_EQ(cutToWidth("\xe5\x89\x8d\xe9\x9d\xa2", 4), "\xe5\x89\x8d\xe9\x9d\xa2");
}

TEST(WidthTest, ATextThatDoesNotFitEndsWithAnEllipsis) {
  EXPECT_EQ(cutToWidth("camera", 5), "came\xe2\x80\xa6");
  EXPECT_EQ(cutToWidth("camera", 1), "\xe2\x80\xa6");
  EXPECT_EQ(cutToWidth("camera", 0), "");
}

TEST(WidthTest, ACutLeavesWholeCharactersWithTheirMarks) {
  const char text[] = "\xe5\x89\x8d\xe9\x9d\xa2\xe9\x8f\xa1";

  EXPECT_EQ(cutToWidth(text, 5), "\xe5\x89\x8d\xe9\x9d\xa2\xe2\x80\xa6");
  // One column stays free.
  EXPECT_EQ(cutToWidth(text, 4), "\xe5\x89\x8d\xe2\x80\xa6");
  EXPECT_EQ(cutToWidth("ae\xcc\x81xy", 3), "ae\xcc\x81\xe2\x80\xa6");
}

}  // namespace
}  // namespace velctl
