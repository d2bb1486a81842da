// Events of the service, and the callbacks that receive them.

#include <cstdint>
#include <utility>

#include "vel/apps/local/velproxy/internal/blocks.h"
#include "vel/apps/local/velproxy/internal/client_code.h"
#include "vel/apps/local/velproxy/internal/error_report.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/access.h"
#include "vel/protocol/events.h"
#include "vel/protocol/records.h"

namespace qx {
namespace {

using velprotocol::EventCode;
using velprotocol::read;
namespace diagnosis = velprotocol::diagnosis;

constexpr int kFailed = -1;

// The function that the log lines of all events name.
constexpr char kHandleEvent[] = "HandleEvent";

thread_local const std::shared_ptr<QXBusMessage>* eventOfThisThread = nullptr;

// Shows an event to the callbacks of this thread while it lives.
class CurrentEvent {
 public:
  explicit CurrentEvent(const std::shared_ptr<QXBusMessage>& event)
      : outer_(std::exchange(eventOfThisThread, &event)) {}
  ~CurrentEvent() { eventOfThisThread = outer_; }
  CurrentEvent(const CurrentEvent&) = delete;
  CurrentEvent& operator=(const CurrentEvent&) = delete;

 private:
  const std::shared_ptr<QXBusMessage>* const outer_;
};

// HandleEvent distinguishes codes by all 32 bits; callbacks receive the low 16.
unsigned short narrowed(int code) {
  return static_cast<unsigned short>(code);
}
constexpr unsigned short narrowed(EventCode code) {
  return static_cast<unsigned short>(code);
}

}  // namespace

// --- Registering ---------------------------------------------------------------------------------

int VelProxy::RegisterCallback(std::string vmId, VmCallback callback, void* userData) {
  const ErrorReport report;
  VEL_DEBUG("registerCallback:vmId:%s callback %p userdata:%p", vmId.c_str(),
            reinterpret_cast<void*>(callback), userData);
  {
    const platform::MutexLock lock(callbackMutex_);
    vmCallbacks_[vmId] = {callback, userData};
    callbacksChanged();
  }
  VEL_DEBUG("end");
  return 0;
}

int VelProxy::UnregisterCallback(std::string vmId) {
  const ErrorReport report;
  VEL_DEBUG("unregistercallback vmid:%s", vmId.c_str());
  const platform::MutexLock lock(callbackMutex_);
  vmCallbacks_.erase(vmId);
  callbacksChanged();
  return 0;
}

int VelProxy::RegisterPrinterCallback(PrinterCallback callback, void* userData) {
  ErrorReport report;
  if (!callback || !userData) {
    VEL_ERROR("callback or userData is NULL");
    report.refuse("the callback or its user data is null");
    return kFailed;
  }
  const platform::MutexLock lock(callbackMutex_);
  printerCallback_ = callback;
  printerUserData_.store(userData);
  return 0;
}

int VelProxy::UnregisterPrinterCallback() {
  const ErrorReport report;
  const platform::MutexLock lock(callbackMutex_);
  printerCallback_ = nullptr;
  printerUserData_.store(nullptr);
  return 0;
}

void* VelProxy::CheckPrinterCallback() {
  const ErrorReport report;
  return printerUserData_.load();
}

int VelProxy::RegisterDeviceCallback(DeviceCallback callback, void* userData) {
  ErrorReport report;
  if (!callback || !userData) {
    VEL_ERROR("callback or userData is NULL");
    report.refuse("the callback or its user data is null");
    return kFailed;
  }
  VEL_DEBUG("enter, cb[%p] userData[%p]", reinterpret_cast<void*>(callback), userData);
  {
    const platform::MutexLock lock(callbackMutex_);
    deviceCallbacks_[userData] = callback;
    callbacksChanged();
  }
  VEL_DEBUG("end, cb[%p] userData[%p]", reinterpret_cast<void*>(callback), userData);
  return 0;
}

int VelProxy::UnregisterDeviceCallback(void* userData) {
  const ErrorReport report;
  VEL_DEBUG("userData[%p] enter", userData);
  {
    const platform::MutexLock lock(callbackMutex_);
    deviceCallbacks_.erase(userData);
    callbacksChanged();
  }
  VEL_DEBUG("userData[%p] end", userData);
  return 0;
}

int VelProxy::UnregisterDeviceCallback() {
  const ErrorReport report;
  VEL_DEBUG("enter");
  {
    const platform::MutexLock lock(callbackMutex_);
    deviceCallbacks_.clear();
    callbacksChanged();
  }
  VEL_DEBUG("end");
  return 0;
}

void* VelProxy::CheckDeviceCallback() {
  const ErrorReport report;
  return firstDeviceUserData_.load();
}

void VelProxy::callbacksChanged() {
  firstDeviceUserData_.store(deviceCallbacks_.empty() ? nullptr : deviceCallbacks_.begin()->first);
  hasVmCallbacks_.store(!vmCallbacks_.empty());
}

int VelProxy::RegisterCmdCallback(CmdCallback callback, void* userData) {
  const ErrorReport report;
  const platform::MutexLock lock(cmdMutex_);
  cmdRegistration_ = {callback, userData};
  return 0;
}

VelProxy::CmdRegistration VelProxy::cmdRegistration() const {
  const platform::MutexLock lock(cmdMutex_);
  return cmdRegistration_;
}

int VelProxy::RegisterConfigNewDevResultCallback(ConfigNewDevResultCallback callback,
                                                 void* userData) {
  ErrorReport report;
  if (!callback || !userData) {
    VEL_ERROR("callback or userData is NULL");
    report.refuse("the callback or its user data is null");
    return kFailed;
  }
  {
    const platform::MutexLock lock(callbackMutex_);
    newDeviceCallbacks_[userData] = callback;
  }
  VEL_DEBUG("enter, cb[%p] userData[%p]", reinterpret_cast<void*>(callback), userData);
  return 0;
}

int VelProxy::UnregisterConfigNewDevResultCallback(void* userData) {
  const ErrorReport report;
  {
    const platform::MutexLock lock(callbackMutex_);
    newDeviceCallbacks_.erase(userData);
  }
  VEL_DEBUG("end userData[%p]", userData);
  return 0;
}

int VelProxy::UnregisterConfigNewDevResultCallback() {
  const ErrorReport report;
  const platform::MutexLock lock(callbackMutex_);
  newDeviceCallbacks_.clear();
  return 0;
}

// --- Events --------------------------------------------------------------------------------------

void VelProxy::HandleEvent(std::shared_ptr<QXBusMessage> event) {
  const ErrorReport report;
  if (!event) {
    return;
  }
  const auto vm = static_cast<unsigned int>(event->getInt32(velprotocol::kEventVm));
  // An event of a VM that this proxy has never looked up concerns other clients.
  if (GetVmIdString(vm).empty() && vm != 0) {
    return;
  }
  VEL_DEBUG("enter");
  const CurrentEvent current(event);
  const int code = event->getInt32(velprotocol::kEventCode);
  const Block block = event->argCount() > velprotocol::kEventRecord
                          ? Block(*event, velprotocol::kEventRecord)
                          : Block();
  bool handled = false;
  switch (static_cast<EventCode>(code)) {
    case EventCode::kPrinterChanged:
      handled = handlePrinterEvent(block);
      break;
    case EventCode::kDevicePlugged:
    case EventCode::kDeviceAttached:
    case EventCode::kDeviceDetached:
    case EventCode::kDeviceChanged:
      handled = handleDeviceInfo(code, block);
      break;
    case EventCode::kDeviceUnplugged:
    case EventCode::kMounted:
    case EventCode::kUnmounted:
      handled = handleDeviceState(code, block);
      break;
    case EventCode::kDiagnosis:
      handled = handleDiagnosis(block);
      break;
    case EventCode::kCommandAnswer:
      handled = handleCmdResponse(block);
      break;
    default:
      handled = handleNewDeviceResult(code, block);
  }
  if (handled) {
    VEL_DEBUG("end");
  }
}

std::shared_ptr<QXBusMessage> VelProxy::currentEvent() {
  return eventOfThisThread ? *eventOfThisThread : nullptr;
}

bool VelProxy::handlePrinterEvent(const Block& block) {
  PrinterCallback registered = nullptr;
  {
    const platform::MutexLock lock(callbackMutex_);
    registered = printerCallback_;
  }
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "printer callback: %p", reinterpret_cast<void*>(registered));
  if (block.empty()) {
    return false;
  }
  const ReadableRecord<PrinterDevice> printer(block, offsetof(PrinterDevice, name));
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "devNum:%d, vmId: %d, status:%d, name:%s", printer->devNum,
               printer->vmId, printer->status, printer->name);
  const platform::MutexLock lock(callbackMutex_);
  if (const PrinterCallback callback = printerCallback_) {
    withoutExceptions([&] {
      callback(narrowed(EventCode::kPrinterChanged), printer.get(), printerUserData_.load());
    });
  }
  return true;
}

bool VelProxy::handleDeviceInfo(int code, const Block& block) {
  if (block.empty()) {
    return false;
  }
  const ReadableRecord<CommonDevice> device(block, offsetof(CommonDevice, vmIdText));
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "devNum:%d, vmId: %d, status:%d, name:%s this:%p cmd[%d]",
               device->devNumber, device->vmId, device->status, textIn(device->name).c_str(),
               static_cast<void*>(this), code);
  DeviceBaseInfoNotify(narrowed(code), device.get());
  return true;
}

bool VelProxy::handleDeviceState(int code, const Block& block) {
  if (block.empty()) {
    return false;
  }
  const ReadableRecord<CommonDevice> device(block, offsetof(CommonDevice, vmIdText));
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "cmd: %d, status: %d, name:%s\n", code, device->status,
               textIn(device->name).c_str());
  DeviceBaseInfoNotify(narrowed(code), device.get());
  return true;
}

bool VelProxy::handleNewDeviceResult(int code, const Block& block) {
  if (block.empty()) {
    return false;
  }
  const ReadableRecord<_ConfigNewDeviceResult> result(block,
                                                      offsetof(_ConfigNewDeviceResult, code));
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "cmd: %d, vidpid[0x%.4x0x%.4x], code: %s, name:%s\n", code,
               result->vid, result->pid, result->code, textIn(result->name).c_str());
  ConfigNewDeviceResultNotify(narrowed(code), result.get());
  return true;
}

bool VelProxy::handleDiagnosis(const Block& block) {
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "cmd response callback this[%p] ", static_cast<void*>(this));
  {
    const platform::MutexLock lock(callbackMutex_);
    VelDiagnoseNotify* const notify = diagnoseNotify_.load();
    if (notify && block.size() >= diagnosis::kText.offset) {
      withoutExceptions([&] {
        notify->DiagnoseResultNotify(GetVmIdString(read(block, diagnosis::kVm)),
                                     read(block, diagnosis::kId), read(block, diagnosis::kStatus),
                                     read(block, diagnosis::kText));
      });
    }
  }
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "cb exec end");
  return true;
}

bool VelProxy::handleCmdResponse(const Block& block) {
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "cmd response callback this[%p] ", static_cast<void*>(this));
  {
    const platform::MutexLock lock(callbackMutex_);
    const CmdRegistration registered = cmdRegistration();
    if (registered.callback) {
      withoutExceptions([&] {
        registered.callback(narrowed(EventCode::kCommandAnswer),
                            reinterpret_cast<CmdResponse*>(block.data()), registered.userData);
      });
    }
  }
  VEL_DEBUG_AT(kHandleEvent, __LINE__, "cb exec end");
  return true;
}

int VelProxy::DeviceBaseInfoNotify(unsigned short cmd, CommonDevice* device) {
  ErrorReport report;
  if (!device) {
    report.refuse("the device is null");
    return kFailed;
  }
  const platform::MutexLock lock(callbackMutex_);
  callEach(deviceCallbacks_, cmd, device, [&, function = __func__](void* userData) {
    VEL_DEBUG_AT(function, __LINE__, "userdata:%p,devNum:%d, vmId: %d, status:%d, name:%s cmd[%d]",
                 userData, device->devNumber, device->vmId, device->status,
                 textIn(device->name).c_str(), cmd);
  });
  return 0;
}

int VelProxy::ConfigNewDeviceResultNotify(unsigned short cmd, _ConfigNewDeviceResult* result) {
  ErrorReport report;
  if (!result) {
    report.refuse("the result is null");
    return kFailed;
  }
  const platform::MutexLock lock(callbackMutex_);
  callEach(newDeviceCallbacks_, cmd, result, [&, function = __func__](void* userData) {
    VEL_DEBUG_AT(function, __LINE__,
                 "userdata:%p,name:%s, code:%s, isSuccess: %d, vid:0x%.4x, pid:%.4x cmd[%d]",
                 userData, textIn(result->name).c_str(), result->code, result->isSuccess,
                 result->vid, result->pid, cmd);
  });
  return 0;
}

}  // namespace qx
