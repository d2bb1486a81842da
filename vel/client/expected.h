// vel::expected: a value, or the error in its place. The standard library's where it exists,
// otherwise that of libexpected-dev (<tl/expected.hpp>), which has the same members for what is
// used here.

#ifndef VEL_CLIENT_EXPECTED_H
#define VEL_CLIENT_EXPECTED_H

// Before the test of the macro.
#if __has_include(<version>)
#include <version>
#endif

// The types differ with the language, and so must the names of all functions that use them: sources
// of one program may be compiled as C++17 and as C++23. Their clients do not share callbacks: of
// the printer, command and diagnosis events of a proxy only one kind of client receives any.
#if defined(__cpp_lib_expected) && __cpp_lib_expected >= 202202L
#include <expected>
#define VEL_CLIENT_EXPECTED std
#define VEL_CLIENT_VARIANT with_std_expected
#else
#include <tl/expected.hpp>
#define VEL_CLIENT_EXPECTED tl
#define VEL_CLIENT_VARIANT with_tl_expected
#endif

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

template <typename Value, typename Error>
using expected = VEL_CLIENT_EXPECTED::expected<Value, Error>;
template <typename Error>
using unexpected = VEL_CLIENT_EXPECTED::unexpected<Error>;

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#undef VEL_CLIENT_EXPECTED

#endif  // VEL_CLIENT_EXPECTED_H
