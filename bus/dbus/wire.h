// Positional arguments to and from the body of a D-Bus message, for both sides of the bus.
//
// A body is one argument of type av, one variant per positional argument:
//   n int16   i int32   t uint64   x int64   d double   s string   ay bytes
// (A signature may not exceed 255 characters; av carries lists of any length.) A string that D-Bus
// cannot carry, because it holds a NUL or is not UTF-8, travels as ay; texts are read from either.
//
// A body whose signature is not exactly av is read as one positional argument per body argument, so
// that services written with ordinary D-Bus tools are understood. Of their types, q and u are kept;
// y and b are read as int32, o and g as strings; a structure, a dictionary or another array keeps
// its place and reads as empty bytes.

#ifndef BUS_DBUS_WIRE_H
#define BUS_DBUS_WIRE_H

#include <string>

#include <dbus/dbus.h>

#include "bus/dbus/value.h"

namespace qxbus {

// False when the body would be larger than D-Bus allows, or memory is short.
bool appendBody(DBusMessage* message, const Values& values);

Values readBody(DBusMessage* message);

// The text of an error reply; the error's name when the reply holds no text.
std::string errorText(DBusMessage* reply);

}  // namespace qxbus

#endif  // BUS_DBUS_WIRE_H
