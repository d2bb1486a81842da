#include "tests/velctl/scripted_service.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "bus/dbus/wire.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace velctl_tests {
namespace {

using qxbus::Bytes;
using qxbus::Request;
using qxbus::Values;

constexpr char kLookUp[] = "getVmListSize";
constexpr char kVms[] = "getVmList";

template <typename Value>
void put(Bytes& block, std::size_t offset, Value value) {
  std::memcpy(block.data() + offset, &value, sizeof value);
}

void put(Bytes& block, std::size_t offset, const std::string& text) {
  std::copy(text.begin(), text.end(), block.begin() + static_cast<std::ptrdiff_t>(offset));
}

std::uint16_t low(int number) {
  return static_cast<std::uint16_t>(number);
}

}  // namespace

const std::vector<std::string>& allMethods() {
  static const auto* const methods = new std::vector<std::string>{
      "resetService",
      "connectVm",
      "disconnectVm",
      "createPipe",
      "destroyPipe",
      "startManager",
      "setPortChannelStatus",
      "getVmList",
      "getPrinterList",
      "getPrinterStatus",
      "connectPrinter",
      "disconnectPrinter",
      "addNetworkPrinter",
      "deleteNetworkPrinter",
      "renameNetworkPrinter",
      "getNetworkPrinterList",
      "getDeviceList",
      "getDeviceStatus",
      "connectDevice",
      "disconnectDevice",
      "onFocusChanged",
      "updateDriveToken",
      "setUsbredirStatus",
      "setLocalPolicy",
      "getVmListSize",
      "addNetworkDevice",
      "deleteNetworkDevice",
      "redirectDevice",
      "setAutoConnect",
      "getAutoConnect",
      "connectDeviceBySrcId",
      "disconnectDeviceBySrcId",
      "doveltest",
      "dovelcmd",
      "getvelcmdhelp",
      "setBwInfo",
      "setRtcQosInfo",
      "diagnose",
      "diagnoseDevice",
      "CheckCameraAuthStat",
      "setDevicePropertyWithVidPid",
      "getDevicePropertyWithVidPid",
      "getLocalDevicePropertyWithVidPid",
      "getPolicyListByVidPid",
      "getTurboConfigWithVidPid",
      "setTurboConfigWithVidPid",
      "resetAllDeviceProperty",
      "searchSharePrinter",
      "stopSearchSharePrinter",
      "addSharePrinter",
      "deleteSharePrinter",
      "searchAllPrinter",
      "getPrinterDriverlList",
      "addPrinter",
      "autoAddPrinter",
      "deletePrinter",
      "changePrinterDriver",
      "printTestPage",
      "configNewDeviceAsConnect",
      "configNewDeviceAsIgnore",
      "ConfigUdisks2Command",
      "ConfigPrinterCommand",
      "getJoystickDevList",
      "getJoystickMappingList",
      "setJoystickMapping",
      "calibrationJoystick",
      "registerJoystickCallback",
      "unregisterJoystickCallback",
  };
  return *methods;
}

ScriptedService::ScriptedService(const std::string& address) {
  answers_[kVms] = Values{std::int32_t{1}, std::string(kVm), std::int32_t{kVmNumber}};
  std::vector<qxbus::Method> methods;
  for (const std::string& name : allMethods()) {
    methods.push_back({name, [this](Request request) { handle(std::move(request)); }});
  }
  host_ = std::make_unique<qxbus::ServiceHost>(address, "vel", std::move(methods));
}

void ScriptedService::answer(const std::string& method, Answer answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  answers_[method] = std::move(answer);
}

void ScriptedService::before(const std::string& method, std::function<void()> run) {
  const std::lock_guard<std::mutex> lock(mutex_);
  before_[method] = std::move(run);
}

void ScriptedService::hold(const std::string& method) {
  const std::lock_guard<std::mutex> lock(mutex_);
  held_.insert(method);
}

void ScriptedService::release() {
  const std::lock_guard<std::mutex> lock(mutex_);
  held_.clear();
  for (Request& request : waiting_) {
    request.reply(std::get<Values>(answerTo(request)));
  }
  waiting_.clear();
}

std::vector<std::string> ScriptedService::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

std::vector<std::string> ScriptedService::senders() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return senders_;
}

void ScriptedService::handle(Request request) {
  std::function<void()> run;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = before_.find(request.method());
    run = found != before_.end() ? found->second : nullptr;
  }
  if (run) {
    run();
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  if (request.method() != kLookUp) {
    requests_.push_back(request.method() + '(' + qxbus::describe(request.arguments()) + ')');
    senders_.push_back(request.sender());
  }
  if (held_.count(request.method()) != 0) {
    waiting_.push_back(std::move(request));
    return;
  }
  const Answer answer = answerTo(request);
  if (const auto* const error = std::get_if<Error>(&answer)) {
    request.fail(error->text);
  } else {
    request.reply(std::get<Values>(answer));
  }
}

ScriptedService::Answer ScriptedService::answerTo(const Request& request) const {
  const auto found = answers_.find(request.method());
  if (found != answers_.end()) {
    return found->second;
  }
  const bool isKnown =
      request.method() == kLookUp && qxbus::readString(request.arguments(), 0) == kVm;
  return Values{std::int32_t{isKnown ? kVmNumber : 0}};
}

Bytes printerBlock(int number, int status, int vmNumber, const std::string& name) {
  Bytes block(offsetof(PrinterDevice, name) + name.size() + 1);
  put(block, offsetof(PrinterDevice, devNum), low(number));
  put(block, offsetof(PrinterDevice, vmId), vmNumber);
  put(block, offsetof(PrinterDevice, status), status);
  put(block, offsetof(PrinterDevice, name), name);
  return block;
}

Bytes deviceBlock(int number, int status, int policy, int vmNumber, const std::string& name,
                  const std::string& policyText) {
  Bytes block(offsetof(CommonDevice, vmIdText));
  put(block, offsetof(CommonDevice, devNumber), low(number));
  put(block, offsetof(CommonDevice, status), low(status));
  put(block, offsetof(CommonDevice, policy), low(policy));
  put(block, offsetof(CommonDevice, vmId), vmNumber);
  put(block, offsetof(CommonDevice, name), name);
  put(block, offsetof(CommonDevice, policyText), policyText);
  return block;
}

Bytes newDeviceBlock(int vendor, int product, bool isConfigured, const std::string& name,
                     const std::string& result) {
  Bytes block(offsetof(_ConfigNewDeviceResult, code) + result.size() + 1);
  put(block, offsetof(_ConfigNewDeviceResult, vid), low(vendor));
  put(block, offsetof(_ConfigNewDeviceResult, pid), low(product));
  put(block, offsetof(_ConfigNewDeviceResult, isSuccess), low(isConfigured ? 1 : 0));
  put(block, offsetof(_ConfigNewDeviceResult, name), name);
  put(block, offsetof(_ConfigNewDeviceResult, code), result);
  return block;
}

// The record of a diagnosis:
//   offset  size  value
//        0     8  id
//        8     4  status
//       12     4  number of the VM
//       16     -  text, to its NUL
Bytes diagnosisBlock(unsigned long long id, unsigned int status, int vmNumber,
                     const std::string& text) {
  constexpr std::size_t kText = 16;
  Bytes block(kText + text.size() + 1);
  put(block, 0, id);
  put(block, 8, status);
  put(block, 12, vmNumber);
  put(block, kText, text);
  return block;
}

Bytes bytesOf(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

}  // namespace velctl_tests
