#include "bus/dbus/wire/grammar.h"

#include <string>
#include <string_view>

#include <dbus/dbus.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "tests/wire/generator.h"
#include "tests/wire/random.h"

namespace {

using namespace qxbus::wire;
using namespace std::string_literals;
using wiretest::Random;

bool isObjectPathInLibdbus(const std::string& text) {
  return dbus_validate_path(text.c_str(), nullptr) != FALSE;
}
bool isInterfaceInLibdbus(const std::string& text) {
  return dbus_validate_interface(text.c_str(), nullptr) != FALSE;
}
bool isMemberInLibdbus(const std::string& text) {
  return dbus_validate_member(text.c_str(), nullptr) != FALSE;
}
bool isBusNameInLibdbus(const std::string& text) {
  return dbus_validate_bus_name(text.c_str(), nullptr) != FALSE;
}
bool isSignatureInLibdbus(const std::string& text) {
  return dbus_signature_validate(text.c_str(), nullptr) != FALSE;
}
bool isSingleTypeInLibdbus(const std::string& text) {
  return dbus_signature_validate_single(text.c_str(), nullptr) != FALSE;
}
bool isTextInLibdbus(const std::string& text) {
  return dbus_validate_utf8(text.c_str(), nullptr) != FALSE;
}

// --- Each rule, and its edges --------------------------------------------------------------------

struct Rule {
  const char* name;
  bool (*isValid)(std::string_view);
  bool (*isValidInLibdbus)(const std::string&);
};

const Rule kObjectPath = {"ObjectPath", isObjectPath, isObjectPathInLibdbus};
const Rule kInterface = {"InterfaceName", isInterfaceName, isInterfaceInLibdbus};
const Rule kMember = {"MemberName", isMemberName, isMemberInLibdbus};
const Rule kBusName = {"BusName", isBusName, isBusNameInLibdbus};
const Rule kSignature = {"Signature", isSignature, isSignatureInLibdbus};
const Rule kSingleType = {"SingleType", isSingleType, isSingleTypeInLibdbus};

struct GrammarRow {
  const Rule& rule;
  std::string text;
  bool isValid;
};

std::string repeated(std::string_view part, int count) {
  std::string text;
  for (; count > 0; --count) {
    text += part;
  }
  return text;
}

std::string nested(const std::string& open, int depth, const std::string& within,
                   const std::string& close) {
  return repeated(open, depth) + within + repeated(close, depth);
}

const GrammarRow kGrammarRows[] = {
    {kObjectPath, "/", true},
    {kObjectPath, "/a", true},
    {kObjectPath, "/a_B/9", true},
    {kObjectPath, "/" + std::string(1000, 'x'), true},
    {kObjectPath, "", false},
    {kObjectPath, "a", false},
    {kObjectPath, "//", false},
    {kObjectPath, "/a/", false},
    {kObjectPath, "/a//b", false},
    {kObjectPath, "/a-b", false},
    {kObjectPath, "/a.b", false},
    {kObjectPath, "/\xC3\xBC", false},

    {kInterface, "a.b", true},
    {kInterface, "_a.b9.C_", true},
    {kInterface, "a." + std::string(253, 'b'), true},
    {kInterface, "a." + std::string(254, 'b'), false},
    {kInterface, "", false},
    {kInterface, "a", false},
    {kInterface, ".a.b", false},
    {kInterface, "a.", false},
    {kInterface, "a..b", false},
    {kInterface, "a.9b", false},
    {kInterface, "9a.b", false},
    {kInterface, "a.b-c", false},
    {kInterface, "a.b c", false},
    {kInterface, "a.\xC3\xBC", false},

    {kMember, "m", true},
    {kMember, "_9", true},
    {kMember, std::string(255, 'm'), true},
    {kMember, std::string(256, 'm'), false},
    {kMember, "", false},
    {kMember, "9m", false},
    {kMember, "a.b", false},
    {kMember, "a-b", false},

    {kBusName, "a.b", true},
    {kBusName, "-a._b", true},
    {kBusName, ":1.42", true},
    {kBusName, ":a-b.9", true},
    {kBusName, ":" + std::string(254, '1'), true},
    {kBusName, ":" + std::string(255, '1'), false},
    {kBusName, "a." + std::string(254, 'b'), false},
    {kBusName, "", false},
    {kBusName, "a", false},
    {kBusName, "1.42", false},
    {kBusName, "a.9b", false},
    {kBusName, ".a.b", false},
    {kBusName, "a.b.", false},
    {kBusName, ":1.", false},
    {kBusName, ":1..2", false},
    {kBusName, "::1", false},
    // The text of D-Bus asks for two elements; libdbus for none.
    {kBusName, ":", true},
    {kBusName, ":1", true},
    {kBusName, ":.1", true},
    {kBusName, ":.", false},

    {kSignature, "", true},
    {kSignature, "ybnqiuxtdsoghv", true},
    {kSignature, "a{sv}", true},
    {kSignature, "a{s(ia{yv})}", true},
    {kSignature, "(a(y)aas)", true},
    {kSignature, std::string(255, 'y'), true},
    {kSignature, std::string(256, 'y'), false},
    {kSignature, "a", false},
    {kSignature, "ia", false},
    {kSignature, "(a)", false},
    {kSignature, "()", false},
    {kSignature, "(i", false},
    {kSignature, "i)", false},
    {kSignature, "(i}", false},
    {kSignature, "{sv}", false},
    {kSignature, "({sv})", false},
    {kSignature, "a{}", false},
    {kSignature, "a{s}", false},
    {kSignature, "a{svv}", false},
    {kSignature, "a{vs}", false},
    {kSignature, "a{(i)s}", false},
    {kSignature, "a{ayi}", false},
    {kSignature, "a{sv", false},
    {kSignature, "a{sv)", false},
    {kSignature, "r", false},
    {kSignature, "e", false},
    {kSignature, "m", false},
    {kSignature, "i i", false},
    {kSignature, std::string(32, 'a') + "i", true},
    {kSignature, std::string(33, 'a') + "i", false},
    {kSignature, nested("(", 32, "i", ")"), true},
    {kSignature, nested("(", 33, "i", ")"), false},
    {kSignature, std::string(32, 'a') + nested("(", 32, "i", ")"), true},
    {kSignature, nested("a{y", 32, "i", "}"), true},
    {kSignature, nested("a{y", 33, "i", "}"), false},
    // The text of D-Bus counts all arrays around a type; libdbus those since the last structure.
    {kSignature, std::string(32, 'a') + "(" + std::string(32, 'a') + "i)", true},
    {kSignature, std::string(32, 'a') + "(" + std::string(33, 'a') + "i)", false},

    {kSingleType, "i", true},
    {kSingleType, "v", true},
    {kSingleType, "ay", true},
    {kSingleType, "(ii)", true},
    {kSingleType, "", false},
    {kSingleType, "ii", false},
    {kSingleType, "ayy", false},
    {kSingleType, "a", false},
};

class GrammarTest : public testing::TestWithParam<GrammarRow> {};

TEST_P(GrammarTest, HoldsAsInLibdbus) {
  const GrammarRow& row = GetParam();

  EXPECT_EQ(row.rule.isValid(row.text), row.isValid) << row.rule.name << ' ' << row.text;
  EXPECT_EQ(row.rule.isValidInLibdbus(row.text), row.isValid) << row.rule.name << ' ' << row.text;
}

INSTANTIATE_TEST_SUITE_P(Rows, GrammarTest, testing::ValuesIn(kGrammarRows),
                         [](const auto& tested) {
                           return tested.param.rule.name + std::to_string(tested.index);
                         });

TEST(GrammarTest, NamesWithNulAreRefused) {
  EXPECT_FALSE(isObjectPath("/a\0"s));
  EXPECT_FALSE(isInterfaceName("a.b\0"s));
  EXPECT_FALSE(isMemberName("m\0"s));
  EXPECT_FALSE(isBusName(":1.2\0"s));
  EXPECT_FALSE(isSignature("i\0"s));
  EXPECT_FALSE(isText("text\0"s));
  EXPECT_FALSE(isText("\0long enough for eight at once"s));
}

TEST(GrammarTest, ASingleTypeIsNoLongerThanASignatureMayBe) {
  EXPECT_TRUE(isSingleType('(' + std::string(253, 'i') + ')'));
  EXPECT_FALSE(isSingleType('(' + std::string(254, 'i') + ')'));
}

TEST(GrammarTest, AStringIsUtf8) {
  for (const char* const valid : {"", "a", "more than eight characters", "gr\xC3\xBC\xC3\x9F",
                                  "\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF"}) {
    EXPECT_TRUE(isText(valid)) << valid;
    EXPECT_TRUE(isTextInLibdbus(valid)) << valid;
  }
  for (const char* const invalid : {"\x80", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                    "1234567\xFF", "12345678\xFF", "cut off: \xE2\x82"}) {
    EXPECT_FALSE(isText(invalid)) << base::hexOf(invalid);
    EXPECT_FALSE(isTextInLibdbus(invalid)) << base::hexOf(invalid);
  }
}

TEST(GrammarTest, TheFirstTypeOfASignatureEndsWithItsLastBracket) {
  EXPECT_EQ(lengthOfFirstType("i"), 1u);
  EXPECT_EQ(lengthOfFirstType("is"), 1u);
  EXPECT_EQ(lengthOfFirstType("aays"), 3u);
  EXPECT_EQ(lengthOfFirstType("a{s(iv)}i"), 8u);
  EXPECT_EQ(lengthOfFirstType("(i(s)ai)v"), 8u);
  // What is no signature has no further type.
  EXPECT_EQ(lengthOfFirstType("aa"), 2u);
  EXPECT_EQ(lengthOfFirstType("(i"), 2u);
}

// --- Random texts --------------------------------------------------------------------------------

struct RandomTexts {
  const Rule& rule;
  std::string_view alphabet;
  std::size_t longest;
};

const Rule kText = {"Text", isText, isTextInLibdbus};

// Few characters each, so that many of the texts are valid.
const RandomTexts kRandomTexts[] = {
    {kObjectPath, "/a_9-", 8},
    {kInterface, "ab._9-", 8},
    {kMember, "a_9.-", 6},
    {kBusName, ":a._9-", 8},
    {kSignature, "aaiv(){}s", 9},
    {kSingleType, "aaiv(){}s", 7},
    {kText, "a\x80\xBF\xC2\xE0\xA0\xED\x9F\xEF\xF0\x90\xF4\x8F\xF8", 5},
};

class RandomGrammarTest : public testing::TestWithParam<RandomTexts> {};

TEST_P(RandomGrammarTest, HoldsAsInLibdbus) {
  const RandomTexts& texts = GetParam();
  Random random(1);
  int valid = 0;
  constexpr int kCount = 50000;

  for (int i = 0; i < kCount; ++i) {
    const std::string text = random.textOver(texts.alphabet, random.below(texts.longest + 1));
    const bool isValid = texts.rule.isValid(text);
    ASSERT_EQ(isValid, texts.rule.isValidInLibdbus(text)) << base::hexOf(text);
    valid += isValid ? 1 : 0;
  }

  EXPECT_GT(valid, kCount / 100);
  EXPECT_LT(valid, kCount);
}

INSTANTIATE_TEST_SUITE_P(Texts, RandomGrammarTest, testing::ValuesIn(kRandomTexts),
                         [](const auto& tested) { return tested.param.rule.name; });

TEST(GrammarTest, GeneratedSignaturesAreValid) {
  Random random(1);
  for (int i = 0; i < 10000; ++i) {
    const std::string signature = wiretest::randomSignature(&random, 4);
    ASSERT_TRUE(isSignature(signature)) << signature;
    ASSERT_TRUE(isSignatureInLibdbus(signature)) << signature;
  }
}

}  // namespace
