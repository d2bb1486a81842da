// Fuzz targets: functions that take any bytes, run a part of the product with them, and hold the
// outcome against a second opinion. One source for each, NAME_target.cpp:
//
//   const fuzz::Registration registration("addresses", [](fuzz::Input& input) {
//     const std::string list(input.rest());
//     fuzz::require(isMalformed(list) == isMalformedToLibdbus(list), "the verdict");
//   });
//
// The same source is linked with libFuzzer (libfuzzer.cpp, by scripts/fuzz) and with GoogleTest
// (fuzz_test.cpp). A finding is a report of a sanitizer, a crash, or an exception, such as that of
// require().
//
// THREADS   One thread at a time.

#ifndef TESTS_FUZZ_TARGET_H
#define TESTS_FUZZ_TARGET_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/input.h"

namespace fuzz {

struct Target {
  std::string name;
  void (*run)(Input& input);
};

// Those that are linked into the program, by name.
std::vector<Target> targets();

class Registration {
 public:
  Registration(const char* name, void (*run)(Input& input));
};

class Finding : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// Throws a Finding unless the condition holds.
inline void require(bool holds, std::string_view what) {
  if (!holds) {
    throw Finding(std::string(what));
  }
}

// Runs a target with a copy of the bytes of exactly their size, so that AddressSanitizer reports
// every read beyond them.
void runWithCopy(const Target& target, std::string_view bytes);

}  // namespace fuzz

#endif  // TESTS_FUZZ_TARGET_H
