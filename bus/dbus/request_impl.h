// A method call on its way through a service.

#ifndef BUS_DBUS_REQUEST_IMPL_H
#define BUS_DBUS_REQUEST_IMPL_H

#include <atomic>
#include <memory>
#include <string>

#include "bus/dbus/peer_calls.h"
#include "bus/dbus/service_host.h"
#include "bus/dbus/transport/connection.h"

namespace qxbus {

inline constexpr char kListSignature[] = "av";

struct Request::Impl {
  std::shared_ptr<Connection> connection;
  ReturnAddress caller;
  std::string sender;
  std::string method;
  std::string replySignature;
  Values arguments;
  std::atomic<bool> isAnswered{false};
};

}  // namespace qxbus

#endif  // BUS_DBUS_REQUEST_IMPL_H
