// Positional arguments as values that outlive their message.

#ifndef BUS_DBUS_WIRE_VALUES_H
#define BUS_DBUS_WIRE_VALUES_H

#include "bus/dbus/value.h"
#include "bus/dbus/wire/argument_reader.h"
#include "bus/dbus/wire/message_writer.h"

namespace qxbus::wire {

// A copy, of the same type.
Value valueOf(const Argument& argument);

Values readValues(const Message& message);

// writer     of a message of signature "av"
void appendValues(MessageWriter* writer, const Values& values);

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_VALUES_H
