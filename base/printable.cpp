#include "base/printable.h"

#include "base/code_ranges.h"
#include "base/combining.h"
#include "base/text.h"

namespace base {
namespace {

constexpr CodeRange kUnprintable[] = {
    {0x0000, 0x001F},     // control characters
    {0x007F, 0x009F},     //
    {0x00AD, 0x00AD},     // soft hyphen
    {0x034F, 0x034F},     // combining grapheme joiner
    {0x0600, 0x0605},     // Arabic signs over the digits behind them
    {0x061C, 0x061C},     // Arabic letter mark
    {0x06DD, 0x06DD},     //
    {0x070F, 0x070F},     // Syriac abbreviation mark
    {0x0890, 0x0891},     //
    {0x08E2, 0x08E2},     //
    {0x115F, 0x1160},     // Hangul fillers
    {0x17B4, 0x17B5},     // Khmer inherent vowels
    {0x180B, 0x180F},     // Mongolian variation selectors
    {0x200B, 0x200F},     // zero-width space and joiners, marks of direction
    {0x2028, 0x202E},     // separators of lines and paragraphs, embeddings and overrides
    {0x2060, 0x206F},     // word joiner, invisible operators, isolates
    {0x3164, 0x3164},     // Hangul filler
    {0xD800, 0xF8FF},     // surrogates, private use
    {0xFDD0, 0xFDEF},     // no characters
    {0xFE00, 0xFE0F},     // variation selectors
    {0xFEFF, 0xFEFF},     // zero-width no-break space
    {0xFFA0, 0xFFA0},     // Hangul filler
    {0xFFF0, 0xFFFB},     // interlinear annotation
    {0xFFFE, 0xFFFF},     // no characters
    {0x110BD, 0x110BD},   // Kaithi number signs
    {0x110CD, 0x110CD},   //
    {0x13430, 0x1343F},   // Egyptian format controls
    {0x1BCA0, 0x1BCA3},   // shorthand format controls
    {0x1D173, 0x1D17A},   // musical format controls
    {0x1FFFE, 0x1FFFF},   // no characters
    {0x2FFFE, 0x2FFFF},   //
    {0x3FFFE, 0x10FFFF},  // no characters, tags, variation selectors, private use
};

bool isGraphic(char c) {
  return c >= 0x20 && c < 0x7F;
}

}  // namespace

bool isPrintableAscii(std::string_view text) {
  // All characters, so that the compiler can take many at once.
  bool isPrintable = true;
  for (const char c : text) {
    isPrintable = isPrintable & isGraphic(c);
  }
  return isPrintable;
}

bool isPrintable(const Utf8Character& character) {
  const char32_t code = character.code;
  // Most characters are ASCII.
  const bool isGraphicAscii = code >= 0x20 && code < 0x7F;
  return character.isValid && (isGraphicAscii || !isInRanges(kUnprintable, code));
}

bool PrintableSequence::isPrintable(const Utf8Character& character) {
  if (!base::isPrintable(character)) {
    // Its escape is no character to join.
    marks_ = kMostMarks;
    return false;
  }
  if (!isCombining(character.code)) {
    marks_ = 0;
    return true;
  }
  if (marks_ == kMostMarks) {
    return false;
  }
  ++marks_;
  return true;
}

std::string printable(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  PrintableSequence sequence;
  while (!text.empty()) {
    const Utf8Character character = firstCharacter(text);
    const std::string_view bytes = text.substr(0, character.length);
    if (sequence.isPrintable(character) || kept.find(bytes) != std::string_view::npos) {
      shown += bytes;
    } else {
      for (const char byte : bytes) {
        shown += "\\x";
        appendHex(&shown, static_cast<unsigned char>(byte));
      }
    }
    text.remove_prefix(character.length);
  }
  return shown;
}

}  // namespace base
