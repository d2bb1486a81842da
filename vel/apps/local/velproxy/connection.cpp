// The instance, its connection to the service, and what happens when the service dies.

#include <cstdio>
#include <new>

#include "platform/app_data_path.h"
#include "vel/apps/local/velproxy/internal/error_report.h"
#include "vel/apps/local/velproxy/internal/pause.h"
#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/names.h"

namespace qx {
namespace {

constexpr unsigned int kFailed = 0xFFFFFFFF;
constexpr int kWaitForTheBus = -1;
constexpr int kInterfaceMode = 1;

constexpr std::chrono::seconds kPauseWhenNobodyWaits{5};
constexpr std::chrono::seconds kPauseBetweenPolls{2};
constexpr int kMostPolls = 500;
constexpr unsigned short kSessionEnded = 5;

std::atomic<VelProxy*> mVelProxy{nullptr};

// Never destroyed: a call may come as late as the destructors of the client's own statics.
std::mutex& creationMutex() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}

// Runs what the bus calls on a thread of its own, where an exception would end the process. Only a
// client's code throws: its callbacks and what it overrides.
template <typename Action>
void withoutExceptions(const Action& action) {
  try {
    action();
  } catch (...) {
    VEL_ERROR("a callback has thrown an exception");
  }
}

// A listener outlives its registration, because the bus may be calling it at that moment. So none
// is ever freed; they are kept in a list, which also tells leak checkers that they are meant to be.
QXBusEventCallback* newListener(std::function<void(std::shared_ptr<QXBusMessage>)> handler) {
  static auto* const mutex = new std::mutex;
  static auto* const listeners = new std::list<QXBusEventCallback>;
  const std::lock_guard<std::mutex> lock(*mutex);
  listeners->emplace_back();
  listeners->back().handler = [handler =
                                   std::move(handler)](const std::shared_ptr<QXBusMessage>& event) {
    withoutExceptions([&] { handler(event); });
  };
  return &listeners->back();
}

}  // namespace

VelProxy::VelProxy() = default;

VelProxy::~VelProxy() {
  const LastErrorKeeper keeper;
  VEL_DEBUG("velproxy destroyed ...");
  VelProxy::ReleaseService();
}

VelProxy* VelProxy::getInstance() {
  // Connecting again belongs to the operation that follows.
  const LastErrorKeeper keeper;
  if (VelProxy* const instance = mVelProxy.load()) {
    if (instance->Init() == kFailed) {
      VEL_ERROR("retry to get qxbus interface failed");
    }
    return instance;
  }
  const std::lock_guard<std::mutex> lock(creationMutex());
  if (VelProxy* const instance = mVelProxy.load()) {
    instance->Init();
    return instance;
  }
  auto* const instance = new VelProxy;
  // Stored before it connects, so that whatever connecting calls finds it.
  mVelProxy.store(instance);
  if (instance->Init() == kFailed) {
    VEL_ERROR("get qxbus interface failed");
  }
  VEL_DEBUG("out, mVelProxy: %p", static_cast<void*>(instance));
  return instance;
}

unsigned int VelProxy::Init() {
  ErrorReport report;
  if (currentInterface()) {
    return 0;
  }
  const std::lock_guard<std::mutex> lock(callMutex_);
  if (currentInterface()) {
    return 0;
  }
  const std::string logPath = GetAppDataPath();
  if (!logPath.empty()) {
    std::printf("set vel log path:%s \n", logPath.c_str());
    pellamLogInit(logPath.c_str());
  }
  VEL_DEBUG("logPath:%s", logPath.c_str());

  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(kWaitForTheBus);
  serviceManager_.store(manager);
  if (!manager) {
    VEL_ERROR("QXBusSerivceManager::initSync failed");
    report.fail(VelError::Kind::kNoService, "the bus cannot be reached");
    return kFailed;
  }
  if (!manager->isServiceRegistered(velprotocol::kServiceName)) {
    VEL_ERROR("isServiceRegistered failed");
    report.fail(VelError::Kind::kNoService, "no service on the bus");
    return kFailed;
  }
  const std::shared_ptr<QXBusProxyInterface> interface = manager->getServiceProxyInterface(
      velprotocol::kServiceName, QXBUS_SECURITY_SAME_USER_OR_ROOT, kInterfaceMode);
  if (!interface) {
    VEL_ERROR("getServiceProxyInterface failed");
    report.fail(VelError::Kind::kNoService, "the service left the bus or is not trusted");
    return kFailed;
  }
  std::atomic_store(&interface_, interface);

  eventListener_ =
      newListener([this](const std::shared_ptr<QXBusMessage>& event) { HandleEvent(event); });
  VEL_DEBUG("init callback : %p", static_cast<void*>(eventListener_));
  interface->addEventListener(velprotocol::kServiceEvent, eventListener_,
                              QXBUS_SECURITY_SAME_USER_OR_ROOT);
  interface->setDeathCallback([this] { withoutExceptions([this] { onServiceDeath(); }); });
  return InitBroadcast();
}

unsigned int VelProxy::InitBroadcast() {
  const ErrorReport report;
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(kWaitForTheBus);
  if (manager) {
    manager->addEventListener(velprotocol::kBroadcastEvent,
                              newListener(&VelProxy::BroadcastCallback),
                              QXBUS_SECURITY_SAME_USER_OR_ROOT);
  }
  return 0;
}

void VelProxy::BroadcastCallback(std::shared_ptr<QXBusMessage> message) {
  if (getInstance()) {
    getInstance()->HandleEvent(std::move(message));
  }
}

void VelProxy::ReleaseService() {
  const ErrorReport report;
  VEL_DEBUG("");
  // Given up after the lock: whoever holds the last reference destroys the interface.
  std::shared_ptr<QXBusProxyInterface> released;
  const std::lock_guard<std::mutex> lock(callMutex_);
  if (currentInterface() && serviceManager_.load()) {
    released = std::atomic_exchange(&interface_, {});
    released->removeEventListener(velprotocol::kServiceEvent, eventListener_);
    eventListener_ = nullptr;
  }
}

unsigned int VelProxy::ResetService() {
  VEL_DEBUG("enter");
  return RemoteCall(*this).method("resetService").answer() ? 0 : kFailed;
}

void VelProxy::onServiceDeath() {
  const ErrorReport report;
  VEL_ERROR("vel serviced death");
  {
    const std::lock_guard<std::mutex> lock(vmIdMutex_);
    vmIds_.clear();
    ++vmIdGeneration_;
  }
  ReleaseService();

  bool nobodyWaits = false;
  {
    const std::lock_guard<std::mutex> lock(callbackMutex_);
    nobodyWaits = deviceCallbacks_.empty() && vmCallbacks_.empty();
  }
  if (nobodyWaits) {
    pauseFor(kPauseWhenNobodyWaits);
  }
  int polls = 0;
  while (!isServiceRegistered() && polls < kMostPolls) {
    VEL_DEBUG("wait for velservice ....");
    pauseFor(kPauseBetweenPolls);
    ++polls;
  }
  VEL_DEBUG("wait for velservice ...., waiting cnt=%d", polls);
  // The other steps are this object's own; connecting is for the instance that clients use.
  if (VelProxy* const instance = mVelProxy.load()) {
    instance->Init();
  }

  const std::lock_guard<std::mutex> lock(callbackMutex_);
  const std::map<std::string, VmRegistration> ended = vmCallbacks_;
  for (const auto& [vmId, registration] : ended) {
    VEL_ERROR("erase vmId: %s", vmId.c_str());
    VEL_DEBUG("ServiceRegistered:%d count=%d callback=%p userdata=%p",
              isServiceRegistered() ? 1 : 0, polls, reinterpret_cast<void*>(registration.callback),
              registration.userData);
    if (registration.callback) {
      registration.callback(kSessionEnded, nullptr, registration.userData);
    }
  }
  vmCallbacks_.clear();
}

std::shared_ptr<QXBusProxyInterface> VelProxy::currentInterface() const {
  return std::atomic_load(&interface_);
}

bool VelProxy::isServiceRegistered() const {
  QXBusSerivceManager* const manager = serviceManager_.load();
  return manager && manager->isServiceRegistered(velprotocol::kServiceName);
}

}  // namespace qx
