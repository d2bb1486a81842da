#include "base/utf8.h"

namespace base {
namespace {

constexpr Utf8Character kInvalid = {1, 0, false};
constexpr char32_t kLargestCode = 0x10FFFF;

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool isSurrogate(char32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

}  // namespace

Utf8Character firstCharacter(std::string_view text) {
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
    if (!isContinuation(text[i])) {
      return kInvalid;
    }
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  }
  const bool isValid = code >= least && code <= kLargestCode && !isSurrogate(code);
  return isValid ? Utf8Character{length, code, true} : kInvalid;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const Utf8Character character = firstCharacter(text);
    if (!character.isValid) {
      return false;
    }
    text.remove_prefix(character.length);
  }
  return true;
}

std::string_view cutBetweenCharacters(std::string_view text, std::size_t most) {
  if (text.size() <= most) {
    return text;
  }
  std::size_t length = most;
  while (length > 0 && isContinuation(text[length])) {
    --length;
  }
  return text.substr(0, length);
}

}  // namespace base
