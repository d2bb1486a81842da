// A message as it came, with the memory that its texts and its body are views of.

#ifndef BUS_DBUS_TRANSPORT_RECEIVED_H
#define BUS_DBUS_TRANSPORT_RECEIVED_H

#include <memory>

#include "bus/dbus/wire/message.h"

namespace qxbus {

// Copies share the memory, which several messages may share.
struct Received {
  std::shared_ptr<const char[]> memory;
  wire::Message message;

  const wire::Header& header() const { return message.header; }
};

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_RECEIVED_H
