// 16-bit numbers of devices and printers, each in use once at a time. The numbers of the scenario's
// devices are reserved: nothing else gets them, also while the device is unplugged.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBER_POOL_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBER_POOL_H

#include <cstdint>
#include <set>

namespace velsim {

class NumberPool {
 public:
  static constexpr std::uint16_t kFirst = 31;

  // first: of the numbers that take() returns.
  explicit NumberPool(std::uint16_t first = kFirst) : first_(first), next_(first) {}

  void reserve(std::uint16_t number) { reserved_.insert(number); }

  // A free number; 0 when all are in use. A number that was given back comes last, so that a new
  // device is not mistaken for the last one with its number.
  std::uint16_t take() {
    constexpr std::uint16_t kLast = 0xFFFF;
    for (int tries = first_; tries <= kLast; ++tries) {
      const std::uint16_t number = next_;
      next_ = next_ == kLast ? first_ : static_cast<std::uint16_t>(next_ + 1);
      if (reserved_.count(number) == 0 && taken_.insert(number).second) {
        return number;
      }
    }
    return 0;
  }

  void giveBack(std::uint16_t number) { taken_.erase(number); }

 private:
  const std::uint16_t first_;
  std::uint16_t next_;
  std::set<std::uint16_t> reserved_;
  std::set<std::uint16_t> taken_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBER_POOL_H
