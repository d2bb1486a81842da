#include "vel/apps/local/velctl/operation.h"

#include <cstdlib>

#include "bus/qxbus.h"
#include "platform/app_data_path.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

constexpr unsigned int kNoAnswer = 0xFFFFFFFF;
constexpr int kWaitForTheBus = -1;

std::string nameOfBus() {
  const char* const address = std::getenv("QXBUS_ADDRESS");
  return address && *address ? "the bus at " + std::string(address) : "the session bus";
}

// " 12" for {"device": 12}. Lists are too long for a message.
std::string valuesOf(const Json& details) {
  std::string text;
  for (const auto& [name, value] : details.items()) {
    if (value.is_string()) {
      text += ' ' + inQuotes(value.get<std::string>());
    } else if (value.is_primitive()) {
      text += ' ' + value.dump();
    }
  }
  return text;
}

}  // namespace

std::string shown(const std::string& vmId) {
  return vmId.empty() ? "this machine" : "\"" + vmId + "\"";
}

Operation::Operation(const std::string& method) : Operation(method, Json::object()) {}

Operation::Operation(const std::string& method, const std::string& vmId)
    : Operation(method, vmId, Json::object()) {}

Operation::Operation(const std::string& method, const Json& details)
    : method_(method), what_(method + valuesOf(details)), details_(details) {
  connect();
  errors_.forget();
}

Operation::Operation(const std::string& method, const std::string& vmId, const Json& details)
    : method_(method),
      what_(method + valuesOf(details) + " for " + shown(vmId)),
      vmId_(vmId),
      hasVm_(true),
      details_(details) {
  connect();
  errors_.forget();
  findVm();
}

void Operation::findVm() {
  number_ = proxy_->GetVmIdInt(vmId_);
  if (number_ != 0 || vmId_.empty()) {
    return;
  }
  // 0 is also what the library gives when there was no answer, and this is the one failure that it
  // does not log.
  proxy_->GetVmList();
  check();
  throw Failure(kExitUnknownVm,
                what_ + ": the service has no VM of this name; velctl vm list shows those it has");
}

void Operation::connect() {
  proxy_ = qx::VelProxy::getInstance();
  if (proxy_->Init() == kNoAnswer) {
    failDisconnected();
  }
}

void Operation::check() const {
  if (errors_.last()) {
    failWithoutAnswer();
  }
}

void Operation::failWithoutAnswer() const {
  const std::string reason = errors_.last().value_or("the service has no VMs");
  if (proxy_->Init() == kNoAnswer) {
    failDisconnected();
  }
  const std::string log = GetAppDataPath();
  throw Failure(kExitNoAnswer, what_ + ": no usable answer: " + printable(reason) +
                                   "; more may be in the service's log" +
                                   (log.empty() ? "" : " and in the log in " + log));
}

void Operation::failRefused(const std::string& answered) const {
  throw Failure(kExitRefused, what_ + ": the service answered " + answered);
}

void Operation::failDisconnected() const {
  // The library does not say why it has no connection.
  if (!QXBusSerivceManager::initSync(kWaitForTheBus)) {
    throw Failure(kExitNoBus, what_ + ": " + nameOfBus() +
                                  " cannot be reached; start it, or name another in "
                                  "QXBUS_ADDRESS");
  }
  throw Failure(
      kExitNoService,
      what_ + ": no service on the bus; start velserviced, or velsim to try without hardware");
}

Json Operation::json() const {
  Json json = {{"operation", method_}};
  if (hasVm_) {
    json["vm"] = vmId_;
    json["number"] = number_;
  }
  json.update(details_);
  return json;
}

void Operation::finish(const Output& output, int status, const std::string& done) const {
  const Json json = answered(Json{{"status", status}});
  if (status != 0) {
    output.json(json);
    failRefused("status " + std::to_string(status) + "; its documentation or its log says why");
  }
  const std::string subject = vmId_.empty() ? "this machine: " : vmId_ + ": ";
  output.line((hasVm_ ? subject : "") + done, json);
}

void Operation::finishSent(const Output& output, unsigned int status,
                           const std::string& done) const {
  // Such a request has only been handed to the bus, and would be lost if this process ended now.
  // The bus keeps the order of what one connection sends, so when the service answers a later
  // request it has had this one.
  check();
  proxy_->GetVmList();
  finish(output, status, done);
}

Json Operation::answered(const Json& members) const {
  check();
  Json json = this->json();
  json.update(members);
  return json;
}

void Operation::finishWith(const Output& output, const std::string& text,
                           const Json& members) const {
  output.line(text, answered(members));
}

void Operation::finishList(const Output& output, const std::string& name, const Json& elements,
                           const std::string& rows) const {
  const Json json = answered(Json{{name, elements}});
  if (elements.empty()) {
    output.json(json);
    Output::note("no " + name);
  } else {
    output.line(rows, json);
  }
}

}  // namespace velctl
