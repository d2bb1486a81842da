// The bus classes, in terms of a client of D-Bus.

#include "bus/qxbus.h"

#include "bus/dbus/bus_log.h"
#include "bus/dbus/client.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"
#include "bus/dbus/shared_attempt.h"
#include "platform/mutex.h"

struct QXBusProxyInterface::Impl {
  std::shared_ptr<qxbus::ServiceHandle> service;
};

struct QXBusSerivceManager::Impl {
  std::shared_ptr<qxbus::Client> client;
};

QXBusEventCallback::~QXBusEventCallback() = default;

QXBusProxyInterface::QXBusProxyInterface(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

QXBusProxyInterface::~QXBusProxyInterface() {
  // An event that is being dispatched may own the service a little longer.
  impl_->service->listeners().clear();
  impl_->service->setDeathCallback(nullptr);
}

std::shared_ptr<QXBusMessage> QXBusProxyInterface::makeMethodCallMessage(std::string method) {
  return qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, std::move(method));
}

std::shared_ptr<QXBusMessage> QXBusProxyInterface::callWithReplyBlocking(
    std::shared_ptr<QXBusMessage> message, int timeoutMs) {
  return message ? impl_->service->call(*message, timeoutMs)
                 : qxbus::notSent("there is no message to send");
}

void QXBusProxyInterface::callWithReply(std::shared_ptr<QXBusMessage> message,
                                        std::function<void(std::shared_ptr<QXBusMessage>)> done,
                                        int timeoutMs) {
  if (!done) {
    done = [](const std::shared_ptr<QXBusMessage>&) {};
  }
  // In place of no message, one without a name: the service refuses it like any invalid name.
  const std::shared_ptr<QXBusMessage> sent = message ? message : makeMethodCallMessage("");
  impl_->service->call(*sent, timeoutMs, std::move(done));
}

void QXBusProxyInterface::setDeathCallback(std::function<void()> callback) {
  impl_->service->setDeathCallback(std::move(callback));
}

void QXBusProxyInterface::addEventListener(std::string name, QXBusEventCallback* listener,
                                           QXBusSecurityFlags flags) {
  if (listener) {
    impl_->service->addEventListener(name, listener, flags);
  }
}

void QXBusProxyInterface::removeEventListener(std::string name, QXBusEventCallback* listener) {
  impl_->service->listeners().remove(name, listener);
}

QXBusSerivceManager::QXBusSerivceManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusSerivceManager::~QXBusSerivceManager() = default;

namespace {

// The one manager, once there is one.
struct FirstConnection {
  QXBusSerivceManager* made() {
    const platform::MutexLock lock(mutex);
    return manager;
  }

  QXBusSerivceManager* make(qxbus::Clock::time_point deadline) {
    auto client = qxbus::Client::connect(qxbus::busAddress(), deadline);
    if (!client) {
      qxbus::logError(client.reason());
      return nullptr;
    }
    auto impl = std::make_unique<QXBusSerivceManager::Impl>();
    impl->client = std::move(*client);
    const platform::MutexLock lock(mutex);
    manager = new QXBusSerivceManager(std::move(impl));
    return manager;
  }

  qxbus::SharedAttempt<QXBusSerivceManager*> attempt;
  platform::Mutex mutex;
  QXBusSerivceManager* manager QX_GUARDED_BY(mutex) = nullptr;
};

}  // namespace

QXBusSerivceManager* QXBusSerivceManager::initSync(int /*wait*/) {
  // Never destroyed: threads of the bus run until the process has ended.
  static auto* const first = new FirstConnection;
  if (QXBusSerivceManager* const made = first->made()) {
    return made;
  }
  const qxbus::Clock::time_point deadline = qxbus::deadlineAfter(qxbus::kBusTimeoutMs);
  return first->attempt.join(deadline, [deadline] {
    QXBusSerivceManager* const made = first->made();
    return made ? made : first->make(deadline);
  });
}

bool QXBusSerivceManager::isServiceRegistered(const std::string& name) {
  return impl_->client->isServiceRegistered(name);
}

std::shared_ptr<QXBusProxyInterface> QXBusSerivceManager::getServiceProxyInterface(
    std::string name, QXBusSecurityFlags flags, int /*mode*/) {
  std::shared_ptr<qxbus::ServiceHandle> service = impl_->client->handleOn(name, flags);
  if (!service) {
    return nullptr;
  }
  auto impl = std::make_unique<QXBusProxyInterface::Impl>();
  impl->service = std::move(service);
  return std::make_shared<QXBusProxyInterface>(std::move(impl));
}

void QXBusSerivceManager::addEventListener(const std::string& name, QXBusEventCallback* listener,
                                           QXBusSecurityFlags flags) {
  if (listener) {
    impl_->client->addBroadcastListener(name, listener, flags);
  }
}
