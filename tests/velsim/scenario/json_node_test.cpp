#include "vel/apps/local/velsim/scenario/json_node.h"

#include <gmock/gmock.h>

namespace velsim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct Parsed {
  Mistakes mistakes{"file.json"};
  std::unique_ptr<JsonNode> root;

  explicit Parsed(const std::string& text) : root(parseJson(text, mistakes)) {}
};

// "path line", of every value in the order of the file.
std::vector<std::string> placesIn(const JsonNode& node) {
  std::vector<std::string> places = {node.path() + " " + std::to_string(node.line())};
  for (const auto& child : node.children()) {
    for (std::string& place : placesIn(*child)) {
      places.push_back(std::move(place));
    }
  }
  return places;
}

TEST(JsonNodeTest, EveryValueKnowsItsLineAndItsPath) {
  const Parsed parsed(
      "{\n"
      "  \"a\": 1,\n"
      "  \"b\": [\n"
      "    -2,\n"
      "    \"text\", true, null,\n"
      "    {\n"
      "      \"c\": 1.5\n"
      "    }\n"
      "  ]\n"
      "}\n");

  EXPECT_THAT(parsed.mistakes.lines(), IsEmpty());
  EXPECT_THAT(placesIn(*parsed.root), ElementsAre("top level 1", "a 2", "b 3", "b[0] 4", "b[1] 5",
                                                  "b[2] 5", "b[3] 5", "b[4] 6", "b[4].c 7"));
}

TEST(JsonNodeTest, ANumberBeforeTheEndOfALineBelongsToThatLine) {
  const Parsed parsed("[\n1\n,\n2\n]");

  EXPECT_THAT(placesIn(*parsed.root), ElementsAre("top level 1", "[0] 2", "[1] 4"));
}

TEST(JsonNodeTest, ShowsWhatItHolds) {
  const Parsed parsed(
      R"([null, true, false, 7, -7, 18446744073709551615, 0.5, "a\u001b", [], {}])");

  std::vector<std::string> shown;
  for (const auto& child : parsed.root->children()) {
    shown.push_back(child->shown());
  }
  EXPECT_THAT(shown, ElementsAre("null", "true", "false", "7", "-7", "18446744073709551615", "0.5",
                                 "the text \"a\\x1b\"", "an array", "an object"));
}

TEST(JsonNodeTest, ALongTextIsCutInMessages) {
  const Parsed parsed("\"" + std::string(1000, 'a') + "\"");

  EXPECT_EQ(parsed.root->shown(), "the text \"" + std::string(48, 'a') + "...\"");
}

TEST(JsonNodeTest, TextThatIsNoJsonIsOneMistakeWithItsLine) {
  struct Case {
    const char* text;
    const char* begin;
    const char* reason;
  };
  const Case cases[] = {
      {"", "file.json:1: not JSON: ", "unexpected end of input"},
      {"{\n\n  \"a\" 1}", "file.json:3: not JSON: ", "expected ':'"},
      {"[1,\n2", "file.json:2: not JSON: ", "unexpected end of input"},
      {"[1] 2", "file.json:1: not JSON: ", "expected end of input"},
      {"[1e999]", "file.json:1: not JSON: ", "number overflow"},
      {"[\"\xff\"]", "file.json:1: not JSON: ", "ill-formed UTF-8"},
  };
  for (const Case& each : cases) {
    const Parsed parsed(each.text);

    EXPECT_EQ(parsed.root, nullptr) << each.text;
    ASSERT_THAT(parsed.mistakes.lines(), SizeIs(1)) << each.text;
    EXPECT_THAT(parsed.mistakes.lines()[0], testing::StartsWith(each.begin));
    EXPECT_THAT(parsed.mistakes.lines()[0], HasSubstr(each.reason));
  }
}

TEST(JsonNodeTest, AMemberThatStandsTwiceIsAMistakeAndItsFirstValueCounts) {
  const Parsed parsed("{\n\"a\": 1,\n\"b\": 2,\n\"a\": 3\n}");

  EXPECT_THAT(parsed.mistakes.lines(),
              ElementsAre("file.json:4: a: the member stands twice; first in line 2"));
  EXPECT_EQ(parsed.root->member("a")->shown(), "1");
  EXPECT_THAT(parsed.root->children(), SizeIs(2));
}

TEST(JsonNodeTest, DepthSizeAndNumberOfValuesHaveBounds) {
  const auto nested = [](int depth) {
    const auto count = static_cast<std::size_t>(depth);
    return std::string(count, '[') + std::string(count, ']');
  };
  std::string manyValues = "[0";
  for (std::size_t i = 2; i < kMostJsonNodes; ++i) {
    manyValues += ",0";
  }

  EXPECT_NE(Parsed(nested(kMostJsonDepth)).root, nullptr);
  EXPECT_THAT(Parsed(nested(kMostJsonDepth + 1)).mistakes.lines(),
              ElementsAre("file.json:1: nested more than 32 levels deep"));
  EXPECT_NE(Parsed("1" + std::string(kMostJsonBytes - 1, ' ')).root, nullptr);
  EXPECT_THAT(Parsed("1" + std::string(kMostJsonBytes, ' ')).mistakes.lines(),
              ElementsAre("file.json:1: longer than 4194304 bytes"));
  EXPECT_NE(Parsed(manyValues + "]").root, nullptr);
  EXPECT_THAT(Parsed(manyValues + ",0]").mistakes.lines(),
              ElementsAre("file.json:1: more than 500000 values"));
}

TEST(MistakesTest, AreSortedByLineAndBounded) {
  Mistakes mistakes("file.json");
  mistakes.add(9, "late", "is wrong");
  mistakes.add(2, "", "is wrong");
  EXPECT_THAT(mistakes.lines(),
              ElementsAre("file.json:2: is wrong", "file.json:9: late: is wrong"));

  for (std::size_t i = 0; i < 2 * Mistakes::kMost; ++i) {
    mistakes.add(3, "more", "is wrong");
  }
  EXPECT_THAT(mistakes.lines(), SizeIs(Mistakes::kMost + 1));
  EXPECT_EQ(mistakes.lines().back(), "file.json: too many mistakes, perhaps more");
}

}  // namespace
}  // namespace velsim
