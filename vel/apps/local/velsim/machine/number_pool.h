// Gives things their 16-bit numbers, each to one thing at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBER_POOL_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBER_POOL_H

#include <cstdint>
#include <set>

namespace velsim {

class NumberPool {
 public:
  static constexpr std::uint16_t kFirst = 31;

  // A free one. A number that has been given back comes last, so that nobody mistakes a new thing
  // for the one that had it. 0 when none is left.
  std::uint16_t take() {
    constexpr std::uint16_t kLast = 0xFFFF;
    for (int tries = kFirst; tries <= kLast; ++tries) {
      const std::uint16_t number = next_;
      next_ = next_ == kLast ? kFirst : static_cast<std::uint16_t>(next_ + 1);
      if (taken_.insert(number).second) {
        return number;
      }
    }
    return 0;
  }

  void giveBack(std::uint16_t number) { taken_.erase(number); }

 private:
  std::uint16_t next_ = kFirst;
  std::set<std::uint16_t> taken_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBER_POOL_H
