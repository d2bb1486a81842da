#include "vel/apps/local/velctl/output/text_forms.h"

#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "vel/apps/local/velctl/output/time_forms.h"

namespace velctl {
namespace {

using namespace std::string_view_literals;

TEST(TextFormsTest, JsonTextIsTheTextAndUtf8) {
  struct Row {
    std::string_view text;
    std::string_view json;
  };
  const Row rows[] = {
      {"", ""},
      {"\xc3\xa4\xe5\x89\x8d\xf0\x9f\x96\xa8", "\xc3\xa4\xe5\x89\x8d\xf0\x9f\x96\xa8"},
      {"a\0\x1b\xe2\x80\xae"sv, "a\0\x1b\xe2\x80\xae"sv},
      // Not UTF-8.
      {"\xff", "\xef\xbf\xbd"},
      {"\xe5\x89", "\xef\xbf\xbd\xef\xbf\xbd"},
      {"\xc3(", "\xef\xbf\xbd("},
      {"\xc1\x9b", "\xef\xbf\xbd\xef\xbf\xbd"},
      {"\xf4\x90\x80\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
      {"\xed\xa0\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(jsonText(row.text).get<std::string>(), row.json);
  }
}

TEST(TextFormsTest, LinesKeepTheirNewlinesAndTabsExceptTheLastNewline) {
  EXPECT_EQ(printableLines("a\tb\nc\x1b\n\n"), "a\tb\nc\\x1b\n");
  EXPECT_EQ(printableLines("\n"), "");
  EXPECT_EQ(printableLines(""), "");
}

TEST(TextFormsTest, ATextInQuotesIsPrintable) {
  EXPECT_EQ(printableInQuotes("a\x1b\"b"), "\"a\\x1b\"b\"");
}

TEST(TextFormsTest, AnAgeHasItsTwoLargestUnits) {
  const std::pair<long, const char*> rows[] = {
      {0, "0 s"},        {59, "59 s"},          {60, "1 min"},
      {61, "1 min 1 s"}, {3599, "59 min 59 s"}, {3600, "1 h"},
      {3659, "1 h"},     {3660, "1 h 1 min"},   {86399, "23 h 59 min"},
      {86400, "1 d"},    {90000, "1 d 1 h"},    {863999, "9 d 23 h"}};
  for (const auto& [age, text] : rows) {
    EXPECT_EQ(ageText(std::chrono::seconds(age)), text) << age;
  }
}

TEST(TextFormsTest, BytesAreShownInLinesOfSixteen) {
  EXPECT_EQ(hexDump(""), "");
  EXPECT_EQ(hexDump("0123456789abcdef"),
            "0000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  |0123456789abcdef|");
  EXPECT_EQ(hexDump("0123456789abcdef\x7f\x1f~"),
            "0000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  |0123456789abcdef|\n"
            "0010  7f 1f 7e                                         |..~|");
  EXPECT_EQ(hexDump(std::string(65, '.')),
            "0000  2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e  |................|\n"
            "*\n"
            "0040  2e                                               |.|");
  EXPECT_EQ(hexDump(std::string(48, '.')),
            "0000  2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e  |................|\n"
            "*\n"
            "0020  2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e  |................|");
}

}  // namespace
}  // namespace velctl
