// The events of a VelProxy, handed to any number of subscribers.
//
// One hub serves all clients of a proxy. It registers one C callback of each kind and keeps it, so
// that no subscription changes the library's tables of callbacks, which are locked while callbacks
// run. It is never destroyed: the proxy may call it as long as the proxy lives.

#ifndef VEL_CLIENT_INTERNAL_HUB_H
#define VEL_CLIENT_INTERNAL_HUB_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bus/qxbus.h"
#include "platform/mutex.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/client/events.h"
#include "vel/client/internal/calls.h"
#include "vel/client/internal/decode.h"
#include "vel/client/internal/subscribers.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// Marks this thread as being inside Client::command.
class CommandRunning {
 public:
  CommandRunning() : outer_(std::exchange(innermost(), this)) {}
  ~CommandRunning() { innermost() = outer_; }
  CommandRunning(const CommandRunning&) = delete;
  CommandRunning& operator=(const CommandRunning&) = delete;

  // Whether this thread calls back for a command that fails, and not for an event: then the event
  // is the one, or none, in whose callback the command was given.
  static bool isFailing() {
    return innermost() && innermost()->event_ == qx::VelProxy::currentEvent();
  }

 private:
  static const CommandRunning*& innermost() {
    static thread_local const CommandRunning* innermost = nullptr;
    return innermost;
  }

  const std::shared_ptr<QXBusMessage> event_ = qx::VelProxy::currentEvent();
  const CommandRunning* const outer_;
};

class Hub : public VelDiagnoseNotify {
 public:
  // The hub of a proxy, which is registered. Waits for a callback that runs when it registers.
  static Hub& of(qx::VelProxy& proxy) {
    struct Hubs {
      platform::Mutex mutex;
      std::map<qx::VelProxy*, std::unique_ptr<Hub>> all QX_GUARDED_BY(mutex);
    };
    static auto* const hubs = new Hubs;
    Hub* hub = nullptr;
    {
      const platform::MutexLock lock(hubs->mutex);
      std::unique_ptr<Hub>& known = hubs->all[&proxy];
      if (!known) {
        known.reset(new Hub(proxy));
      }
      hub = known.get();
    }
    hub->registerCallbacks();
    return *hub;
  }

  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  Subscribers<DeviceEvent> devices;
  Subscribers<PrinterEvent> printers;
  Subscribers<NewDeviceEvent> newDevices;
  Subscribers<DiagnosisEvent> diagnoses;
  Subscribers<CommandEvent> commands;
  Subscribers<JoystickEvent> joysticks;
  Subscribers<ServiceDeath> deaths;
  Subscribers<ServiceReturn> returns;

  // There is one printer callback and one command callback, which another part of the program may
  // use: taken when they are free, and with the first subscription. Inside a callback of an event
  // the printer callback cannot be taken, because the library would wait for that callback.
  void takePrinterCallback() {
    if (proxy_.CheckPrinterCallback() != this && !qx::VelProxy::currentEvent()) {
      proxy_.RegisterPrinterCallback(&Hub::onPrinter, this);
    }
  }
  void takeCommandCallback() { proxy_.RegisterCmdCallback(&Hub::onCommand, this); }
  // For the progress of diagnoses of other processes. Without a VM this sends no request, and
  // leaves an error in the log.
  void takeDiagnoses() { proxy_.Diagnose(std::string(), 0, this); }

  // Whether this thread is inside a callback of the library, also one that other code has
  // registered: most of them hold the callback mutex.
  static bool isInsideCallback() {
    return callbackDepth != 0 || qx::VelProxy::currentEvent() != nullptr;
  }

  // Subscribes to joystick results for the first subscriber, which has been added before: so one
  // that ends at the same time sees it.
  Result<void> beginJoysticks() {
    if (isInsideCallback()) {
      // The library would wait for the callback.
      return hasJoysticks_ ? Result<void>()
                           : unexpected<Error>(
                                 Error(ErrorKind::kRefusedArgument, kJoystickMethod,
                                       "the first subscription cannot begin inside a callback"));
    }
    const platform::MutexLock lock(joystickMutex_);
    return hasJoysticks_ ? Result<void>() : registerJoysticks();
  }

  // Ends the service's subscription with the last subscriber. Inside a callback it lasts until the
  // next subscriber ends, because the library would wait for the callback.
  //
  // returns    the service's answer; success when it was not asked
  Result<void> endJoysticks() {
    if (isInsideCallback()) {
      return {};
    }
    const platform::MutexLock lock(joystickMutex_);
    if (!hasJoysticks_ || !joysticks.empty()) {
      return {};
    }
    const Result<void> ended = statusOutcome(proxy_.UnregisterJoystickCallback(this));
    hasJoysticks_ = false;
    // A subscriber that came meanwhile found the subscription.
    if (!joysticks.empty()) {
      static_cast<void>(registerJoysticks());
    }
    return ended;
  }

  // A service may be there again: repeats what it has to learn, and reports the return once for
  // each death. The library looks for a service for a while only; Client::connect() finds it later.
  //
  // isReported   the library says so; otherwise only a connection shows it
  void serviceReturned(bool isReported) {
    if (!hasDied()) {
      return;
    }
    // The library connects the instance of the process only.
    if (proxy_.Init() != 0 && !isReported) {
      return;
    }
    std::set<std::string> vms;
    {
      const platform::MutexLock lock(serviceMutex_);
      if (deaths_ == 0) {
        return;
      }
      deaths_ = isReported ? deaths_ - 1 : 0;
      vms = std::exchange(vmsOfDeaths_, {});
    }
    const ServiceReturn restored = restore(std::move(vms));
    returns.deliver([&] { return restored; });
  }

  void DiagnoseResultNotify(std::string vm, unsigned long long id, unsigned int status,
                            std::string result) override {
    if (isRepeated()) {
      return;
    }
    diagnoses.deliver([&] {
      DiagnosisEvent event;
      describe(event, EventCode::kDiagnosis);
      // The record names a VM of its own.
      event.vm = base::replacedUtf8(std::move(vm));
      event.vmNumber =
          VmNumber(velprotocol::read(Record(nullptr, 0).block(), velprotocol::diagnosis::kVm));
      event.id = id;
      event.status = static_cast<DiagnosisStatus>(status);
      event.text = base::replacedUtf8(std::move(result));
      return event;
    });
  }

 private:
  explicit Hub(qx::VelProxy& proxy) : proxy_(proxy) {}

  static Hub& hub(void* userData) { return *static_cast<Hub*>(userData); }

  // Another proxy may have been at this address before.
  void registerCallbacks() {
    if (proxy_.CheckServiceCallback(this)) {
      return;
    }
    const platform::MutexLock lock(registrationMutex_);
    if (proxy_.CheckServiceCallback(this)) {
      return;
    }
    hasJoysticks_ = false;
    {
      const platform::MutexLock serviceLock(serviceMutex_);
      deaths_ = 0;
      vmsOfDeaths_.clear();
    }
    proxy_.RegisterDeviceCallback(&Hub::onDevice, this);
    proxy_.RegisterConfigNewDevResultCallback(&Hub::onNewDevice, this);
    if (!proxy_.CheckPrinterCallback()) {
      takePrinterCallback();
    }
    // Last: it shows that the others are registered.
    proxy_.RegisterServiceCallback(&Hub::onService, this);
  }

  Result<void> registerJoysticks() QX_REQUIRES(joystickMutex_) {
    const Result<void> registered =
        statusOutcome(proxy_.RegisterJoystickCallback(&Hub::onJoystick, this));
    if (!registered && registered.error().kind() == ErrorKind::kRefused) {
      proxy_.UnregisterJoystickCallback(this);
    }
    hasJoysticks_ = registered.has_value();
    return registered;
  }

  // --- Callbacks of the library -----------------------------------------------------------------

  static int onDevice(unsigned short code, CommonDevice* device, void* self) {
    return hub(self).passDevice(code, device);
  }

  int passDevice(unsigned short code, CommonDevice* device) {
    if (isRepeated()) {
      return 0;
    }
    devices.deliver([&] {
      const Record record(device, offsetof(CommonDevice, vmIdText));
      DeviceEvent event;
      describe(event, static_cast<EventCode>(code));
      VmNames vms(proxy_);
      decode(vms, record.block(), event.device);
      return event;
    });
    return 0;
  }

  static int onPrinter(unsigned short code, PrinterDevice* printer, void* self) {
    if (hub(self).isRepeated()) {
      return 0;
    }
    hub(self).printers.deliver([&] {
      const Record record(printer, offsetof(PrinterDevice, name));
      PrinterEvent event;
      hub(self).describe(event, static_cast<EventCode>(code));
      VmNames vms(hub(self).proxy_);
      decode(vms, record.block(), event.printer);
      return event;
    });
    return 0;
  }

  static int onNewDevice(unsigned short code, _ConfigNewDeviceResult* result, void* self) {
    if (hub(self).isRepeated()) {
      return 0;
    }
    hub(self).newDevices.deliver([&] {
      namespace field = velprotocol::new_device_result;
      // The text that ends the record has a NUL.
      const Record record(result,
                          offsetof(_ConfigNewDeviceResult, code) + std::strlen(result->code));
      const Block block = record.block();
      NewDeviceEvent event;
      hub(self).describe(event, static_cast<EventCode>(code));
      event.usb = {numberIn(block, field::kVid), numberIn(block, field::kPid)};
      event.isSuccess = numberIn(block, field::kIsSuccess) != 0;
      event.name = textIn(block, field::kName);
      event.result = lastTextIn(block, field::kCode);
      event.source = SourceId(numberIn(block, field::kSourceId));
      return event;
    });
    return 0;
  }

  static int onCommand(unsigned short code, CmdResponse* response, void* self) {
    // A command that fails calls back as well, under its own number, and perhaps inside the
    // callback of an event. The caller has the error.
    if (CommandRunning::isFailing() || !isAnswerToCommand(qx::VelProxy::currentEvent()) ||
        hub(self).isRepeated()) {
      return 0;
    }
    hub(self).commands.deliver([&] {
      CommandEvent event;
      hub(self).describe(event, static_cast<EventCode>(code));
      if (response) {
        const Record record(response, 0);
        event.answer.emplace(reinterpret_cast<const char*>(record.block().data()),
                             record.block().size());
      }
      return event;
    });
    return 0;
  }

  static bool isAnswerToCommand(const std::shared_ptr<QXBusMessage>& event) {
    return event && event->getInt32(velprotocol::kEventCode) == number(EventCode::kCommandAnswer);
  }

  static int onJoystick(unsigned short code, _JoystickResult result, void* self) {
    hub(self).joysticks.deliver([&] {
      JoystickEvent event;
      event.code = code;
      copyBytes(Block(result.bytes, sizeof result.bytes), event.result.bytes);
      return event;
    });
    return 0;
  }

  static void onService(qx::ServiceState state, const std::vector<std::string>& vms, void* self) {
    hub(self).passService(state, vms);
  }

  void passService(qx::ServiceState state, const std::vector<std::string>& vms) {
    if (state == qx::ServiceState::kBack) {
      serviceReturned(true);
      return;
    }
    {
      const platform::MutexLock lock(serviceMutex_);
      ++deaths_;
      vmsOfDeaths_.insert(vms.begin(), vms.end());
    }
    deaths.deliver([&] { return ServiceDeath{vms}; });
  }

  bool hasDied() {
    const platform::MutexLock lock(serviceMutex_);
    return deaths_ != 0;
  }

  // What the new service must learn again. It may die meanwhile, and each death has a thread of its
  // own: the next service learns what this one could not.
  ServiceReturn restore(std::set<std::string> toName) {
    ServiceReturn restored;
    const platform::MutexLock restoreLock(restoreMutex_);
    toName.merge(std::exchange(notNamed_, {}));
    for (const std::string& vm : toName) {
      const unsigned int vmNumber = proxy_.GetVmIdInt(vm);
      if (vmNumber == 0) {
        Error error = errorOf(qx::VelProxy::lastError());
        if (error.kind() != ErrorKind::kUnknownVm) {
          notNamed_.insert(vm);
        }
        restored.failures.push_back(std::move(error));
      } else if (proxy_.GetVmIdString(vmNumber) == vm) {
        restored.vms.push_back(vm);
      } else {
        // The library has not kept the number.
        notNamed_.insert(vm);
        restored.failures.emplace_back(ErrorKind::kNoService, "getVmListSize",
                                       "the service has died again");
      }
    }
    const platform::MutexLock lock(joystickMutex_);
    hasJoysticks_ = false;
    if (!joysticks.empty()) {
      const Result<void> registered = registerJoysticks();
      restored.joysticks = registered.has_value();
      if (!registered) {
        restored.failures.push_back(registered.error());
      }
    }
    return restored;
  }

  // --- Events -----------------------------------------------------------------------------------

  // The record of the event that this thread delivers, as long as the service sent it. Without such
  // an event the client itself has called, with a whole record.
  class Record {
   public:
    Record(const void* whole, std::size_t size) : block_(whole, size) {
      if (const auto event = qx::VelProxy::currentEvent()) {
        int length = 0;
        received_.reset(event->getBytes(velprotocol::kEventRecord, &length));
        block_ = Block(received_.get(), received_ ? static_cast<std::size_t>(length) : 0);
      }
    }

    const Block& block() const { return block_; }

   private:
    struct Delete {
      void operator()(unsigned char* bytes) const { ::operator delete(bytes); }
    };

    std::unique_ptr<unsigned char, Delete> received_;
    Block block_;
  };

  void describe(Event& event, EventCode code) {
    event.code = code;
    if (const auto message = qx::VelProxy::currentEvent()) {
      event.code = static_cast<EventCode>(message->getInt32(velprotocol::kEventCode));
      event.vmNumber =
          VmNumber(static_cast<std::uint32_t>(message->getInt32(velprotocol::kEventVm)));
      event.vm = nameOf(proxy_, event.vmNumber);
    }
  }

  // The library listens for broadcasts once more with each connection, so one message arrives
  // several times.
  bool isRepeated() {
    const std::shared_ptr<QXBusMessage> message = qx::VelProxy::currentEvent();
    if (!message) {
      return false;
    }
    const platform::MutexLock lock(messageMutex_);
    // Events from elsewhere may come in between, so this keeps every message that still exists.
    bool isRepeated = false;
    const auto isGone = [&](const std::weak_ptr<QXBusMessage>& passed) {
      const std::shared_ptr<QXBusMessage> other = passed.lock();
      isRepeated = isRepeated || other == message;
      return !other;
    };
    messages_.erase(std::remove_if(messages_.begin(), messages_.end(), isGone), messages_.end());
    if (!isRepeated) {
      messages_.push_back(message);
    }
    return isRepeated;
  }

  static constexpr char kJoystickMethod[] = "registerJoystickCallback";

  qx::VelProxy& proxy_;
  platform::Mutex registrationMutex_;
  platform::Mutex joystickMutex_;  // held across a call, and never taken inside a callback
  std::atomic<bool> hasJoysticks_{false};
  platform::Mutex messageMutex_;
  std::vector<std::weak_ptr<QXBusMessage>> messages_ QX_GUARDED_BY(messageMutex_);
  platform::Mutex serviceMutex_;
  // Deaths without a return, and the VMs of them.
  std::size_t deaths_ QX_GUARDED_BY(serviceMutex_) = 0;
  std::set<std::string> vmsOfDeaths_ QX_GUARDED_BY(serviceMutex_);
  platform::Mutex restoreMutex_;  // held across calls
  // VMs whose numbers the present service has not given.
  std::set<std::string> notNamed_ QX_GUARDED_BY(restoreMutex_);
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_HUB_H
