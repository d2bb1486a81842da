// Whether bytes are values of a signature. Every D-Bus type is known here, nested ones included.

#ifndef BUS_DBUS_WIRE_VALUES_CHECK_H
#define BUS_DBUS_WIRE_VALUES_CHECK_H

#include <string_view>

#include "bus/dbus/wire/cursor.h"

namespace qxbus::wire {

// Goes behind the values, one for each complete type of the signature.
//
// signature  valid
// depth      the number of containers around the values. A value may be within 64 of them; an
//            array counts when it has elements that are not all of one size
bool checkValues(Cursor* cursor, std::string_view signature, int depth = 0);

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_VALUES_CHECK_H
