// Why bytes are not a D-Bus message, or why a message cannot be written.

#ifndef BUS_DBUS_WIRE_FAULT_H
#define BUS_DBUS_WIRE_FAULT_H

namespace qxbus::wire {

enum class Fault : unsigned char {
  kNone,
  // of the fixed part of a header
  kByteOrder,
  kMessageType,
  kVersion,
  kSerial,
  kMessageSize,
  // of header fields
  kFieldCode,
  kFieldType,
  kFieldTwice,
  kFieldMissing,
  kBusName,
  kInterface,
  kMember,
  kErrorName,
  kReplySerial,
  kLocal,
  kDescriptors,
  // of values
  kTruncated,
  kTooLong,
  kPadding,
  kBoolean,
  kText,
  kObjectPath,
  kSignature,
  kTerminator,
  kArraySize,
  kArrayEnd,
  kNesting,
  // of arguments that do not follow the signature they were announced with
  kArgument,
};

// For people: "a boolean is neither 0 nor 1".
const char* reasonOf(Fault fault);

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_FAULT_H
