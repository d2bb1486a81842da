// Sets of Unicode characters, as tables of ranges.

#ifndef BASE_CODE_RANGES_H
#define BASE_CODE_RANGES_H

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace base {

struct CodeRange {
  char32_t first;
  char32_t last;
};

// The ranges are in ascending order.
template <std::size_t count>
bool isInRanges(const CodeRange (&ranges)[count], char32_t code) {
  const auto* const next = std::upper_bound(
      std::begin(ranges), std::end(ranges), code,
      [](char32_t sought, const CodeRange& range) { return sought < range.first; });
  return next != std::begin(ranges) && code <= std::prev(next)->last;
}

}  // namespace base

#endif  // BASE_CODE_RANGES_H
