// Numbers that look random and are the same for the same seed on every machine.

#ifndef TESTS_WIRE_RANDOM_H
#define TESTS_WIRE_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace wiretest {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
    return mixed ^ (mixed >> 31);
  }

  // 0 to bound - 1.
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(next() % bound); }
  // True in so many of a hundred cases.
  bool chance(int percent) { return below(100) < static_cast<std::size_t>(percent); }

  template <typename Range>
  const auto& oneOf(const Range& range) {
    return *std::next(std::begin(range), static_cast<std::ptrdiff_t>(below(std::size(range))));
  }

  std::string textOver(std::string_view alphabet, std::size_t length) {
    std::string text;
    while (text.size() < length) {
      text += oneOf(alphabet);
    }
    return text;
  }

 private:
  std::uint64_t state_;
};

}  // namespace wiretest

#endif  // TESTS_WIRE_RANDOM_H
