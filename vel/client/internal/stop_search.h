// Ends searches of the service while one of this process is running: the library's own operation
// would wait for that search, because calls are made one at a time.

#ifndef VEL_CLIENT_INTERNAL_STOP_SEARCH_H
#define VEL_CLIENT_INTERNAL_STOP_SEARCH_H

#include <cstdint>
#include <memory>
#include <string>

#include "bus/qxbus.h"
#include "vel/client/error.h"
#include "vel/client/internal/arguments.h"
#include "vel/protocol/names.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

inline Result<void> stopSearch() {
  static constexpr char kMethod[] = "stopSearchSharePrinter";
  constexpr int kWaitForTheBus = -1;
  constexpr int kInterfaceMode = 1;
  const auto failed = [](ErrorKind kind, const std::string& text) {
    return unexpected<Error>(Error(kind, kMethod, text));
  };
  QXBusSerivceManager* const bus = QXBusSerivceManager::initSync(kWaitForTheBus);
  if (!bus) {
    return failed(ErrorKind::kNoBus, qx::kBusUnreachable);
  }
  const std::shared_ptr<QXBusProxyInterface> service = bus->getServiceProxyInterface(
      velprotocol::kServiceName, QXBUS_SECURITY_SAME_USER_OR_ROOT, kInterfaceMode);
  if (!service) {
    return failed(ErrorKind::kNoService, "no service on the bus");
  }
  const std::shared_ptr<QXBusMessage> reply = service->callWithReplyBlocking(
      service->makeMethodCallMessage(kMethod), static_cast<int>(timeLimit(kMethod).count()));
  switch (reply->type()) {
    case MESSAGE_TYPE_METHOD_RETURN:
      break;
    case MESSAGE_TYPE_NO_REPLY:
    case MESSAGE_TYPE_DISCONNECTED:
      return failed(ErrorKind::kNoReply, reply->getString(0));
    default:
      return failed(ErrorKind::kErrorReply, reply->getString(0));
  }
  if (reply->argCount() == 0) {
    return failed(ErrorKind::kBadReply, "value 1 of the reply is missing");
  }
  const std::int32_t status = reply->getInt32(0);
  if (status != 0) {
    return unexpected<Error>(Error::refused(kMethod, status));
  }
  return {};
}

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_STOP_SEARCH_H
