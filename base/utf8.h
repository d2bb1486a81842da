// UTF-8: the characters of a text, and its bytes that are not UTF-8.
//
// Header-only, because headers of clients use it.

#ifndef BASE_UTF8_H
#define BASE_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

struct Utf8Character {
  std::size_t length;  // in bytes; 1 where the text is not UTF-8
  char32_t code;       // the code point
  bool isValid;        // false: a byte that is not UTF-8, an overlong form, or a surrogate
};

constexpr bool isUtf8Continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The first character of a text, which must not be empty.
constexpr Utf8Character firstCharacter(std::string_view text) {
  constexpr Utf8Character kInvalid = {1, 0, false};
  constexpr char32_t kLargestCode = 0x10FFFF;
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) {
    return {1, lead, true};
  }
  std::size_t length = 0;
  char32_t code = 0;
  char32_t least = 0;  // a smaller code has a shorter form
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    code = lead & 0x1F;
    least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    code = lead & 0x0F;
    least = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    code = lead & 0x07;
    least = 0x10000;
  }
  if (length == 0 || text.size() < length) {
    return kInvalid;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (!isUtf8Continuation(text[i])) {
      return kInvalid;
    }
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  }
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool isValid = code >= least && code <= kLargestCode && !isSurrogate;
  return isValid ? Utf8Character{length, code, true} : kInvalid;
}

// Whether the whole text is UTF-8. A NUL counts as UTF-8.
constexpr bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    // Most texts have one byte for each character.
    if (static_cast<unsigned char>(text[0]) < 0x80) {
      text.remove_prefix(1);
      continue;
    }
    const Utf8Character character = firstCharacter(text);
    if (!character.isValid) {
      return false;
    }
    text.remove_prefix(character.length);
  }
  return true;
}

// The longest beginning of the text that has at most so many bytes and ends with a whole character.
constexpr std::string_view cutBetweenCharacters(std::string_view text, std::size_t most) {
  if (text.size() <= most) {
    return text;
  }
  std::size_t length = most;
  while (length > 0 && isUtf8Continuation(text[length])) {
    --length;
  }
  return text.substr(0, length);
}

// The text with U+FFFD in place of each byte that is not UTF-8.
inline std::string replacedUtf8(std::string text) {
  if (isUtf8(text)) {
    return text;
  }
  std::string replaced;
  for (std::string_view rest = text; !rest.empty();) {
    const Utf8Character character = firstCharacter(rest);
    replaced += character.isValid ? rest.substr(0, character.length) : "\xEF\xBF\xBD";
    rest.remove_prefix(character.length);
  }
  return replaced;
}

}  // namespace base

#endif  // BASE_UTF8_H
