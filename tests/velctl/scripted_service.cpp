#include "tests/velctl/scripted_service.h"

#include <cstdint>
#include <utility>

#include "bus/dbus/wire.h"
#include "vel/protocol/access.h"
#include "vel/protocol/methods.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

using qxbus::Bytes;
using qxbus::Request;
using qxbus::Values;
using velprotocol::write;
namespace device = velprotocol::device;
namespace diagnosis = velprotocol::diagnosis;
namespace new_device_result = velprotocol::new_device_result;
namespace printer = velprotocol::printer;

constexpr char kLookUp[] = "getVmListSize";
constexpr char kVms[] = "getVmList";

std::uint16_t low(int number) {
  return static_cast<std::uint16_t>(number);
}

}  // namespace

ScriptedService::ScriptedService(const std::string& address) {
  answers_[kVms] = Values{std::int32_t{1}, std::string(kVm), std::int32_t{kVmNumber}};
  std::vector<qxbus::Method> methods;
  for (const velprotocol::Method& method : velprotocol::kMethods) {
    methods.push_back(
        {std::string(method.name), [this](Request request) { handle(std::move(request)); }});
  }
  host_ =
      std::make_unique<qxbus::ServiceHost>(address, velprotocol::kServiceName, std::move(methods));
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
  Bytes block(printer::kName.offset + name.size() + 1);
  write(block, printer::kNumber, low(number));
  write(block, printer::kVm, vmNumber);
  write(block, printer::kStatus, status);
  write(block, printer::kName, name);
  return block;
}

Bytes deviceBlock(int number, int status, int policy, int vmNumber, const std::string& name,
                  const std::string& policyText) {
  Bytes block(device::kVmIdText.offset);
  write(block, device::kNumber, low(number));
  write(block, device::kStatus, low(status));
  write(block, device::kPolicy, static_cast<std::int16_t>(policy));
  write(block, device::kVm, static_cast<std::uint32_t>(vmNumber));
  write(block, device::kName, name);
  write(block, device::kPolicyText, policyText);
  return block;
}

Bytes newDeviceBlock(int vendor, int product, bool isConfigured, const std::string& name,
                     const std::string& result) {
  Bytes block(new_device_result::kCode.offset + result.size() + 1);
  write(block, new_device_result::kVid, low(vendor));
  write(block, new_device_result::kPid, low(product));
  write(block, new_device_result::kIsSuccess, isConfigured);
  write(block, new_device_result::kName, name);
  write(block, new_device_result::kCode, result);
  return block;
}

Bytes diagnosisBlock(unsigned long long id, unsigned int status, int vmNumber,
                     const std::string& text) {
  Bytes block(diagnosis::kText.offset + text.size() + 1);
  write(block, diagnosis::kId, id);
  write(block, diagnosis::kStatus, status);
  write(block, diagnosis::kVm, static_cast<std::uint32_t>(vmNumber));
  write(block, diagnosis::kText, text);
  return block;
}

Bytes bytesOf(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

}  // namespace velctl_tests
