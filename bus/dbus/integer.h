// One way to read an integer out of a variant that may hold another type.

#ifndef BUS_DBUS_INTEGER_H
#define BUS_DBUS_INTEGER_H

#include <type_traits>
#include <variant>

namespace qxbus {

template <typename Asked>
struct IntegerReader {
  template <typename Held>
  Asked operator()(const Held& held) const {
    if constexpr (!std::is_integral_v<Held>) {
      return 0;
    } else {
      const auto asked = static_cast<Asked>(held);
      const bool isSame = static_cast<Held>(asked) == held && isNegative(asked) == isNegative(held);
      return sizeof(Held) == sizeof(Asked) || isSame ? asked : Asked{0};
    }
  }

  template <typename Integer>
  static bool isNegative(Integer value) {
    return std::is_signed_v<Integer> && value < Integer{0};
  }
};

// 0 when the variant holds no integer, or one that does not fit. Signed and unsigned integers of
// one width read the same bits.
template <typename Asked, typename Variant>
Asked integerIn(const Variant& variant) {
  return std::visit(IntegerReader<Asked>(), variant);
}

}  // namespace qxbus

#endif  // BUS_DBUS_INTEGER_H
