// Text of unknown origin, made safe for a terminal and for a log of lines.

#ifndef BASE_PRINTABLE_H
#define BASE_PRINTABLE_H

#include <string>
#include <string_view>

#include "base/utf8.h"

namespace base {

// False for bytes that are not UTF-8, and for each character that a terminal obeys, that is not
// seen, or that has no agreed glyph: control and format characters (with those that turn the
// direction of the text behind them), line and paragraph separators, fillers, characters of no
// width such as joiners and variation selectors, private use, and codes that are no characters.
//
// Joiners and variation selectors are among them although some scripts and emoji use them: two
// names that look alike must not differ in them, and terminals disagree on the width of what they
// join.
bool isPrintable(const Utf8Character& character);

// The same for each character of a text, in their order. A character that is printable by itself is
// not printable when it is a combining mark without a character to join, or one of too many: a
// stack of marks covers the lines around it.
class PrintableSequence {
 public:
  // Must be called for every character of the text, from the first one.
  bool isPrintable(const Utf8Character& character);

 private:
  // More than any script stacks in ordinary use.
  static constexpr int kMostMarks = 4;

  int marks_ = kMostMarks;
};

// Whether a text is printable ASCII: most texts are, and need no printable().
bool isPrintableAscii(std::string_view text);

// The text with each byte of an unprintable character as \x and two digits: "a\x1b[2J". Characters
// in kept, all of them ASCII, stay as they are.
std::string printable(std::string_view text, std::string_view kept = {});

}  // namespace base

#endif  // BASE_PRINTABLE_H
