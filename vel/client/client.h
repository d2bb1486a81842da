// vel::Client drives the peripheral-device service of this machine: printers, USB devices, storage,
// cameras, pens and joysticks, for use in remote virtual machines (VMs). This is the one header
// that a client includes; vel/client/qt.h runs callbacks on Qt's event loops.
//
//   vel::Client client;
//   vel::Result<std::vector<vel::Device>> devices = client.devices("win11");
//   if (!devices) {
//     std::cerr << devices.error().message() << '\n';
//   }
//
// A Client is a handle on a qx::VelProxy, whose operations it calls: the same requests, time limits
// and log. It has values for records, results with a reason for -1, and subscriptions for
// callbacks.
//
// VMS        A VM is identified by its name. An empty name stands for this machine. A name that the
//            service does not know is an error, and nothing is sent.
// RESULTS    A request that the service has not fulfilled is an error, with its status when it has
//            refused. Nothing throws, unless memory runs out or another member than error() is read
//            of a failed Result.
// BLOCKING   An operation waits for the answer of the service: at most 3000 ms if its comment names
//            no other time. It may wait before that for calls of other threads, for connecting, and
//            for the number of a VM that is used for the first time. The start... operations return
//            at once and have a thread for as long as they take, and Task::stop() one until the
//            operation has ended; no other thread is added. Operations of one proxy wait for each
//            other: apart() is for slow ones.
// THREADS    Any thread may call, also inside callbacks. Pen operations belong to one thread.
// EVENTS     See subscription.h and executor.h. The service reports events of this machine to every
//            client, and those of a VM to clients that have named it: vms() alone does not,
//            vmNumber() and every operation on the VM do. After a death the Client names them
//            again.
// SHARING    Clients of one proxy share its callbacks, so there may be any number. The proxy has
// one
//            printer callback, one command callback and one object that diagnoses notify: other
//            code must leave them to the Client once it subscribes to such events. The first Client
//            of a proxy registers, so it must not be made inside a callback of the proxy.

#ifndef VEL_CLIENT_CLIENT_H
#define VEL_CLIENT_CLIENT_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/client/error.h"
#include "vel/client/events.h"
#include "vel/client/executor.h"
#include "vel/client/expected.h"
#include "vel/client/internal/arguments.h"
#include "vel/client/internal/calls.h"
#include "vel/client/internal/hub.h"
#include "vel/client/internal/stop_search.h"
#include "vel/client/numbers.h"
#include "vel/client/records.h"
#include "vel/client/subscription.h"
#include "vel/client/task.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

class Client {
 public:
  // Empty: the events are dropped.
  template <typename Event>
  using Callback = std::function<void(const Event&)>;

  // The process's proxy. Tries to connect.
  Client() : Client(*qx::VelProxy::getInstance()) {}

  // A proxy of your own, which must outlive the Client and its subscriptions and tasks.
  explicit Client(qx::VelProxy& proxy) : proxy_(&proxy), hub_(&internal::Hub::of(proxy)) {}

  // A Client for slow operations, on a proxy that all such Clients share: they wait for each other,
  // and the calls of the process's proxy do not wait for them. Tries to connect, which is not done
  // again later: make one for each operation, where it may wait.
  static Client apart() {
    static auto* const proxy = new qx::VelProxy;
    proxy->Init();
    return Client(*proxy);
  }

  // For what the Client does not offer.
  qx::VelProxy& proxy() const { return *proxy_; }

  // Whether the last operation of a proxy that this thread has called got a usable answer.
  static Result<void> outcome() { return internal::outcome(); }

  // --- Connection -------------------------------------------------------------------------------

  // Connects if there is no connection. Every operation does it by itself. Outside callbacks it
  // also reports the return of a service that has been away, if that has not been reported yet.
  Result<void> connect() const {
    proxy_->Init();
    const Result<void> connected = internal::outcome();
    if (connected && !internal::Hub::isInsideCallback()) {
      hub_->serviceReturned(false);
    }
    return connected;
  }

  // Gives up the connection until the next operation. No events arrive meanwhile, and a death of
  // the service is not noticed: the numbers of VMs, and joysticks, are then those of the old
  // service.
  void disconnect() const { proxy_->ReleaseService(); }

  // Asks the service to reset: succeeds when it has answered.
  Result<void> reset() const {
    proxy_->ResetService();
    return internal::outcome();
  }

  // How long an operation waits for the answer to a bus method, such as an Error names. 0: there is
  // no such method, or the operation does not wait.
  static constexpr std::chrono::milliseconds timeLimit(std::string_view method) {
    return internal::timeLimit(method);
  }

  // --- VM sessions ------------------------------------------------------------------------------

  // The VMs that the service knows.
  Result<std::vector<Vm>> vms() const { return internal::vmsOutcome(proxy_->GetVmList()); }

  // The service's number of a VM.
  Result<VmNumber> vmNumber(const std::string& vm) const {
    return internal::outcome(VmNumber(proxy_->GetVmIdInt(vm)));
  }

  // The name of a VM whose number this process has learned. Does not wait.
  std::optional<std::string> vmName(VmNumber vm) const {
    std::string name = internal::nameOf(*proxy_, vm);
    return name.empty() ? std::nullopt : std::optional(std::move(name));
  }

  // Attaches the service to a VM session. Waits at most 2000 ms.
  Result<void> connectVm(const VmSession& session) const {
    return internal::afterCheck(
        known(session.vm), [&] { return status(&Proxy::ConnectVm, internal::vmInfoOf(session)); });
  }

  // Detaches the service from a VM session. Does not wait: succeeds when the request is sent.
  Result<void> disconnectVm(const std::string& vm) const {
    return vmStatus(&Proxy::DisconnectVm, vm);
  }

  // Starts a VM session. Does not wait: succeeds when the request is sent.
  Result<void> startVm(const std::string& vm) const { return vmStatus(&Proxy::StartVm, vm); }

  // Opens data pipes. Each names a VM of its own.
  Result<void> createPipes(const std::string& vm, const std::vector<Pipe>& pipes) const {
    return withPipes("createPipe", &Proxy::CreatePipe, vm, pipes);
  }

  // Closes data pipes, described as for createPipes.
  Result<void> destroyPipes(const std::string& vm, const std::vector<Pipe>& pipes) const {
    return withPipes("destroyPipe", &Proxy::DestroyPipe, vm, pipes);
  }

  // Reports the new state of a port channel, in the service's numbers.
  Result<void> setPortStatus(const std::string& vm, PortNumber port, std::int32_t state) const {
    return vmStatus(&Proxy::SetPortChannelStatus, vm, port.value(), state);
  }

  // Reports that a window of a VM has gained or lost the focus. Waits at most 500 ms.
  Result<void> setFocus(const std::string& vm, WindowId window, bool hasFocus) const {
    return vmStatus(&Proxy::OnFocusChanged, vm, window.value(), hasFocus ? 1U : 0U);
  }

  // Hands a drive-access token to the service. The token must not be empty.
  Result<void> updateDriveToken(const std::string& token) const {
    return status(&Proxy::UpdateDriveToken, token);
  }

  // --- Devices ----------------------------------------------------------------------------------

  // The devices of a VM.
  Result<std::vector<Device>> devices(const std::string& vm) const {
    return vmRecords<Device>(&Proxy::GetDeviceList, vm);
  }

  // All devices of this machine.
  Result<std::vector<Device>> localDevices() const {
    return records<Device>(&Proxy::GetLocalDeviceList);
  }

  // The records that the service has of a device, normally one.
  Result<std::vector<Device>> device(DeviceNumber device) const {
    return records<Device>(&Proxy::GetDeviceStatus, device.value());
  }

  // Attaches a device of this machine to a VM.
  Result<void> attach(const std::string& vm, DeviceNumber device) const {
    return vmStatus(&Proxy::ConnectDevice, vm, device.value());
  }
  Result<void> attach(const std::string& vm, SourceId source) const {
    return vmStatus(&Proxy::ConnectDeviceBySrcId, vm, source.value());
  }

  // Takes a device back from a VM.
  Result<void> detach(const std::string& vm, DeviceNumber device) const {
    return vmStatus(&Proxy::DisconnectDevice, vm, device.value());
  }
  Result<void> detach(const std::string& vm, SourceId source) const {
    return vmStatus(&Proxy::DisconnectDeviceBySrcId, vm, source.value());
  }

  // Redirects a device in a way that the service defines by a number; of velsim 0: back to this
  // machine, 1: into the VM, from another VM as well.
  Result<void> redirect(const std::string& vm, DeviceNumber device, std::uint16_t direction) const {
    return vmStatus(&Proxy::RedirectDevice, vm, device.value(), direction);
  }

  // --- New devices: what the user has chosen on the card of a device ----------------------------

  // Attaches a new device to a VM; the result arrives as a NewDeviceEvent too. Waits at most
  // 10000 ms.
  //
  // autoConnect, popupCardConfig  what to do with the next device of the type: 0 or the service's
  //                               number, as in setAutoConnect
  Result<void> attachNewDevice(const std::string& vm, SourceId source, DeviceType type,
                               std::uint16_t autoConnect, std::uint16_t popupCardConfig) const {
    return vmStatus(&Proxy::ConfigNewDeviceAsConnect, vm, source.value(), number(type), autoConnect,
                    popupCardConfig);
  }

  // Leaves a new device alone. Waits at most 2000 ms.
  Result<void> ignoreNewDevice(SourceId source, DeviceType type, std::uint16_t autoConnect,
                               std::uint16_t popupCardConfig) const {
    return status(&Proxy::ConfigNewDeviceAsIgnore, source.value(), number(type), autoConnect,
                  popupCardConfig);
  }

  // Sends a command for a storage device, in the service's numbers. Waits at most 10000 ms.
  Result<void> commandStorage(const std::string& vm, SourceId source, std::uint16_t command) const {
    return vmStatus(&Proxy::ConfigUdisks2Command, vm, source.value(), command);
  }

  // --- Network devices, and USB devices that the client redirects itself ------------------------

  // type and texts are the service's.
  Result<void> addNetworkDevice(std::int32_t type, std::string device) const {
    return status(&Proxy::AddNetworkDevice, type, device);
  }
  Result<void> removeNetworkDevice(std::string device, std::string detail = {}) const {
    return status(&Proxy::DeleteNetworkDevice, device, detail);
  }

  // Reports the state of a USB device that the client redirects through a USB channel of its own.
  Result<void> setUsbStatus(const std::string& vm, UsbDevice device, std::uint16_t state) const {
    return vmStatus(&Proxy::SetUsbredirStatus, vm, internal::udevInfoOf(device), state);
  }

  // The interface has them and sends nothing.
  Result<void> connectUsb(const std::string& vm, UsbDevice device) const {
    return status(&Proxy::ConnectUsbredir, vm, internal::udevInfoOf(device));
  }
  Result<void> disconnectUsb(const std::string& vm, UsbDevice device) const {
    return status(&Proxy::DisconnectUsbredir, vm, internal::udevInfoOf(device));
  }

  // --- Policies, and properties by USB vendor and product id ------------------------------------

  // Sets name and local policy of a device. name has at most 127 bytes, text at most 255.
  Result<void> setLocalPolicy(DeviceNumber device, LocalPolicy policy, const std::string& name,
                              const std::string& text) const {
    Device changed;
    changed.number = device;
    changed.policy = policy;
    changed.name = name;
    changed.policyText = text;
    if (!internal::fits(changed)) {
      return internal::refusedArgument("setLocalPolicy", internal::kTextDoesNotFit);
    }
    return status(&Proxy::SetDeviceLocalPolicy, internal::DeviceRecord(changed).get());
  }

  // Whether the service attaches devices of a type by itself. 0: no; the service defines the other
  // numbers.
  Result<void> setAutoConnect(DeviceType type, std::uint16_t setting) const {
    return status(&Proxy::SetAutoConnect, number(type), int{setting});
  }
  Result<std::int32_t> autoConnect(DeviceType type) const {
    return internal::outcome(std::int32_t{proxy_->GetAutoConnect(number(type))});
  }

  Result<void> setProperty(UsbId usb, DeviceType type, std::int32_t value) const {
    return status(&Proxy::SetDevicePropertyWithVidPid, usb.vendor, usb.product, number(type),
                  value);
  }
  Result<std::int32_t> property(UsbId usb) const {
    return internal::outcome(
        std::int32_t{proxy_->GetDevicePropertyWithVidPid(usb.vendor, usb.product, 0)});
  }
  // The same on this machine.
  Result<std::int32_t> localProperty(UsbId usb) const {
    return internal::outcome(
        std::int32_t{proxy_->GetLocalDevicePropertyWithVidPid(usb.vendor, usb.product, 0)});
  }
  Result<void> resetProperties() const { return status(&Proxy::ResetAllDeviceProperty); }

  Result<std::vector<UsbPolicy>> policies() const {
    return records<UsbPolicy>(&Proxy::GetPolicyListByVidPid);
  }

  Result<void> setTurboConfig(UsbId usb, const std::string& config) const {
    return status(&Proxy::SetTurboConfigWithVidPid, usb.vendor, usb.product, config);
  }
  Result<std::string> turboConfig(UsbId usb) const {
    return internal::textOutcome(proxy_->GetTurboConfigWithVidPid(usb.vendor, usb.product));
  }

  // --- Printers ---------------------------------------------------------------------------------

  // The printers of a VM.
  Result<std::vector<Printer>> printers(const std::string& vm) const {
    return vmRecords<Printer>(&Proxy::GetPrinterList, vm);
  }

  // The records that the service has of a printer, normally one.
  Result<std::vector<Printer>> printer(PrinterNumber printer) const {
    return records<Printer>(&Proxy::GetPrinterStatus, printer.value());
  }

  // Redirects a printer into a VM.
  Result<void> attach(const std::string& vm, PrinterNumber printer) const {
    return vmStatus(&Proxy::ConnectPrinter, vm, printer.value());
  }

  // Takes a printer back from a VM.
  Result<void> detach(const std::string& vm, PrinterNumber printer) const {
    return vmStatus(&Proxy::DisconnectPrinter, vm, printer.value());
  }

  // Sends a command for a printer, in the service's numbers: succeeds when the service has
  // answered. Waits at most 10000 ms.
  Result<void> commandPrinter(const std::string& vm, SourceId source, std::uint16_t command) const {
    return vmStatus(&Proxy::ConfigPrinterCommand, vm, source.value(), command);
  }

  // --- Network printers -------------------------------------------------------------------------

  Result<std::vector<NetworkPrinter>> networkPrinters() const {
    return records<NetworkPrinter>(&Proxy::GetNetworkPrinterList);
  }

  // Under the name "defaultPrinter".
  Result<void> addNetworkPrinter(const std::string& address) const {
    if (!internal::fits(address, address.size())) {
      return internal::refusedArgument("addNetworkPrinter", internal::kTextDoesNotFit);
    }
    return internal::statusOutcome(proxy_->AddNetworkPrinter(address.c_str()));
  }
  // extra is the service's. Neither address nor name may be empty.
  Result<void> addNetworkPrinter(const std::string& address, const std::string& name,
                                 const std::string& extra = {}) const {
    return internal::statusOutcome(proxy_->AddNetworkPrinter(address, name, extra));
  }
  Result<void> removeNetworkPrinter(const std::string& name) const {
    return status(&Proxy::DeleteNetworkPrinter, name);
  }
  Result<void> renameNetworkPrinter(const std::string& oldName, const std::string& newName) const {
    return status(&Proxy::RenameNetworkPrinter, oldName, newName);
  }

  // --- Printers that other machines share -------------------------------------------------------

  // Whether a text is an IPv4 address such as 10.0.0.7 or 10.0.0.7:631.
  static bool isAddress(const std::string& text) { return qx::checkIpAddr(text); }

  // The printers that the machine at an address shares. Waits at most 10000 ms.
  Result<std::vector<SharedPrinter>> searchSharedPrinters(const std::string& address) const {
    std::list<_SharePrinterDevice> found;
    const Result<void> searched = status(&Proxy::SearchSharePrinterDevice, address, found);
    if (!searched) {
      return unexpected<Error>(searched.error());
    }
    return internal::sharedPrintersOf(found);
  }

  // The same on a thread of its own. Cancelling ends all searches of the service.
  Task<std::vector<SharedPrinter>> startSharedPrinterSearch(
      const std::string& address, Callback<Result<std::vector<SharedPrinter>>> done = {},
      Executor executor = {}) const {
    return {[client = *this, address] { return client.searchSharedPrinters(address); },
            [] { return internal::stopSearch(); }, std::move(done), std::move(executor)};
  }

  // Ends all searches of the service. Waits until a search of this process has returned, unless a
  // task started it: cancel that.
  Result<void> stopSharedPrinterSearch() const {
    return status(&Proxy::StopSearchSharePrinterDevice);
  }

  Result<void> addSharedPrinters(const std::vector<SharedPrinter>& printers) const {
    std::list<_SharePrinterDevice> records;
    for (const SharedPrinter& printer : printers) {
      if (!internal::appendTo(records, printer)) {
        return internal::refusedArgument("addSharePrinter", internal::kTextDoesNotFit);
      }
    }
    return status(&Proxy::AddSharePrinterDevice, records);
  }

  // The printer with this address and name.
  Result<void> removeSharedPrinter(const SharedPrinter& printer) const {
    std::list<_SharePrinterDevice> records;
    if (!internal::appendTo(records, printer)) {
      return internal::refusedArgument("deleteSharePrinter", internal::kTextDoesNotFit);
    }
    return status(&Proxy::DeleteSharePrinterDevice, records.front());
  }

  // --- Print queues: the service gives the texts their meaning ----------------------------------

  // All printers that the service can see. Waits at most 30000 ms.
  Result<std::string> allPrinters() const {
    return internal::textOutcome(proxy_->SearchAllPrinter());
  }

  // The drivers for a printer. Waits at most 30000 ms.
  Result<std::string> printerDrivers(const std::string& printer) const {
    return internal::textOutcome(proxy_->GetPrinterDriverlList(printer));
  }

  // Of velsim: name, URI and driver of the queue.
  Result<void> addLocalPrinter(const std::string& first, const std::string& second,
                               const std::string& third) const {
    return status(&Proxy::AddLocalPrinter, first, second, third);
  }

  // Of velsim: name, URI and model. Waits at most 30000 ms.
  Result<void> autoAddPrinter(const std::string& first, const std::string& second,
                              const std::string& third) const {
    return status(&Proxy::AutoAddPrinter, first, second, third);
  }

  Result<void> removePrinter(const std::string& printer) const {
    return status(&Proxy::DeletePrinter, printer);
  }
  Result<void> setPrinterDriver(const std::string& printer, const std::string& driver) const {
    return status(&Proxy::ChangePrinterDriver, printer, driver);
  }

  // Waits at most 10000 ms.
  Result<void> printTestPage(const std::string& printer) const {
    return status(&Proxy::PrintTestPage, printer);
  }

  // --- Diagnoses, self-tests, commands ----------------------------------------------------------

  // Diagnoses the redirection of a source or a device, and returns the service's text. Progress
  // arrives at the subscribers of onDiagnosis. Waits at most 10000 ms. vm must not be empty.
  Result<std::string> diagnose(const std::string& vm, SourceId source) const {
    return internal::textOutcome(proxy_->Diagnose(vm, source.value(), hub_));
  }
  // Other operations wait for this one.
  Result<std::string> diagnose(const std::string& vm, DeviceNumber device) const {
    return internal::textOutcome(proxy_->DiagnoseDevice(vm, device.value(), hub_));
  }

  // Whether the service may use the camera.
  Result<CameraStatus> cameraStatus() const {
    return internal::outcome(static_cast<CameraStatus>(proxy_->CheckCameraAuthStat()));
  }

  // Runs a self-test of the service by its number.
  Result<void> selfTest(std::uint16_t test) const {
    return status(&Proxy::DoVelTest, std::string(), unsigned{test});
  }

  // Gives the service a command. The answer arrives at the subscribers of onCommand. The library
  // writes a line to standard output.
  Result<void> command(const std::string& vm, const std::string& text, std::int32_t id) const {
    const internal::CommandRunning running;
    return vmStatus(&Proxy::DoVelCmd, vm, text, id);
  }

  // The service's help on its commands, between the lines "vm id [" and "]".
  Result<std::string> commandHelp(const std::string& vm) const {
    return internal::afterCheck(known(vm),
                                [&] { return internal::textOutcome(proxy_->GetVelCmdHelp(vm)); });
  }

  // --- Stream quality: neither waits, and both succeed when the request is sent -----------------

  // Two figures in the service's unit.
  Result<void> reportBandwidth(const std::string& vm, std::uint64_t first,
                               std::uint64_t second) const {
    return internal::afterCheck(known(vm), [&] {
      proxy_->SetBwInfo(vm, first, second);
      return internal::outcome();
    });
  }

  // figure travels with type 1 only.
  Result<void> reportQuality(const std::string& vm, std::uint32_t type,
                             std::optional<std::uint32_t> figure = std::nullopt) const {
    return internal::afterCheck(known(vm), [&] {
      proxy_->SetRtcQosInfo(vm, type, figure ? &*figure : nullptr);
      return internal::outcome();
    });
  }

  // --- Pen input: one thread --------------------------------------------------------------------

  // Announces a port of the client, and its writer. Only one whose name contains "space.port.2" is
  // the pen's.
  void openPort(const std::string& name, bool isOpen, PortWriter writer) const {
    proxy_->PortInit(name, isOpen, std::move(writer));
  }
  // Reports that a port has been opened or closed.
  void setPortOpen(const std::string& name, bool isOpen) const { proxy_->PortStatus(name, isOpen); }

  // Takes a message that arrived on a port, on any thread. It has 8 bytes at least.
  Result<void> receivePortData(const std::string& name, std::vector<unsigned char> message) const {
    if (message.size() < internal::kShortestPortMessage) {
      return internal::refusedArgument("", "the message is shorter than its header");
    }
    proxy_->PortData(name, message.data(), static_cast<unsigned int>(message.size()));
    return {};
  }

  // Writes a tablet event to the pen port; nothing while the port is closed or the pen has no
  // device number. x and y replace the position of the event, in pixels.
  Result<void> sendPen(QTabletEvent& event, std::optional<int> x = std::nullopt,
                       std::optional<int> y = std::nullopt) const {
    return status(&Proxy::SendPenData, std::string(), static_cast<void*>(&event),
                  internal::kTabletEvent, x.value_or(internal::kOwnPosition),
                  y.value_or(internal::kOwnPosition));
  }

  // --- Joysticks --------------------------------------------------------------------------------

  Result<std::vector<Joystick>> joysticks() const {
    return internal::fixedRecordsOutcome<Joystick>(*proxy_, proxy_->GetJoystickDevList());
  }
  Result<std::vector<JoystickMapping>> joystickMappings() const {
    return internal::fixedRecordsOutcome<JoystickMapping>(*proxy_,
                                                          proxy_->GetJoystickMappingList());
  }
  Result<void> setJoystickMapping(JoystickIndex joystick, MappingIndex mapping) const {
    return status(&Proxy::SetJoystickMapping, joystick.value(), mapping.value());
  }
  Result<void> calibrateJoystick(JoystickIndex joystick) const {
    return status(&Proxy::CalibrationJoystick, joystick.value());
  }

  // --- Slow operations on a thread of their own -------------------------------------------------

  // Calls any operation: client.start([](const vel::Client& c) { return c.allPrinters(); })
  //
  // operation  takes a Client and returns a Result
  // done       receives the Result where the executor runs it, otherwise on the task's thread
  template <typename Operation>
  using ResultOf = std::invoke_result_t<Operation, const Client&>;
  template <typename Operation>
  Task<typename ResultOf<Operation>::value_type> start(Operation operation,
                                                       Callback<ResultOf<Operation>> done = {},
                                                       Executor executor = {}) const {
    return {[client = *this, operation = std::move(operation)] { return operation(client); },
            {},
            std::move(done),
            std::move(executor)};
  }

  // The service cannot end a diagnosis early.
  template <typename Subject>
  Task<std::string> startDiagnosis(const std::string& vm, Subject subject,
                                   Callback<Result<std::string>> done = {},
                                   Executor executor = {}) const {
    return start([vm, subject](const Client& client) { return client.diagnose(vm, subject); },
                 std::move(done), std::move(executor));
  }

  // --- Events -----------------------------------------------------------------------------------

  Subscription onDevice(Callback<DeviceEvent> callback, Executor executor = {}) const {
    return subscribe(hub_->devices, std::move(callback), std::move(executor));
  }

  // Takes the place of a printer callback that other code has registered; begun inside a callback,
  // it receives nothing then until a subscription begins elsewhere.
  Subscription onPrinter(Callback<PrinterEvent> callback, Executor executor = {}) const {
    hub_->takePrinterCallback();
    return subscribe(hub_->printers, std::move(callback), std::move(executor));
  }

  Subscription onNewDevice(Callback<NewDeviceEvent> callback, Executor executor = {}) const {
    return subscribe(hub_->newDevices, std::move(callback), std::move(executor));
  }

  // Progress of the diagnoses of all processes: DiagnosisEvent::id and vm show whose it is.
  Subscription onDiagnosis(Callback<DiagnosisEvent> callback, Executor executor = {}) const {
    hub_->takeDiagnoses();
    return subscribe(hub_->diagnoses, std::move(callback), std::move(executor));
  }

  Subscription onCommand(Callback<CommandEvent> callback, Executor executor = {}) const {
    hub_->takeCommandCallback();
    return subscribe(hub_->commands, std::move(callback), std::move(executor));
  }

  // Subscribes at the service too, the first time: not inside a callback.
  Result<Subscription> onJoystick(Callback<JoystickEvent> callback, Executor executor = {}) const {
    Subscription subscription = subscribe(hub_->joysticks, std::move(callback), std::move(executor),
                                          [hub = hub_] { return hub->endJoysticks(); });
    return internal::afterCheck(hub_->beginJoysticks(),
                                [&]() -> Result<Subscription> { return std::move(subscription); });
  }

  // The service has died. Without an executor it runs while the library waits for the next service.
  Subscription onServiceDeath(Callback<ServiceDeath> callback, Executor executor = {}) const {
    return subscribe(hub_->deaths, std::move(callback), std::move(executor));
  }

  // A service is back, and what it had to learn again has been repeated. The library looks for it
  // for about 1000 s; later connect() finds it.
  Subscription onServiceReturn(Callback<ServiceReturn> callback, Executor executor = {}) const {
    return subscribe(hub_->returns, std::move(callback), std::move(executor));
  }

  // The session of a VM has ended, because the service has died.
  Subscription onSessionEnd(const std::string& vm, Callback<SessionEnd> callback,
                            Executor executor = {}) const {
    return subscribe<ServiceDeath>(
        hub_->deaths,
        [vm, callback = std::move(callback)](const ServiceDeath&) {
          if (callback) {
            callback(SessionEnd{vm});
          }
        },
        std::move(executor));
  }

  // --- Events that the client itself hands on, to all callbacks of the proxy --------------------
  //
  // Not inside a callback, because the library runs one at a time.

  Result<void> announceDevice(EventCode code, const Device& device) const {
    if (!internal::fits(device)) {
      return internal::refusedArgument("", internal::kTextDoesNotFit);
    }
    return announce([&] {
      proxy_->DeviceBaseInfoNotify(internal::narrowed(code), internal::DeviceRecord(device).get());
    });
  }
  Result<void> announceNewDevice(const NewDeviceEvent& event) const {
    if (!internal::fits(event)) {
      return internal::refusedArgument("", internal::kTextDoesNotFit);
    }
    return announce([&] {
      proxy_->ConfigNewDeviceResultNotify(internal::narrowed(event.code),
                                          internal::NewDeviceRecord(event).get());
    });
  }
  Result<void> announceJoystick(const JoystickEvent& event) const {
    return announce([&] {
      _JoystickResult result = internal::joystickResultOf(event.result);
      proxy_->JoystickResultNotify(event.code, &result);
    });
  }

 private:
  using Proxy = qx::VelProxy;

  // Whether the VM has a number. The library would send 0 for one that has none, which stands for
  // this machine.
  Result<void> known(const std::string& vm) const {
    if (vm.empty() || proxy_->GetVmIdInt(vm) != 0) {
      return {};
    }
    return internal::failed(qx::VelProxy::lastError());
  }

  // An operation that returns the service's status.
  template <typename Operation, typename... Arguments>
  Result<void> status(Operation operation, Arguments&&... arguments) const {
    return internal::statusOutcome((proxy_->*operation)(std::forward<Arguments>(arguments)...));
  }

  // The same on a VM.
  template <typename Operation, typename... Arguments>
  Result<void> vmStatus(Operation operation, const std::string& vm,
                        Arguments&&... arguments) const {
    return internal::afterCheck(
        known(vm), [&] { return status(operation, vm, std::forward<Arguments>(arguments)...); });
  }

  // An operation that returns a list of records.
  template <typename Value, typename Operation, typename... Arguments>
  Result<std::vector<Value>> records(Operation operation, Arguments&&... arguments) const {
    return internal::recordsOutcome<Value>(
        *proxy_, (proxy_->*operation)(std::forward<Arguments>(arguments)...));
  }

  template <typename Value, typename Operation>
  Result<std::vector<Value>> vmRecords(Operation operation, const std::string& vm) const {
    return internal::afterCheck(known(vm), [&] { return records<Value>(operation, vm); });
  }

  template <typename Operation>
  Result<void> withPipes(const char* method, Operation operation, const std::string& vm,
                         const std::vector<Pipe>& pipes) const {
    std::list<_CHANNEL_HANDLE> handles;
    for (const Pipe& pipe : pipes) {
      if (Result<void> check = known(pipe.vm); !check) {
        return check;
      }
      if (!internal::appendTo(handles, pipe)) {
        return internal::refusedArgument(method, internal::kTextDoesNotFit);
      }
    }
    return vmStatus(operation, vm, handles);
  }

  template <typename Event>
  static Subscription subscribe(internal::Subscribers<Event>& subscribers,
                                std::function<void(const Event&)> callback, Executor executor,
                                std::function<Result<void>()> ended = {}) {
    return begin(subscribers,
                 internal::makeSubscriber<Event>(std::move(callback), std::move(executor)),
                 std::move(ended));
  }
  static Subscription begin(internal::SubscriberList& subscribers,
                            std::shared_ptr<internal::Subscriber> subscriber,
                            std::function<Result<void>()> ended) {
    subscriber->whenStopped([&subscribers, key = subscriber.get(), ended = std::move(ended)] {
      subscribers.remove(key);
      return ended ? ended() : Result<void>();
    });
    subscribers.add(subscriber);
    return Subscription(std::move(subscriber));
  }

  template <typename Notify>
  static Result<void> announce(Notify notify) {
    if (internal::Hub::isInsideCallback()) {
      return internal::refusedArgument("", "not inside a callback");
    }
    notify();
    return {};
  }

  qx::VelProxy* proxy_;
  internal::Hub* hub_;
};

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_CLIENT_H
