#include "base/printable.h"

#include <gtest/gtest.h>

namespace base {
namespace {

using namespace std::string_view_literals;

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
      {"\xe2\x80\xa7\xe2\x80\xaf\xe2\x81\xa5\xe2\x81\xaa",
       "\xe2\x80\xa7\xe2\x80\xaf\xe2\x81\xa5\xe2\x81\xaa"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(printable(row.text), row.printable);
  }
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
