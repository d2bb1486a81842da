// The instance, its connection to the service, and what follows when the service dies.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "base/memory.h"
#include "platform/app_data_path.h"
#include "vel/apps/local/velproxy/internal/client_code.h"
#include "vel/apps/local/velproxy/internal/error_report.h"
#include "vel/apps/local/velproxy/internal/lifetime.h"
#include "vel/apps/local/velproxy/internal/pause.h"
#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/names.h"

namespace qx {
namespace {

constexpr int kWaitForTheBus = -1;
constexpr int kInterfaceMode = 1;

constexpr std::chrono::seconds kPauseWithoutCallbacks{5};
constexpr std::chrono::seconds kPauseBetweenPolls{2};
constexpr int kMostPolls = 500;
// The only code of per-VM callbacks.
constexpr unsigned short kSessionEnded = 5;

std::atomic<VelProxy*> mVelProxy{nullptr};
thread_local unsigned int attempts = 0;

// Never destroyed: destructors of the client's statics may still call.
platform::Mutex& creationMutex() {
  static auto* const mutex = new platform::Mutex;
  return *mutex;
}

// The library never frees a listener, because the bus may be calling it while it is removed. A bus
// may free the listeners that it has removed, so the library never reads the list: it only keeps
// the listeners reachable, so that leak checkers do not report them.
QXBusEventCallback* newListener(std::function<void(std::shared_ptr<QXBusMessage>)> handler) {
  struct Listeners {
    platform::Mutex mutex;
    std::vector<QXBusEventCallback*> all QX_GUARDED_BY(mutex);
  };
  static auto* const listeners = new Listeners;
  auto listener = std::make_unique<QXBusEventCallback>();
  listener->handler = [handler = std::move(handler)](const std::shared_ptr<QXBusMessage>& event) {
    withoutExceptions([&] { handler(event); });
  };
  const platform::MutexLock lock(listeners->mutex);
  listeners->all.push_back(listener.get());
  return listener.release();
}

}  // namespace

VelProxy::VelProxy() : lifetime_(std::make_shared<Lifetime>()) {}

VelProxy::~VelProxy() {
  const LastErrorKeeper keeper;
  VEL_DEBUG("velproxy destroyed ...");
  // No lock is held: the threads that end() waits for may need it.
  lifetime_->end();
  VelProxy::ReleaseService();
}

unsigned int attemptsToConnect() {
  return attempts;
}

VelProxy* VelProxy::getInstance() {
  ++attempts;
  // The attempt to connect is part of the operation that follows.
  const LastErrorKeeper keeper;
  if (VelProxy* const instance = mVelProxy.load()) {
    if (instance->Init() == RemoteCall::kNoAnswerUnsigned) {
      VEL_ERROR("retry to get qxbus interface failed");
    }
    return instance;
  }
  const platform::MutexLock lock(creationMutex());
  if (VelProxy* const instance = mVelProxy.load()) {
    instance->Init();
    return instance;
  }
  auto* const instance = new VelProxy;
  // Stored before Init, so that a call of getInstance() inside Init finds it.
  mVelProxy.store(instance);
  if (instance->Init() == RemoteCall::kNoAnswerUnsigned) {
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
  const unsigned int failures = failedInits_.load();
  const platform::MutexLock lock(callMutex_);
  if (currentInterface()) {
    return 0;
  }
  // Without an answer of the bus an attempt takes seconds: threads that waited for one share its
  // failure instead of making theirs one after the other.
  if (failedInits_.load() != failures) {
    report.fail(VelError::Kind::kNoService, failedInitReason_.load());
    return RemoteCall::kNoAnswerUnsigned;
  }
  const auto fail = [&](const char* reason) QX_REQUIRES(callMutex_) {
    report.fail(VelError::Kind::kNoService, reason);
    failedInitReason_ = reason;
    ++failedInits_;
    return RemoteCall::kNoAnswerUnsigned;
  };
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
    return fail(kBusUnreachable);
  }
  if (!manager->isServiceRegistered(velprotocol::kServiceName)) {
    VEL_ERROR("isServiceRegistered failed");
    return fail(kNoServiceOnTheBus);
  }
  const std::shared_ptr<QXBusProxyInterface> interface = manager->getServiceProxyInterface(
      velprotocol::kServiceName, QXBUS_SECURITY_SAME_USER_OR_ROOT, kInterfaceMode);
  if (!interface) {
    VEL_ERROR("getServiceProxyInterface failed");
    return fail("the service left the bus or is not trusted");
  }
  failedInitReason_ = kNoServiceOnTheBus;
  std::atomic_store(&interface_, interface);
  try {
    return listenTo(*interface);
  } catch (...) {
    // Out of memory. The death of this connection would not be noticed.
    std::atomic_store(&interface_, {});
    eventListener_ = nullptr;
    throw;
  }
}

unsigned int VelProxy::listenTo(QXBusProxyInterface& interface) {
  eventListener_ =
      newListener([this, lifetime = lifetime_](const std::shared_ptr<QXBusMessage>& event) {
        const Lifetime::Visit visit(lifetime);
        if (visit) {
          HandleEvent(event);
        }
      });
  VEL_DEBUG_AT("Init", __LINE__, "init callback : %p", static_cast<void*>(eventListener_));
  interface.addEventListener(velprotocol::kServiceEvent, eventListener_,
                             QXBUS_SECURITY_SAME_USER_OR_ROOT);
  interface.setDeathCallback([this, lifetime = lifetime_] {
    const Lifetime::Visit visit(lifetime);
    if (visit) {
      withoutExceptions([this] { onServiceDeath(); });
    }
  });
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
  // Declared before the lock: the last reference destroys the interface, outside the lock.
  std::shared_ptr<QXBusProxyInterface> released;
  const platform::MutexLock lock(callMutex_);
  if (currentInterface() && serviceManager_.load()) {
    released = std::atomic_exchange(&interface_, {});
    released->removeEventListener(velprotocol::kServiceEvent, eventListener_);
    eventListener_ = nullptr;
  }
}

unsigned int VelProxy::ResetService() {
  VEL_DEBUG("enter");
  // (In one expression, clang 17 takes the lock for one that stays.)
  const std::optional<int> answer = RemoteCall(*this).method("resetService").answer();
  return answer ? 0 : RemoteCall::kNoAnswerUnsigned;
}

// The VMs whose numbers were known, in ascending order.
std::vector<std::string> VelProxy::forgetVmIds() {
  std::vector<std::string> vmIds;
  const platform::MutexLock lock(vmIdMutex_);
  for (const auto& [number, vmId] : vmIds_) {
    vmIds.push_back(vmId);
  }
  std::sort(vmIds.begin(), vmIds.end());
  vmIds_.clear();
  ++vmIdGeneration_;
  return vmIds;
}

// A death is handled to its end also while there is no memory: this thread may wait.
void VelProxy::onServiceDeath() {
  const ErrorReport report;
  // A callback below may destroy the object: no member may be used after that.
  const std::shared_ptr<Lifetime> lifetime = lifetime_;
  const Lifetime::Visit visit(lifetime);
  VEL_ERROR("vel serviced death");
  const std::vector<std::string> vmIds = base::onceThereIsMemory([this] { return forgetVmIds(); });
  ReleaseService();
  serviceChanged(ServiceState::kGone, vmIds);

  // Not under the callback mutex: a callback that runs may hold it for long.
  if (!firstDeviceUserData_.load() && !hasVmCallbacks_.load()) {
    pauseFor(kPauseWithoutCallbacks, *lifetime);
  }
  int polls = 0;
  while (!lifetime->hasEnded() && !isServiceRegistered() && polls < kMostPolls) {
    VEL_DEBUG("wait for velservice ....");
    pauseFor(kPauseBetweenPolls, *lifetime);
    ++polls;
  }
  if (lifetime->hasEnded()) {
    return;
  }
  VEL_DEBUG("wait for velservice ...., waiting cnt=%d", polls);
  // Only the instance that clients use connects again; all other steps concern this object.
  if (VelProxy* const instance = mVelProxy.load()) {
    if (!instance->currentInterface()) {
      // An attempt that is older than the return of the service ends first: Init() would share its
      // failure.
      const platform::MutexLock attempt(instance->callMutex_);
    }
    base::onceThereIsMemory([instance] { return instance->Init(); });
  }
  endSessions(lifetime, polls);
  if (!lifetime->hasEnded() && polls < kMostPolls) {
    serviceChanged(ServiceState::kBack, vmIds);
  }
}

void VelProxy::endSessions(const std::shared_ptr<Lifetime>& lifetime, int polls) {
  static constexpr char kFunction[] = "onServiceDeath";
  Lifetime::Visit visit(lifetime);
  platform::MutexLock lock(callbackMutex_);
  visit.setLock(lock);
  // The analysis does not see the lock inside the function.
  const std::map<std::string, VmRegistration> ended =
      base::onceThereIsMemory([this]() QX_NO_THREAD_SAFETY_ANALYSIS { return vmCallbacks_; });
  for (const auto& [vmId, registration] : ended) {
    if (lifetime->hasEnded()) {
      return;
    }
    VEL_ERROR_AT(kFunction, __LINE__, "erase vmId: %s", vmId.c_str());
    VEL_DEBUG_AT(kFunction, __LINE__, "ServiceRegistered:%d count=%d callback=%p userdata=%p",
                 isServiceRegistered() ? 1 : 0, polls,
                 reinterpret_cast<void*>(registration.callback), registration.userData);
    if (registration.callback) {
      withoutExceptions(
          [&ending = registration] { ending.callback(kSessionEnded, nullptr, ending.userData); });
    }
  }
  if (!lifetime->hasEnded()) {
    vmCallbacks_.clear();
    callbacksChanged();
  }
}

void VelProxy::RegisterServiceCallback(ServiceCallback callback, void* userData) {
  const ErrorReport report;
  const platform::MutexLock lock(serviceMutex_);
  if (callback) {
    serviceCallbacks_[userData] = callback;
  } else {
    serviceCallbacks_.erase(userData);
  }
}

bool VelProxy::CheckServiceCallback(void* userData) const {
  const ErrorReport report;
  const platform::MutexLock lock(serviceMutex_);
  return serviceCallbacks_.count(userData) != 0;
}

void VelProxy::serviceChanged(ServiceState state, const std::vector<std::string>& vmIds) {
  const std::map<void*, ServiceCallback> callbacks = base::onceThereIsMemory([this] {
    const platform::MutexLock lock(serviceMutex_);
    return serviceCallbacks_;
  });
  for (const auto& [userData, callback] : callbacks) {
    withoutExceptions([&, call = callback, data = userData] { call(state, vmIds, data); });
  }
}

std::shared_ptr<QXBusProxyInterface> VelProxy::currentInterface() const {
  return std::atomic_load(&interface_);
}

bool VelProxy::isServiceRegistered() const {
  QXBusSerivceManager* const manager = serviceManager_.load();
  return manager && base::onceThereIsMemory([manager] {
           return manager->isServiceRegistered(velprotocol::kServiceName);
         });
}

}  // namespace qx
