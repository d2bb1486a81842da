#include "base/text.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace {

using std::nullopt;

TEST(NumberTest, IsAllOfTheText) {
  EXPECT_EQ(base::parseDecimal("0", 9), 0u);
  EXPECT_EQ(base::parseDecimal("010", 99), 10u);
  for (const char* const text : {"", " 1", "1 ", "+1", "-1", "1.0", "0x1", "one"}) {
    EXPECT_EQ(base::parseDecimal(text, 9), nullopt) << text;
  }
}

TEST(NumberTest, IsAtMostTheLargest) {
  EXPECT_EQ(base::parseDecimal("65535", 65535), 65535u);
  EXPECT_EQ(base::parseDecimal("65536", 65535), nullopt);
  EXPECT_EQ(base::parseDecimal("18446744073709551615", UINT64_MAX), UINT64_MAX);
  EXPECT_EQ(base::parseDecimal("18446744073709551616", UINT64_MAX), nullopt);
  EXPECT_EQ(base::parseDecimalAs<std::uint8_t>("255"), std::uint8_t{255});
  EXPECT_EQ(base::parseDecimalAs<std::uint8_t>("256"), nullopt);
}

TEST(NumberTest, IsHexadecimalBehindItsPrefix) {
  EXPECT_EQ(base::parseNumber("0x1F", 255), 31u);
  EXPECT_EQ(base::parseNumber("31", 255), 31u);
  EXPECT_EQ(base::parseNumber("0x100", 255), nullopt);
  EXPECT_EQ(base::parseNumber("0x", 255), nullopt);
  EXPECT_EQ(base::parseNumber("1F", 255), nullopt);
}

TEST(HexTest, HasTwoDigitsForEachByte) {
  EXPECT_EQ(base::hexOf(std::string("\x00\x0A\xFF", 3)), "000aff");
  EXPECT_EQ(base::hexOf(""), "");
}

TEST(HexTest, IsParsedInEitherCase) {
  EXPECT_EQ(base::parseHex("000aFF"), std::string("\x00\x0A\xFF", 3));
  EXPECT_EQ(base::parseHex(""), "");
  for (const char* const text : {"0", "0g", "g0", " 1", "+1", "0x"}) {
    EXPECT_EQ(base::parseHex(text), nullopt) << text;
  }
}

TEST(CountedTest, AddsAnSUnlessThereIsOne) {
  EXPECT_EQ(base::counted(0, "frame"), "0 frames");
  EXPECT_EQ(base::counted(1, "frame"), "1 frame");
  EXPECT_EQ(base::counted(2, "frame"), "2 frames");
}

TEST(ContainsTest, LooksForAWholeText) {
  EXPECT_TRUE(base::contains({"camera", "tablet"}, "tablet"));
  EXPECT_FALSE(base::contains({"camera", "tablet"}, "tab"));
  EXPECT_FALSE(base::contains({}, ""));
}

TEST(JoinedTest, PutsTheSeparatorBetweenNames) {
  EXPECT_EQ(base::joined({}), "");
  EXPECT_EQ(base::joined({"camera"}), "camera");
  EXPECT_EQ(base::joined({"camera", "tablet"}), "camera, tablet");
  EXPECT_EQ(base::joined({"a", "", "c"}, "|"), "a||c");
  EXPECT_EQ(base::joined({"", "b", ""}, "|"), "|b|");
}

TEST(QuotedTest, PutsTheTextInQuotationMarks) {
  EXPECT_EQ(base::quoted("win11"), "\"win11\"");
}

}  // namespace
