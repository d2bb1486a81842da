// The wire beside libdbus: the same verdict on any bytes, the same content of valid ones.

#ifndef TESTS_WIRE_COMPARISON_H
#define TESTS_WIRE_COMPARISON_H

#include <cstdint>
#include <string>
#include <string_view>

namespace wiretest {

struct Verdicts {
  std::uint64_t valid = 0;
  std::uint64_t invalid = 0;
  std::uint64_t unframed = 0;
};

// The difference between the codec and libdbus in reading the message that the bytes begin with;
// empty when there is none.
std::string compareMessage(std::string_view bytes, Verdicts* verdicts);

// The same for a list of addresses, which may not hold a NUL: whether it is malformed, and the path
// of each Unix socket.
std::string compareAddresses(const std::string& list, bool* isWellFormed);

// The same for the text of a value in an address.
std::string compareEscaped(const std::string& value);

}  // namespace wiretest

#endif  // TESTS_WIRE_COMPARISON_H
