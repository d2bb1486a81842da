// A message as it came, with the memory that its texts and its body are views of.

#ifndef BUS_DBUS_TRANSPORT_RECEIVED_H
#define BUS_DBUS_TRANSPORT_RECEIVED_H

#include <cstddef>
#include <memory>

#include "bus/dbus/wire/message.h"

namespace qxbus {

// Copies share the memory, which several messages may share.
struct Received {
  std::shared_ptr<const char[]> memory;
  std::size_t memorySize = 0;
  wire::Message message;

  // The memory that keeping it takes, apart from what it shares with the message before it.
  std::size_t costBehind(const Received* before) const {
    constexpr std::size_t kBesidesItsBytes = 512;
    const bool isShared = before && before->memory == memory;
    return isShared ? kBesidesItsBytes : kBesidesItsBytes + memorySize;
  }
  const wire::Header& header() const { return message.header; }
};

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_RECEIVED_H
