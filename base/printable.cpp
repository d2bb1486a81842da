#include "base/printable.h"

#include "base/text.h"

namespace base {

bool isPrintable(const Utf8Character& character) {
  const char32_t code = character.code;
  const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool isSeparatorOrDirection =
      (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return character.isValid && !isControl && !isSeparatorOrDirection;
}

std::string printable(std::string_view text, std::string_view kept) {
  std::string shown;
  while (!text.empty()) {
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
