// Characters that join the one before them.

#ifndef BASE_COMBINING_H
#define BASE_COMBINING_H

namespace base {

// True for combining marks (also those that take a column of their own), and for the vowels and
// finals of a Hangul syllable, of Unicode 15.
bool isCombining(char32_t code);

}  // namespace base

#endif  // BASE_COMBINING_H
