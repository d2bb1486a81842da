#include "bus/dbus/wire/fault.h"

namespace qxbus::wire {

const char* reasonOf(Fault fault) {
  switch (fault) {
    case Fault::kNone:
      return "the message is valid";
    case Fault::kByteOrder:
      return "the first byte names no byte order";
    case Fault::kMessageType:
      return "the message type is 0";
    case Fault::kVersion:
      return "the protocol version is not 1";
    case Fault::kSerial:
      return "the serial is 0";
    case Fault::kMessageSize:
      return "the message is larger than 128 MiB";
    case Fault::kFieldCode:
      return "a header field has code 0";
    case Fault::kFieldType:
      return "a header field has the wrong type";
    case Fault::kFieldTwice:
      return "a header field appears twice";
    case Fault::kFieldMissing:
      return "a header field that the message type requires is missing";
    case Fault::kBusName:
      return "the sender or the destination is not a bus name";
    case Fault::kInterface:
      return "the interface is not an interface name";
    case Fault::kMember:
      return "the member is not a member name";
    case Fault::kErrorName:
      return "the error name is not an error name";
    case Fault::kReplySerial:
      return "the reply serial is 0";
    case Fault::kLocal:
      return "the path or the interface is reserved for messages inside a process";
    case Fault::kDescriptors:
      return "the message announces file descriptors, which were not negotiated";
    case Fault::kTruncated:
      return "a value exceeds the bytes that hold it";
    case Fault::kTooLong:
      return "bytes follow the last value";
    case Fault::kPadding:
      return "padding is not zero";
    case Fault::kBoolean:
      return "a boolean is neither 0 nor 1";
    case Fault::kText:
      return "a string holds a NUL or is not UTF-8";
    case Fault::kObjectPath:
      return "an object path is malformed";
    case Fault::kSignature:
      return "a signature is malformed";
    case Fault::kTerminator:
      return "a string or a signature does not end with NUL";
    case Fault::kArraySize:
      return "an array is larger than 64 MiB";
    case Fault::kArrayEnd:
      return "an array ends within an element";
    case Fault::kNesting:
      return "values are nested too deeply";
    case Fault::kArgument:
      return "the arguments do not follow the signature";
  }
  return "the message is malformed";
}

}  // namespace qxbus::wire
