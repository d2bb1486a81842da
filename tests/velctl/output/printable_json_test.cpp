#include "vel/apps/local/velctl/output/printable_json.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace velctl {
namespace {

using namespace std::string_view_literals;
using Json = nlohmann::json;

TEST(PrintableJsonTest, CharactersThatATerminalObeysOrHidesAreEscaped) {
  struct Row {
    std::string_view text;
    std::string_view shown;
  };
  const Row rows[] = {
      {"", R"("")"},
      {"Front camera 12%", R"("Front camera 12%")"},
      {"\xc3\xa4\xe5\x89\x8d\xf0\x9f\x96\xa8", "\"\xc3\xa4\xe5\x89\x8d\xf0\x9f\x96\xa8\""},
      {"\x1b[2J\n\0"sv, R"("\u001b[2J\n\u0000")"},
      {"\x7e\x7f", R"("~\u007f")"},
      {"\xc2\x80\xc2\x9f\xc2\xa0", "\"\\u0080\\u009f\xc2\xa0\""},
      // Right-to-left override, zero-width joiner, a tag, the last private character.
      {"\xe2\x80\xae\xe2\x80\x8d", R"("\u202e\u200d")"},
      {"\xf3\xa0\x81\x81\xf4\x8f\xbf\xbd", R"("\udb40\udc41\udbff\udffd")"},
      // The fifth mark on one character.
      {"e\xcc\x81\xcc\x81\xcc\x81\xcc\x81\xcc\x81", "\"e\xcc\x81\xcc\x81\xcc\x81\xcc\x81\\u0301\""},
  };
  for (const Row& row : rows) {
    const std::string shown = printableJson(Json(row.text).dump());
    EXPECT_EQ(shown, row.shown);
    EXPECT_EQ(Json::parse(shown).get<std::string>(), row.text) << "a program reads the same text";
  }
}

TEST(PrintableJsonTest, TheValuesStayAsTheyAre) {
  const Json json = {{"name", "a\xe2\x80\x8d"}, {"number", 7}, {"list", {true, nullptr}}};

  EXPECT_EQ(Json::parse(printableJson(json.dump())), json);
  EXPECT_EQ(Json::parse(printableJson(json.dump(2))), json);
}

}  // namespace
}  // namespace velctl
