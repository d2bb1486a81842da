#include "vel/apps/local/velctl/run/service_interface.h"

#include <cstdint>
#include <memory>

#include "bus/qxbus.h"
#include "vel/protocol/names.h"

namespace velctl {
namespace {

constexpr int kWaitForTheBus = -1;
constexpr int kInterfaceMode = 1;
constexpr int kUnsubscriptionMs = 500;

}  // namespace

base::Result<void> endJoystickSubscription(const qx::VelProxy& subscriber) {
  QXBusSerivceManager* const bus = QXBusSerivceManager::initSync(kWaitForTheBus);
  const std::shared_ptr<QXBusProxyInterface> service =
      bus ? bus->getServiceProxyInterface(velprotocol::kServiceName,
                                          QXBUS_SECURITY_SAME_USER_OR_ROOT, kInterfaceMode)
          : nullptr;
  if (!service) {
    return base::Failed{"no service on the bus"};
  }
  // The address of the proxy identifies the subscriber.
  const auto id = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&subscriber));
  const auto request = service->makeMethodCallMessage("unregisterJoystickCallback");
  request->appendBytes(&id, sizeof id);
  const auto reply = service->callWithReplyBlocking(request, kUnsubscriptionMs);
  if (reply->type() != MESSAGE_TYPE_METHOD_RETURN) {
    return base::Failed{reply->getString(0)};
  }
  return {};
}

}  // namespace velctl
