// The positional arguments of a message, as both sides of the bus hold and read them.

#ifndef BUS_DBUS_VALUE_H
#define BUS_DBUS_VALUE_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace qxbus {

using Bytes = std::vector<unsigned char>;

// In the order of the D-Bus type codes n, i, t, x, d, s, ay; then q and u, which only others send.
using Value = std::variant<std::int16_t, std::int32_t, std::uint64_t, std::int64_t, double,
                           std::string, Bytes, std::uint16_t, std::uint32_t>;
using Values = std::vector<Value>;

// Total readings: another type, or an index outside the arguments, gives 0, "" or null.
//
// An integer is read from an integer of any type that holds it; 0 when it does not fit. Signed and
// unsigned integers of one width read the same bits. A text is also read from bytes, since D-Bus
// cannot carry every text as a string.
std::int16_t readInt16(const Values& values, int index);
std::uint16_t readUInt16(const Values& values, int index);
std::int32_t readInt32(const Values& values, int index);
std::uint32_t readUInt32(const Values& values, int index);
std::int64_t readInt64(const Values& values, int index);
std::uint64_t readUInt64(const Values& values, int index);
std::string readString(const Values& values, int index);
const Bytes* readBytes(const Values& values, int index);

// Whether D-Bus can carry the text as a string: UTF-8 without a NUL.
bool isText(const std::string& text);

// The values on one line: int32 7, string "Front camera", bytes[3] 01 02 03.
std::string describe(const Values& values);

}  // namespace qxbus

#endif  // BUS_DBUS_VALUE_H
