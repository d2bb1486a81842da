// The arguments of a message: values that were appended, or what was received, in place.

#ifndef BUS_DBUS_ARGUMENTS_H
#define BUS_DBUS_ARGUMENTS_H

#include <optional>
#include <vector>

#include "bus/dbus/transport/received.h"
#include "bus/dbus/value.h"
#include "bus/dbus/wire/argument_reader.h"
#include "bus/dbus/wire/message_writer.h"

namespace qxbus {

// Arguments that were received are views of their message until something is appended: a block of
// bytes is copied once, to where the client wants it.
class Arguments {
 public:
  explicit Arguments(Values values = {}) : values_(std::move(values)) {}
  // One text.
  static Arguments ofText(std::string text);
  // A message with a valid body.
  explicit Arguments(Received message);

  int size() const;
  // nullopt: there is none at the index. Its texts and bytes last as long as this object is not
  // changed.
  std::optional<wire::Argument> at(int index) const;
  void append(Value value);

  // writer     of a message of signature "av"
  void write(wire::MessageWriter* writer) const;
  // All of them, as values of their own.
  Values values() const;

 private:
  Received message_;
  std::vector<wire::Argument> views_;
  Values values_;  // behind the views, of which there are then none
};

}  // namespace qxbus

#endif  // BUS_DBUS_ARGUMENTS_H
