// The content of a message, and messages made from the outcomes of calls.

#ifndef BUS_DBUS_MESSAGE_IMPL_H
#define BUS_DBUS_MESSAGE_IMPL_H

#include <memory>
#include <string>
#include <utility>

#include "bus/dbus/arguments.h"
#include "bus/dbus/transport/outcome.h"
#include "bus/dbus/value.h"
#include "bus/qxbus.h"

// A message is encoded when it is sent, so it may be changed and sent again.
struct QXBusMessage::Impl {
  QXBusMessageType type = MESSAGE_TYPE_INVALID;
  std::string name;  // of the method, the event or the error
  qxbus::Arguments arguments;
};

namespace qxbus {

std::shared_ptr<QXBusMessage> makeMessage(QXBusMessageType type, std::string name,
                                          Arguments arguments = Arguments());

// In place of the reply to a request that could not be sent.
std::shared_ptr<QXBusMessage> notSent(const std::string& text);

// The reply to a call of a method, or a failure in its place.
std::shared_ptr<QXBusMessage> messageFrom(Outcome outcome, const std::string& method);

}  // namespace qxbus

#endif  // BUS_DBUS_MESSAGE_IMPL_H
