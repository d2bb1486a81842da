// Text of unknown origin, made safe for a terminal and for a log of lines.

#ifndef BASE_PRINTABLE_H
#define BASE_PRINTABLE_H

#include <string>
#include <string_view>

#include "base/utf8.h"

namespace base {

// False for control characters, line and paragraph separators, characters that turn the direction
// of the text behind them, and bytes that are not UTF-8.
bool isPrintable(const Utf8Character& character);

// Whether a text is printable ASCII: most texts are, and need no printable().
bool isPrintableAscii(std::string_view text);

// The text with each byte of an unprintable character as \x and two digits: "a\x1b[2J". Characters
// in kept, all of them ASCII, stay as they are.
std::string printable(std::string_view text, std::string_view kept = {});

}  // namespace base

#endif  // BASE_PRINTABLE_H
