#include "vel/apps/local/velctl/line/words.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velctl {
namespace {

using Words = std::vector<std::string>;

TEST(WordsTest, AreQuotedAsInAPosixShell) {
  struct Row {
    std::string line;
    Words words;
  };
  const Row rows[] = {
      {"", {}},
      {" \t ", {}},
      {"device list", {"device", "list"}},
      {"  device\t list  ", {"device", "list"}},
      {"show 'Front camera'", {"show", "Front camera"}},
      {"show \"Front camera\"", {"show", "Front camera"}},
      {R"(show Front\ camera)", {"show", "Front camera"}},
      {R"(Front' 'cam"era")", {"Front camera"}},
      {"connect ''", {"connect", ""}},
      {"\"\" ''x", {"", "x"}},
      // A backslash is a letter in single quotes, and in double quotes before most characters.
      {R"('a\b')", {R"(a\b)"}},
      {R"("a\b\"\\\$\`")", {R"(a\b"\$`)"}},
      {R"('it'\''s')", {"it's"}},
      {"# device list", {}},
      {"device list # all", {"device", "list"}},
      {"device#list", {"device#list"}},
      {"'#'", {"#"}},
      // Nothing else is special.
      {"$HOME `x` * ~ a|b >c", {"$HOME", "`x`", "*", "~", "a|b", ">c"}},
      {"\xff\xe5\x89\x8d", {"\xff\xe5\x89\x8d"}},
  };
  for (const Row& row : rows) {
    const base::Result<Words> words = wordsOf(row.line);
    ASSERT_TRUE(words) << row.line;
    EXPECT_EQ(*words, row.words) << row.line;
  }
}

TEST(WordsTest, AQuotationThatIsNotClosedIsAMistake) {
  for (const char* const line : {"'", "a 'b", "\"a", R"(a\)", R"("a\)"}) {
    EXPECT_FALSE(wordsOf(line)) << line;
  }
  EXPECT_EQ(wordsOf("a 'b").reason(), "a quotation mark is missing: '");
}

TEST(WordsTest, AWordIsReadAsItWasQuoted) {
  for (const char* const word :
       {"", "win11", "Front camera", "it's", R"("a\b")", "$(touch x)", "`x`", "a\tb", "#1", "~",
        "--vm=win11", "046d:0825", "\xe5\x89\x8d", "!x", "a;b|c&d<e>f*g?h[i]j{k}"}) {
    const base::Result<Words> words = wordsOf("x " + quotedWord(word));
    ASSERT_TRUE(words) << word;
    EXPECT_EQ(*words, (Words{"x", word}));

    const std::string inQuotes = '"' + quotedWord(word, '"') + '"';
    EXPECT_EQ(*wordsOf(inQuotes), Words{word}) << inQuotes;
  }
  EXPECT_EQ(*wordsOf('\'' + quotedWord(R"(a "b" \c)", '\'') + '\''), Words{R"(a "b" \c)"});
  EXPECT_EQ(quotedWord("it's", '\''), "") << "cannot stand in single quotes";
}

TEST(WordsTest, AWordIsQuotedOnlyWhereItNeedsIt) {
  EXPECT_EQ(quotedWord("win11"), "win11");
  EXPECT_EQ(quotedWord("--vm=win11"), "--vm=win11");
  EXPECT_EQ(quotedWord("Front camera"), R"(Front\ camera)");
  EXPECT_EQ(quotedWord(""), "''");
}

TEST(WordsTest, TheLastWordOfAnUnfinishedLineIsTheOneThatIsTyped) {
  struct Row {
    std::string line;
    Words words;
    std::size_t lastBegin;
    char quote;
  };
  const Row rows[] = {
      {"", {""}, 0, '\0'},
      {"device", {"device"}, 0, '\0'},
      {"device ", {"device", ""}, 7, '\0'},
      {"device sh", {"device", "sh"}, 7, '\0'},
      {"show 'Front c", {"show", "Front c"}, 5, '\''},
      {"show \"Front ", {"show", "Front "}, 5, '"'},
      {R"(show Front\ c)", {"show", "Front c"}, 5, '\0'},
      {R"(show Front\)", {"show", "Front"}, 5, '\0'},
      {"show 'Front camera'", {"show", "Front camera"}, 5, '\0'},
      {"show 'Front camera' ", {"show", "Front camera", ""}, 20, '\0'},
  };
  for (const Row& row : rows) {
    const UnfinishedLine line = unfinishedLine(row.line);
    EXPECT_EQ(line.words, row.words) << row.line;
    EXPECT_EQ(line.lastBegin, row.lastBegin) << row.line;
    EXPECT_EQ(line.quote, row.quote) << row.line;
  }
}

}  // namespace
}  // namespace velctl
