// The header fields of D-Bus messages, by their codes.

#ifndef BUS_DBUS_WIRE_HEADER_FIELDS_H
#define BUS_DBUS_WIRE_HEADER_FIELDS_H

#include <cstdint>
#include <string_view>

#include "bus/dbus/wire/message.h"

namespace qxbus::wire {

namespace field {
inline constexpr std::uint8_t kPath = 1;
inline constexpr std::uint8_t kInterface = 2;
inline constexpr std::uint8_t kMember = 3;
inline constexpr std::uint8_t kErrorName = 4;
inline constexpr std::uint8_t kReplySerial = 5;
inline constexpr std::uint8_t kDestination = 6;
inline constexpr std::uint8_t kSender = 7;
inline constexpr std::uint8_t kSignature = 8;
inline constexpr std::uint8_t kDescriptors = 9;
// An object path. Known to libdbus only, which checks its type.
inline constexpr std::uint8_t kContainer = 10;
inline constexpr std::uint8_t kLast = kContainer;
}  // namespace field

struct HeaderField {
  char type;                                 // o, s, g or u
  std::string_view Header::*text = nullptr;  // where its text is kept
};

// In the order of the codes; code 0 is none.
inline constexpr HeaderField kHeaderFields[field::kLast + 1] = {
    {0},
    {'o', &Header::path},
    {'s', &Header::interface},
    {'s', &Header::member},
    {'s', &Header::errorName},
    {'u'},
    {'s', &Header::destination},
    {'s', &Header::sender},
    {'g', &Header::signature},
    {'u'},
    {'o'},
};

// --- The fixed part ------------------------------------------------------------------------------
//
//   offset  size  value
//        0     1  byte order, 'l' or 'B'
//        1     1  message type
//        2     1  flags
//        3     1  protocol version, 1
//        4     4  size of the body
//        8     4  serial
//       12     4  size of the header fields, which follow; padding to a multiple of 8 is not
//       counted
inline constexpr std::size_t kTypeOffset = 1;
inline constexpr std::size_t kFlagsOffset = 2;
inline constexpr std::size_t kVersionOffset = 3;
inline constexpr std::size_t kBodySizeOffset = 4;
inline constexpr std::size_t kSerialOffset = 8;
inline constexpr std::size_t kFieldsSizeOffset = 12;
static_assert(kFieldsSizeOffset + sizeof(std::uint32_t) == kFrameSize);

inline constexpr std::uint8_t kProtocolVersion = 1;
inline constexpr std::size_t kHeaderAlignment = 8;

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_HEADER_FIELDS_H
