// A D-Bus message in place: where it ends in a stream of bytes, its header, and its body as bytes.
//
//   const Frame frame = frameOf(received);           // as soon as kFrameSize bytes are there
//   Message message;
//   if (readHeader(received, &message) == Fault::kNone && isFromTheService(message.header) &&
//       checkBody(message) == Fault::kNone) { ... ArgumentReader(message) ... }
//
// MEMORY    Texts and the body are views of the bytes that were read. Nothing is allocated.
// THREADS   Functions without state.

#ifndef BUS_DBUS_WIRE_MESSAGE_H
#define BUS_DBUS_WIRE_MESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "bus/dbus/wire/byte_order.h"
#include "bus/dbus/wire/fault.h"

namespace qxbus::wire {

inline constexpr std::size_t kLargestMessage = std::size_t{128} * 1024 * 1024;

// Types above these are valid, and to be ignored.
enum class MessageType : std::uint8_t {
  kInvalid = 0,
  kMethodCall = 1,
  kMethodReturn = 2,
  kError = 3,
  kSignal = 4,
};

inline constexpr std::uint8_t kNoReplyExpected = 1;
inline constexpr std::uint8_t kNoAutoStart = 2;

// A text that is empty, or a reply serial of 0, is not in the message.
struct Header {
  MessageType type = MessageType::kInvalid;
  std::uint8_t flags = 0;
  std::uint32_t serial = 0;
  std::uint32_t replySerial = 0;
  std::string_view path;
  std::string_view interface;
  std::string_view member;
  std::string_view errorName;
  std::string_view destination;
  std::string_view sender;
  std::string_view signature;
};

struct Message {
  Header header;
  std::string_view body;
  std::size_t bodySize = 0;  // larger than the body while bytes of it are missing
  ByteOrder order = kHostOrder;
};

// The first bytes of a message give its size.
inline constexpr std::size_t kFrameSize = 16;

struct Frame {
  Fault fault = Fault::kNone;  // a fault leaves no way to find the next message
  std::size_t headerSize = 0;  // a multiple of 8
  std::size_t size = 0;        // header and body; 0: fewer than kFrameSize bytes were given
};

Frame frameOf(std::string_view bytes);

// Reads and checks the header.
//
// bytes      of one message, from its first on; at least the header, and nothing behind the body
// message    means nothing after a fault
Fault readHeader(std::string_view bytes, Message* message);

// Checks the body, which must be complete, against the signature in the header.
//
// message    from readHeader()
Fault checkBody(const Message& message);

// Reads and checks header and body.
Fault readMessage(std::string_view bytes, Message* message);

// --- Headers to write ----------------------------------------------------------------------------

// The reply to a call: to its sender, with its serial.
Header returnOf(const Header& call);
Header errorOf(const Header& call, std::string_view errorName);

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_MESSAGE_H
