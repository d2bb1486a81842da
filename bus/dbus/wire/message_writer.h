// Builds one D-Bus message after the other, in one piece of memory and in the byte order of this
// machine.
//
//   MessageWriter writer;
//   writer.start(header);                   // header.signature is "av"
//   writer.appendInt32(7);
//   writer.appendBytes(record);
//   if (writer.finish(serial) == Fault::kNone) { send(writer.bytes()); }
//
// Arguments of a message of signature "av" become one variant each, so that a message may have any
// number of them. Otherwise they must follow the signature: numbers, texts and byte arrays only.

#ifndef BUS_DBUS_WIRE_MESSAGE_WRITER_H
#define BUS_DBUS_WIRE_MESSAGE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "bus/dbus/wire/buffer.h"
#include "bus/dbus/wire/fault.h"
#include "bus/dbus/wire/message.h"

namespace qxbus::wire {

class MessageWriter {
 public:
  // Begins a message in the memory of the one before, which is gone.
  //
  // header     with all fields that its type requires; finish() sets the serial. The caller checks
  //            names: a bus ends the connection of a client that sends a malformed one
  void start(const Header& header);

  void appendInt16(std::int16_t value);
  void appendUInt16(std::uint16_t value);
  void appendInt32(std::int32_t value);
  void appendUInt32(std::uint32_t value);
  void appendInt64(std::int64_t value);
  void appendUInt64(std::uint64_t value);
  void appendDouble(double value);
  // In a message of signature "av", a text that is not one (see isText) is appended as bytes.
  void appendText(std::string_view text);
  void appendBytes(std::string_view bytes);

  // Completes the message. More arguments may be appended to one of signature "av" afterwards, or
  // another serial given to the same message, by finishing it again.
  //
  // serial     not 0
  // returns    kArraySize or kMessageSize: the message would be larger than D-Bus allows;
  //            kArgument, kText: the arguments do not follow the signature
  Fault finish(std::uint32_t serial);

  // The message that was finished, until the next operation.
  std::string_view bytes() const { return buffer_.bytes(); }

 private:
  bool isList() const { return listStart_ != 0; }
  void fail(Fault fault);
  bool isNext(std::string_view type);
  // Where the value of an argument goes; null after a fault.
  char* place(std::string_view type, std::size_t alignment, std::size_t size);
  template <typename Number>
  void appendNumber(std::string_view type, Number number);

  Buffer buffer_;
  Fault fault_ = Fault::kNone;  // the first one
  std::size_t bodyStart_ = 0;
  std::size_t listStart_ = 0;  // of the variants of "av"; 0: another signature
  std::string types_;          // the other signature
  std::size_t typesDone_ = 0;
};

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_MESSAGE_WRITER_H
