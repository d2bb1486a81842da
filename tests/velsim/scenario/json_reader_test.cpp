#include "vel/apps/local/velsim/scenario/json_reader.h"

#include <gmock/gmock.h>

namespace velsim {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

// Reads the one member "v" of an object with a function; the mistake without its place, if any.
template <typename Read>
std::string mistakeOf(const std::string& value, Read read) {
  Mistakes mistakes("f");
  const std::unique_ptr<JsonNode> root = parseJson("{\"v\": " + value + "}", mistakes);
  const bool isRead = static_cast<bool>(read(root->member("v"), mistakes));
  const std::vector<std::string> lines = mistakes.lines();
  EXPECT_EQ(isRead, lines.empty()) << value;
  const std::string place = "f:1: v: ";
  return lines.empty() ? "" : lines[0].substr(place.size());
}

TEST(JsonReaderTest, IntegersMustFitTheirRange) {
  const auto number = [](const JsonNode* node, Mistakes& mistakes) {
    return readInteger<std::uint16_t>(node, mistakes, 1);
  };
  EXPECT_EQ(mistakeOf("1", number), "");
  EXPECT_EQ(mistakeOf("65535", number), "");
  EXPECT_EQ(mistakeOf("0", number), "expected a whole number from 1 to 65535, found 0");
  EXPECT_EQ(mistakeOf("65536", number), "expected a whole number from 1 to 65535, found 65536");
  EXPECT_EQ(mistakeOf("-1", number), "expected a whole number from 1 to 65535, found -1");
  EXPECT_EQ(mistakeOf("1.5", number), "expected a whole number from 1 to 65535, found 1.5");
  EXPECT_EQ(mistakeOf("\"1\"", number),
            "expected a whole number from 1 to 65535, found the text \"1\"");

  const auto small = [](const JsonNode* node, Mistakes& mistakes) {
    return readInteger<std::int16_t>(node, mistakes);
  };
  EXPECT_EQ(mistakeOf("-32768", small), "");
  EXPECT_EQ(mistakeOf("32767", small), "");
  EXPECT_EQ(mistakeOf("-32769", small),
            "expected a whole number from -32768 to 32767, found -32769");
  EXPECT_EQ(mistakeOf("18446744073709551615", small),
            "expected a whole number from -32768 to 32767, found 18446744073709551615");
}

TEST(JsonReaderTest, TextsHaveALengthInBytesAndNoNul) {
  const auto text = [](const JsonNode* node, Mistakes& mistakes) {
    return readText(node, mistakes, 1, 3);
  };
  EXPECT_EQ(mistakeOf("\"abc\"", text), "");
  EXPECT_EQ(mistakeOf("\"\"", text), "expected a text of 1 to 3 bytes, found 0 bytes");
  EXPECT_EQ(mistakeOf("\"\u00e4\u00e4\"", text), "expected a text of 1 to 3 bytes, found 4 bytes");
  EXPECT_EQ(mistakeOf("\"a\\u0000\"", text),
            "expected a text without a NUL, found the text \"a\\x00\"");
  EXPECT_EQ(mistakeOf("[]", text), "expected a text of 1 to 3 bytes, found an array");
}

TEST(JsonReaderTest, OtherValuesSayWhatTheyExpect) {
  EXPECT_EQ(mistakeOf("1", readBoolean), "expected true or false, found 1");
  EXPECT_EQ(mistakeOf("true", readBoolean), "");
  const auto share = [](const JsonNode* node, Mistakes& mistakes) {
    return readDouble(node, mistakes, 0, 1);
  };
  EXPECT_EQ(mistakeOf("0.5", share), "");
  EXPECT_EQ(mistakeOf("1", share), "");
  EXPECT_EQ(mistakeOf("1.01", share), "expected a number from 0 to 1, found 1.01");
  const auto word = [](const JsonNode* node, Mistakes& mistakes) {
    return readWord(node, mistakes, {"camera", "tablet"});
  };
  EXPECT_EQ(mistakeOf("\"tablet\"", word), "");
  EXPECT_EQ(mistakeOf("\"camra\"", word), "expected \"camera\", found the text \"camra\"");
  EXPECT_EQ(mistakeOf("\"zebra crossing\"", word),
            "expected one of the words camera, tablet, found the text \"zebra crossing\"");
  const auto id = [](const JsonNode* node, Mistakes& mistakes) {
    return readHexadecimal(node, mistakes, 0xFFFF);
  };
  EXPECT_EQ(mistakeOf("\"0x7e57\"", id), "");
  EXPECT_EQ(mistakeOf("32343", id), "");
  EXPECT_EQ(mistakeOf("\"0x10000\"", id),
            "expected a number up to \"0xffff\", such as \"0x1f\", found the text \"0x10000\"");
}

TEST(JsonReaderTest, DurationsAreTextsWithAUnitOrMilliseconds) {
  EXPECT_EQ(parseDuration("1.5s"), milliseconds(1500));
  EXPECT_EQ(parseDuration("250ms"), milliseconds(250));
  EXPECT_EQ(parseDuration("2min"), milliseconds(120'000));
  EXPECT_EQ(parseDuration("24h"), milliseconds(86'400'000));
  for (const char* const wrong : {"", "s", "1", "-1s", "1.s", ".5s", "1.5.5s", "25h", "1 s", "1e3s",
                                  "99999999999999999999s"}) {
    EXPECT_EQ(parseDuration(wrong), std::nullopt) << wrong;
  }
  EXPECT_EQ(mistakeOf("1500", readDuration), "");
  EXPECT_EQ(mistakeOf("\"1.5s\"", readDuration), "");
  EXPECT_EQ(mistakeOf("-1", readDuration),
            "expected a time of at most a day, such as \"1.5s\", \"250ms\", \"2min\", or a whole "
            "number of milliseconds, found -1");
}

TEST(JsonReaderTest, AnAbsentMemberIsNoMistakeUnlessItIsNeeded) {
  Mistakes mistakes("f");
  const std::unique_ptr<JsonNode> root = parseJson("{\"inner\": {}}", mistakes);
  {
    ObjectReader outer(*root, mistakes);
    EXPECT_EQ(readText(outer.find("name"), mistakes, 0, 9), std::nullopt);
    EXPECT_EQ(readText(outer.need("title"), mistakes, 0, 9), std::nullopt);
    ObjectReader inner(*outer.find("inner"), mistakes);
    EXPECT_EQ(readText(inner.need("name"), mistakes, 0, 9), std::nullopt);
  }
  EXPECT_THAT(mistakes.lines(), ElementsAre("f:1: title: missing", "f:1: inner.name: missing"));
}

TEST(JsonReaderTest, UnknownMembersAreMistakesWithTheNearestName) {
  Mistakes mistakes("f");
  const std::unique_ptr<JsonNode> root =
      parseJson("{\n\"nmae\": \"a\",\n\"number\": 1,\n\"zebra\": 2\n}", mistakes);
  {
    ObjectReader object(*root, mistakes);
    object.find("name");
    object.find("number");
  }
  EXPECT_THAT(mistakes.lines(),
              ElementsAre("f:2: nmae: unknown member; did you mean \"name\"?",
                          "f:4: zebra: unknown member; the members are name, number"));
}

TEST(JsonReaderTest, AnotherValueInPlaceOfAnObjectOrAnArrayIsOneMistake) {
  Mistakes mistakes("f");
  const std::unique_ptr<JsonNode> root = parseJson("7", mistakes);
  {
    ObjectReader object(*root, mistakes);
    EXPECT_EQ(object.need("name"), nullptr);
  }
  EXPECT_THAT(readArray(root.get(), mistakes), IsEmpty());
  EXPECT_THAT(mistakes.lines(), ElementsAre("f:1: top level: expected an object, found 7",
                                            "f:1: top level: expected an array, found 7"));
}

}  // namespace
}  // namespace velsim
