// How far a word is from another that was meant.

#ifndef BASE_SPELLING_H
#define BASE_SPELLING_H

#include <cstddef>
#include <string_view>

namespace base {

// How many letters to change, insert, remove or swap with the next, to make one word of another.
// Time and memory grow with the product of the lengths: for words, not for texts.
std::size_t slipsBetween(std::string_view a, std::string_view b);

}  // namespace base

#endif  // BASE_SPELLING_H
