// One positional argument of a message, as both sides of the bus hold it.

#ifndef BUS_DBUS_VALUE_H
#define BUS_DBUS_VALUE_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace qxbus {

using Bytes = std::vector<unsigned char>;

// In the order of the D-Bus type codes n, i, t, x, d, s, ay.
using Value = std::variant<std::int16_t, std::int32_t, std::uint64_t, std::int64_t, double,
                           std::string, Bytes>;
using Values = std::vector<Value>;

}  // namespace qxbus

#endif  // BUS_DBUS_VALUE_H
