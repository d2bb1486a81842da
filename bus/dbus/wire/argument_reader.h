// Positional arguments out of the body of a message, in place.
//
// A body of signature "av" has one argument for each variant; any other body one for each complete
// type of its signature. A variant reads as the value within.
//
//   n q i u x t d   the number         y b        std::int32_t, which holds each of them
//   s o g           the text           ay         the bytes
//   other arrays, structures, dictionaries, file descriptors: no bytes; they keep their place
//
//   Argument argument;
//   for (ArgumentReader arguments(message); arguments.next(&argument);) { ... }

#ifndef BUS_DBUS_WIRE_ARGUMENT_READER_H
#define BUS_DBUS_WIRE_ARGUMENT_READER_H

#include <cstdint>
#include <string_view>
#include <variant>

#include "bus/dbus/wire/cursor.h"
#include "bus/dbus/wire/message.h"

namespace qxbus::wire {

// Bytes as distinct from a text.
struct Block {
  std::string_view bytes;
};

// Texts and blocks are views of the body.
using Argument = std::variant<std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                              std::int64_t, std::uint64_t, double, std::string_view, Block>;

// Copies are cheap, and stay where they are: a place to go back to.
class ArgumentReader {
 public:
  // message    without a fault; its bytes stay where they are. The arguments of a faulty body mean
  //            nothing, but no byte outside of it is read
  explicit ArgumentReader(const Message& message);

  // False behind the last argument.
  bool next(Argument* argument);

 private:
  bool read(std::string_view type, Argument* argument);
  template <typename Number, typename Read = Number>
  bool readNumber(Argument* argument);
  bool readArray(std::string_view type, Argument* argument);

  Cursor cursor_;
  std::string_view types_;  // of the arguments to come; unused in a list
  bool isList_ = false;     // of variants
};

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_ARGUMENT_READER_H
