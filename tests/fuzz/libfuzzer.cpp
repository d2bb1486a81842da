// The entry of libFuzzer for the one target that the program is linked with.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "tests/fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Target target = fuzz::targets().at(0);
  // libFuzzer's copy of the bytes has exactly their size.
  fuzz::Input input(std::string_view(reinterpret_cast<const char*>(data), size));
  try {
    target.run(input);
  } catch (const std::exception& finding) {
    std::fprintf(stderr, "finding of %s: %s\n", target.name.c_str(), finding.what());
    std::abort();
  }
  return 0;
}
