#include "base/utf8.h"

#include <string>

#include <gtest/gtest.h>

namespace {

struct Row {
  const char* name;
  std::string text;
  bool isValid;
};

const Row kRows[] = {
    {"Ascii", "plug", true},
    {"Nul", std::string(1, '\0'), true},
    {"SmallestOfTwoBytes", "\xC2\x80", true},
    {"LargestOfTwoBytes", "\xDF\xBF", true},
    {"SmallestOfThreeBytes", "\xE0\xA0\x80", true},
    {"LastBeforeTheSurrogates", "\xED\x9F\xBF", true},
    {"FirstBehindTheSurrogates", "\xEE\x80\x80", true},
    {"SmallestOfFourBytes", "\xF0\x90\x80\x80", true},
    {"LargestCode", "\xF4\x8F\xBF\xBF", true},
    {"ContinuationAlone", "\x80", false},
    {"TwoBytesTooLongForTheirCode", "\xC1\xBF", false},
    {"ThreeBytesTooLongForTheirCode", "\xE0\x9F\xBF", false},
    {"FourBytesTooLongForTheirCode", "\xF0\x8F\xBF\xBF", false},
    {"FirstSurrogate", "\xED\xA0\x80", false},
    {"LastSurrogate", "\xED\xBF\xBF", false},
    {"FirstCodeThatIsTooLarge", "\xF4\x90\x80\x80", false},
    {"CutOff", "\xE2\x82", false},
    {"NotContinued", "\xE2(\xA1", false},
    {"FiveBytes", "\xF8\x88\x80\x80\x80", false},
};

class Utf8Test : public testing::TestWithParam<Row> {};

TEST_P(Utf8Test, IsDistinguishedFromOtherBytes) {
  EXPECT_EQ(base::isUtf8(GetParam().text), GetParam().isValid);
  EXPECT_EQ(base::isUtf8("before " + GetParam().text + " behind"), GetParam().isValid);
  EXPECT_EQ(base::firstCharacter(GetParam().text).isValid, GetParam().isValid);
}

INSTANTIATE_TEST_SUITE_P(Texts, Utf8Test, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(Utf8CharacterTest, HasItsCodeAndItsLength) {
  const base::Utf8Character euro = base::firstCharacter("\xE2\x82\xAC 5");

  EXPECT_EQ(euro.code, char32_t{0x20AC});
  EXPECT_EQ(euro.length, 3u);
}

TEST(Utf8CutTest, NeverDividesACharacter) {
  const std::string text = "a\xE2\x82\xAC";

  EXPECT_EQ(base::cutBetweenCharacters(text, 4), text);
  EXPECT_EQ(base::cutBetweenCharacters(text, 3), "a");
  EXPECT_EQ(base::cutBetweenCharacters(text, 1), "a");
  EXPECT_EQ(base::cutBetweenCharacters(text, 0), "");
}

}  // namespace
