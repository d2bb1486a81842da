// Positional arguments to and from the body of a D-Bus message. Both sides of the bus use it.
//
// A body is one argument of type av, one variant per positional argument:
//   n int16   i int32   t uint64   x int64   d double   s string   ay bytes
// (A signature may not exceed 255 characters; av carries lists of any length.) A string that D-Bus
// cannot carry, because it holds a NUL or is not UTF-8, travels as ay; texts are read from either.
//
// A body whose signature is not exactly av is read as one positional argument per body argument, so
// that services written with ordinary D-Bus tools are understood. Their other types are read as the
// nearest of ours; what has none (a structure, a dictionary) keeps its place and reads as nothing.

#ifndef BUS_DBUS_WIRE_H
#define BUS_DBUS_WIRE_H

#include <cstdint>
#include <string>

#include <dbus/dbus.h>

#include "bus/dbus/value.h"

namespace qxbus {

// False when the body would be larger than D-Bus allows, or memory is short.
bool appendBody(DBusMessage* message, const Values& values);

Values readBody(DBusMessage* message);

// The text of an error reply; the error's name when the reply holds no text.
std::string errorText(DBusMessage* reply);

// Whether D-Bus can carry the text as a string.
bool isText(const std::string& text);

// Total readings: a wrong type or index gives 0, "" or null. Signed and unsigned integers of one
// width read the same bits.
std::uint16_t readUInt16(const Values& values, int index);
std::uint32_t readUInt32(const Values& values, int index);
std::uint64_t readUInt64(const Values& values, int index);
std::string readString(const Values& values, int index);
const Bytes* readBytes(const Values& values, int index);

// The values on one line: int32 7, string "Front camera", bytes[3] 01 02 03.
std::string describe(const Values& values);

}  // namespace qxbus

#endif  // BUS_DBUS_WIRE_H
