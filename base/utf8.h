// UTF-8: the characters of a text, and its bytes that are not UTF-8.

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

// The first character of a text, which must not be empty.
Utf8Character firstCharacter(std::string_view text);

// Whether the whole text is UTF-8. A NUL counts as UTF-8.
bool isUtf8(std::string_view text);

// The longest beginning of the text that has at most so many bytes and ends with a whole character.
std::string_view cutBetweenCharacters(std::string_view text, std::size_t most);

}  // namespace base

#endif  // BASE_UTF8_H
