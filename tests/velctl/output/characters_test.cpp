// The tables of characters in base/, which has no library of them, compared with one.

#include <gtest/gtest.h>
#include <utf8proc.h>

#include "base/combining.h"
#include "base/printable.h"

namespace velctl {
namespace {

constexpr utf8proc_int32_t kEnd = 0x110000;

bool isPrintableCode(utf8proc_int32_t code) {
  return base::isPrintable(base::Utf8Character{4, static_cast<char32_t>(code), true});
}

TEST(CharactersTest, NoControlOrFormatCharacterSeparatorOrPrivateUseIsPrintable) {
  for (utf8proc_int32_t code = 0; code < kEnd; ++code) {
    switch (utf8proc_category(code)) {
      case UTF8PROC_CATEGORY_CC:
      case UTF8PROC_CATEGORY_CF:
      case UTF8PROC_CATEGORY_CO:
      case UTF8PROC_CATEGORY_CS:
      case UTF8PROC_CATEGORY_ZL:
      case UTF8PROC_CATEGORY_ZP:
        EXPECT_FALSE(isPrintableCode(code)) << std::hex << code;
        break;
      default:
        break;
    }
  }
}

TEST(CharactersTest, NoCharacterThatRendersAsNothingIsPrintable) {
  for (utf8proc_int32_t code = 0; code < kEnd; ++code) {
    if (utf8proc_get_property(code)->ignorable) {
      EXPECT_FALSE(isPrintableCode(code)) << std::hex << code;
    }
  }
}

TEST(CharactersTest, LettersDigitsPunctuationSymbolsAndSpacesArePrintable) {
  for (utf8proc_int32_t code = 0; code < kEnd; ++code) {
    const utf8proc_category_t category = utf8proc_category(code);
    const bool isSeen = category != UTF8PROC_CATEGORY_CN && category < UTF8PROC_CATEGORY_ZL &&
                        !base::isCombining(static_cast<char32_t>(code)) &&
                        !utf8proc_get_property(code)->ignorable;
    if (isSeen) {
      EXPECT_TRUE(isPrintableCode(code)) << std::hex << code;
    }
  }
}

TEST(CharactersTest, EveryPrintableMarkIsCombining) {
  for (utf8proc_int32_t code = 0; code < kEnd; ++code) {
    const utf8proc_category_t category = utf8proc_category(code);
    const bool isMark = category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC ||
                        category == UTF8PROC_CATEGORY_ME;
    // A system may have a library that knows more characters than the table.
    if (isMark && isPrintableCode(code)) {
      EXPECT_TRUE(base::isCombining(static_cast<char32_t>(code))) << std::hex << code;
    }
  }
}

TEST(CharactersTest, OnlyMarksAndJamoThatJoinAreCombining) {
  for (utf8proc_int32_t code = 0; code < kEnd; ++code) {
    const utf8proc_category_t category = utf8proc_category(code);
    const int boundary = utf8proc_get_property(code)->boundclass;
    const bool mayCombine = category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC ||
                            category == UTF8PROC_CATEGORY_ME || category == UTF8PROC_CATEGORY_CN ||
                            boundary == UTF8PROC_BOUNDCLASS_V || boundary == UTF8PROC_BOUNDCLASS_T;
    if (base::isCombining(static_cast<char32_t>(code))) {
      EXPECT_TRUE(mayCombine) << std::hex << code;
    } else {
      EXPECT_FALSE((boundary == UTF8PROC_BOUNDCLASS_V || boundary == UTF8PROC_BOUNDCLASS_T) &&
                   isPrintableCode(code))
          << std::hex << code;
    }
  }
}

}  // namespace
}  // namespace velctl
