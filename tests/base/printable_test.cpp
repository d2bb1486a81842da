#include "base/printable.h"

#include <string>

#include <gtest/gtest.h>

#include "base/text.h"

namespace base {
namespace {

using namespace std::string_view_literals;

std::string utf8Of(char32_t code) {
  const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
  const auto continuation = [&](int shift) { return byte(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x800) {
    return {byte(0xC0 | code >> 6), continuation(0)};
  }
  if (code < 0x10000) {
    return {byte(0xE0 | code >> 12), continuation(6), continuation(0)};
  }
  return {byte(0xF0 | code >> 18), continuation(12), continuation(6), continuation(0)};
}

TEST(PrintableTest, CharactersThatATerminalInterpretsAreEscaped) {
  struct Row {
    std::string_view text;
    std::string_view printable;
  };
  const Row rows[] = {
      {"", ""},
      {"Front camera 12%", "Front camera 12%"},
      {"\xc3\xa4\xe5\x89\x8d\xf0\x9f\x96\xa8", "\xc3\xa4\xe5\x89\x8d\xf0\x9f\x96\xa8"},
      {"\x1b[2J", "\\x1b[2J"},
      {"a\0b"sv, "a\\x00b"},
      {"\n\r\t", "\\x0a\\x0d\\x09"},
      {"\x1f \x7e\x7f", "\\x1f ~\\x7f"},
      // Control characters above ASCII, and the first character behind them.
      {"\xc2\x80\xc2\x9f\xc2\xa0", "\\xc2\\x80\\xc2\\x9f\xc2\xa0"},
      // Line separator, right-to-left override, end of an isolate.
      {"\xe2\x80\xa8\xe2\x80\xae\xe2\x81\xa9", "\\xe2\\x80\\xa8\\xe2\\x80\\xae\\xe2\\x81\\xa9"},
      // Their neighbours.
      {"\xe2\x80\xa7\xe2\x80\xaf\xe2\x81\x9f\xe2\x81\xb0",
       "\xe2\x80\xa7\xe2\x80\xaf\xe2\x81\x9f\xe2\x81\xb0"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(printable(row.text), row.printable);
  }
}

TEST(PrintableTest, CharactersThatAreNotSeenAreEscaped) {
  // The first and the last of each range, by their codes.
  const char32_t codes[] = {0xAD,    0x34F,   0x61C,   0x115F,  0x1160,  0x17B4,  0x17B5,
                            0x180B,  0x180E,  0x180F,  0x200B,  0x200D,  0x200F,  0x2060,
                            0x2064,  0x2065,  0x206A,  0x206F,  0x3164,  0xE000,  0xF8FF,
                            0xFDD0,  0xFDEF,  0xFE00,  0xFE0F,  0xFEFF,  0xFFA0,  0xFFF0,
                            0xFFFB,  0xFFFE,  0xFFFF,  0x1D173, 0x1FFFF, 0x3FFFE, 0x40000,
                            0xE0000, 0xE0001, 0xE007F, 0xE0100, 0xE0FFF, 0xF0000, 0x10FFFF};
  for (const char32_t code : codes) {
    const std::string character = utf8Of(code);
    std::string escaped;
    for (const char byte : character) {
      escaped += "\\x" + hexOf(std::string(1, byte));
    }
    EXPECT_EQ(printable("win" + character + "11"), "win" + escaped + "11");
  }
}

TEST(PrintableTest, NeighboursOfCharactersThatAreNotSeenStay) {
  const char32_t codes[] = {0xAC,    0xAE,    0x61B,   0x61D,  0x115E, 0x17B3, 0x180A,
                            0x1810,  0x200A,  0x2010,  0x3163, 0x3165, 0xD7FF, 0xF900,
                            0xFDCF,  0xFDF0,  0xFE10,  0xFF00, 0xFFFC, 0xFFFD, 0x10000,
                            0x1F5A8, 0x1FFFD, 0x20000, 0x3FFFD};
  for (const char32_t code : codes) {
    const std::string character = utf8Of(code);
    EXPECT_EQ(printable(character), character);
  }
}

// A stack of marks covers the lines above and below.
TEST(PrintableTest, FourMarksJoinACharacterAndTheOthersAreEscaped) {
  const std::string acute = "\xcc\x81";
  const std::string four = acute + acute + acute + acute;

  EXPECT_EQ(printable("e" + four + "f" + acute), "e" + four + "f" + acute);
  EXPECT_EQ(printable("e" + four + acute + "f" + acute), "e" + four + "\\xcc\\x81" + "f" + acute);
  // Of several scripts: a vowel of Thai, a final of Hangul.
  EXPECT_EQ(printable("e" + four + "\xe0\xb8\xb4\xe1\x86\xa8"),
            "e" + four + "\\xe0\\xb8\\xb4\\xe1\\x86\\xa8");
}

TEST(PrintableTest, AMarkWithoutACharacterToJoinIsEscaped) {
  EXPECT_EQ(printable("\xcc\x81"), "\\xcc\\x81");
  EXPECT_EQ(printable("\x1b\xcc\x81"), "\\x1b\\xcc\\x81");
  EXPECT_EQ(printable("a\n\xcc\x81", "\n"), "a\n\\xcc\\x81");
}

TEST(PrintableTest, BytesThatAreNotUtf8AreEscaped) {
  struct Row {
    std::string_view text;
    std::string_view printable;
  };
  const Row rows[] = {
      {"\xff", "\\xff"},
      {"\x80", "\\x80"},
      {"\xc3", "\\xc3"},
      {"\xe5\x89", "\\xe5\\x89"},
      {"\xc3(", "\\xc3("},
      // Longer than the code needs, larger than any code, a surrogate.
      {"\xc1\x9b", "\\xc1\\x9b"},
      {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
      {"\xed\xa0\x80", "\\xed\\xa0\\x80"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(printable(row.text), row.printable);
  }
}

TEST(PrintableTest, CharactersToKeepStayAsTheyAre) {
  EXPECT_EQ(printable("a\tb\nc\x1b\r", "\n\t"), "a\tb\nc\\x1b\\x0d");
}

}  // namespace
}  // namespace base
