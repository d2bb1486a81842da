#include "base/printable.h"

#include <algorithm>
#include <cstddef>

#include "base/text.h"

namespace base {
namespace {

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
  const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool isSeparatorOrDirection =
      (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return character.isValid && !isControl && !isSeparatorOrDirection;
}

std::string printable(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const auto* const end = std::find_if_not(text.begin(), text.end(), isGraphic);
    const auto run = static_cast<std::size_t>(end - text.begin());
    shown += text.substr(0, run);
    text.remove_prefix(run);
    if (text.empty()) {
      break;
    }
    const Utf8Character character = firstCharacter(text);
    const std::string_view bytes = text.substr(0, character.length);
    if (isPrintable(character) || kept.find(bytes) != std::string_view::npos) {
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
