// UTF-8: where characters begin, and which bytes are none.

#ifndef BASE_UTF8_H
#define BASE_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

struct Utf8Character {
  std::size_t length;  // in bytes; 1 where the text is not UTF-8
  char32_t code;       // the code point
  bool isValid;        // false: the byte is not UTF-8 here, too long a form, or a surrogate
};

// The first character of a text that is not empty.
Utf8Character firstCharacter(std::string_view text);

// Whether all of the text is UTF-8. A NUL is.
bool isUtf8(std::string_view text);

// The beginning of the text, at most so many bytes, that ends between two characters.
std::string_view cutBetweenCharacters(std::string_view text, std::size_t most);

}  // namespace base

#endif  // BASE_UTF8_H
