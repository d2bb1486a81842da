#ifndef TESTS_WIRE_SIZES_H
#define TESTS_WIRE_SIZES_H

#include <cstddef>

namespace wiretest {

// The limits of a message are multiples of it.
inline constexpr std::size_t kMebi = std::size_t{1024} * 1024;

}  // namespace wiretest

#endif  // TESTS_WIRE_SIZES_H
