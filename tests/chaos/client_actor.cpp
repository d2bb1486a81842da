// A thread that uses the library as a client does, and more wildly.

#include <thread>

#include "tests/chaos/run.h"

namespace chaos {
namespace {

using fault_tests::Operation;
using fault_tests::operations;

// A registration may wait for a callback that runs, which calls back.
constexpr Milliseconds kRegistering{10000};

class ClientActor {
 public:
  ClientActor(Run& run, int number)
      : run_(run),
        name_("client " + std::to_string(number)),
        isFirst_(number == 0),
        random_(run.seed * 1000 + static_cast<std::uint64_t>(number)) {}

  void run() {
    while (!run_.isEnding) {
      const std::size_t choice = random_.below(100);
      if (choice < 72) {
        operation(instance_);
      } else if (choice < 82) {
        registerForDevices();
      } else if (choice < 88) {
        registerForVm();
      } else if (choice < 91 && isFirst_) {
        registerForPrinters();
      } else if (choice < 96) {
        ownProxy();
      } else {
        std::this_thread::sleep_for(Milliseconds(random_.below(5)));
      }
    }
  }

 private:
  void note(const std::string& step) { Journal::get().note(name_, step); }

  bool call(const char* kind, Milliseconds limit, const std::function<void()>& call) {
    note(kind);
    return called(run_, kind, limit, call);
  }

  void operation(qx::VelProxy& proxy) {
    const Operation& chosen = random_.oneOf(operations());
    call(chosen.method().c_str(), limitOf(chosen), [&] { chosen.runOn(proxy); });
  }

  void someOperations(qx::VelProxy& proxy, std::size_t most) {
    for (std::size_t left = random_.below(most + 1); left > 0 && !run_.isEnding; --left) {
      operation(proxy);
    }
  }

  // Until it has been done: without memory it may need more than one attempt.
  void unregister(const char* kind, void* userData, const std::function<void()>& end) {
    while (!call(kind, kRegistering, end)) {
    }
    run_.registrations.end(userData);
  }

  void registerForDevices() {
    qx::VelProxy& proxy = instance_;
    void* const userData = run_.registrations.begin();
    if (random_.chance(70)) {
      call("RegisterDeviceCallback", kRegistering,
           [&] { proxy.RegisterDeviceCallback(onInstanceDevice, userData); });
      someOperations(proxy, 4);
      unregister("UnregisterDeviceCallback", userData,
                 [&] { proxy.UnregisterDeviceCallback(userData); });
    } else {
      call("RegisterConfigNewDevResultCallback", kRegistering,
           [&] { proxy.RegisterConfigNewDevResultCallback(onNewDevice, userData); });
      someOperations(proxy, 4);
      unregister("UnregisterConfigNewDevResultCallback", userData,
                 [&] { proxy.UnregisterConfigNewDevResultCallback(userData); });
    }
  }

  void registerForVm() {
    qx::VelProxy& proxy = instance_;
    const std::string vm = name_;
    void* const userData = run_.registrations.begin();
    call("RegisterCallback", kRegistering, [&] { proxy.RegisterCallback(vm, onVm, userData); });
    someOperations(proxy, 4);
    unregister("UnregisterCallback", userData, [&] { proxy.UnregisterCallback(vm); });
  }

  // There is one printer callback, so one actor has it.
  void registerForPrinters() {
    qx::VelProxy& proxy = instance_;
    void* const userData = run_.registrations.begin();
    call("RegisterPrinterCallback", kRegistering,
         [&] { proxy.RegisterPrinterCallback(onPrinter, userData); });
    someOperations(proxy, 4);
    unregister("UnregisterPrinterCallback", userData, [&] { proxy.UnregisterPrinterCallback(); });
  }

  void ownProxy() {
    ++run_.ownProxies;
    std::unique_ptr<qx::VelProxy> proxy;
    if (!call("VelProxy", kConnecting, [&] { proxy = std::make_unique<qx::VelProxy>(); })) {
      return;
    }
    call("Init", 2 * kConnecting, [&] { proxy->Init(); });
    void* const device = run_.registrations.begin();
    void* const vm = run_.registrations.begin();
    call("RegisterDeviceCallback of an own proxy", kRegistering,
         [&] { proxy->RegisterDeviceCallback(onDevice, device); });
    call("RegisterCallback of an own proxy", kRegistering,
         [&] { proxy->RegisterCallback("own", onVm, vm); });
    someOperations(*proxy, 3);
    if (random_.chance(30)) {
      call("ReleaseService of an own proxy", kRegistering, [&] { proxy->ReleaseService(); });
      someOperations(*proxy, 2);
    }
    if (random_.chance(30)) {
      unregister("UnregisterDeviceCallback of an own proxy", device,
                 [&] { proxy->UnregisterDeviceCallback(); });
    }
    call("~VelProxy", kRegistering, [&] { proxy.reset(); });
    run_.registrations.end(device);
    run_.registrations.end(vm);
  }

  Run& run_;
  qx::VelProxy& instance_ = *qx::VelProxy::getInstance();
  const std::string name_;
  const bool isFirst_;
  Random random_;
};

}  // namespace

void actAsClient(Run& run, int number) {
  ClientActor(run, number).run();
}

}  // namespace chaos
