#include "vel/apps/local/velctl/operation.h"

#include "base/printable.h"
#include "base/text.h"
#include "bus/dbus/bus_failure.h"
#include "platform/app_data_path.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/service_interface.h"
#include "vel/protocol/methods.h"

namespace velctl {
namespace {

using Kind = qx::VelError::Kind;

constexpr unsigned int kNotConnected = 0xFFFFFFFF;

// " 12" for {"device": 12}. Lists are too long for a message.
std::string valuesOf(const Json& details) {
  std::string text;
  for (const auto& [name, value] : details.items()) {
    if (value.is_string()) {
      text += ' ' + printableInQuotes(value.get<std::string>());
    } else if (value.is_primitive()) {
      text += ' ' + value.dump();
    }
  }
  return text;
}

}  // namespace

std::string displayName(const std::string& vmId) {
  return vmId.empty() ? "this machine" : base::printable(vmId);
}

std::string quotedName(const std::string& vmId) {
  return vmId.empty() ? "this machine" : printableInQuotes(vmId);
}

std::chrono::seconds timeLimitOf(const std::string& method) {
  const std::chrono::milliseconds limit{velprotocol::method(method).timeoutMs};
  return std::chrono::ceil<std::chrono::seconds>(limit);
}

Operation::Operation(const std::string& method) : Operation(method, Json::object()) {}

Operation::Operation(const std::string& method, const std::string& vmId)
    : Operation(method, vmId, Json::object()) {}

Operation::Operation(const std::string& method, const Json& details)
    : method_(method), description_(method + valuesOf(details)), details_(details) {
  connect();
}

Operation::Operation(const std::string& method, const std::string& vmId, const Json& details)
    : method_(method),
      description_(method + valuesOf(details) + " for " + quotedName(vmId)),
      vmId_(vmId),
      hasVm_(true),
      details_(details) {
  connect();
  findVm();
}

void Operation::findVm() {
  number_ = call(&qx::VelProxy::GetVmIdInt, vmId_);
  check();
}

void Operation::connect() {
  proxy_ = qx::VelProxy::getInstance();
  if (proxy_->Init() == kNotConnected) {
    failDisconnected();
  }
}

void Operation::keepError() {
  error_ = qx::VelProxy::lastError();
  recordLengths_ = qx::VelProxy::lastRecordLengths();
}

void Operation::check() const {
  switch (error_.kind) {
    case Kind::kNone:
      return;
    case Kind::kRefusedArgument:
      throw Failure(kExitRefused,
                    description_ + ": nothing was sent: " + base::printable(error_.text));
    case Kind::kUnknownVm:
      failUnknownVm();
    case Kind::kNoService:
    case Kind::kNoReply:
      // The service may have died meanwhile.
      if (proxy_->Init() == kNotConnected) {
        failDisconnected();
      }
      failWithoutAnswer(error_.text);
    case Kind::kErrorReply:
    case Kind::kBadReply:
      failWithoutAnswer(error_.text);
  }
}

void Operation::failWithoutAnswer(const std::string& reason) const {
  const std::string log = GetAppDataPath();
  throw Failure(kExitNoAnswer, description_ + ": no usable answer: " + base::printable(reason) +
                                   "; see the service's log" +
                                   (log.empty() ? "" : ", or the log in " + log));
}

void Operation::failRefused(const std::string& reason) const {
  throw Failure(kExitRefused, description_ + ": " + reason);
}

void Operation::failUnknownVm() const {
  throw Failure(kExitUnknownVm, description_ +
                                    ": the service has no VM of this name; velctl vm list shows "
                                    "its VMs");
}

void Operation::failDisconnected() const {
  if (!busManager()) {
    throw Failure(kExitNoBus, description_ + ": the bus cannot be reached: " +
                                  base::printable(qxbus::busFailure()) +
                                  "; start it, or set QXBUS_ADDRESS to the address of another");
  }
  const std::string absent =
      qxbus::isBusDirect() ? base::printable(qxbus::busFailure()) : "no service on the bus";
  throw Failure(kExitNoService, description_ + ": " + absent +
                                    "; start velserviced, or velsim to try without hardware");
}

Json Operation::request() const {
  Json json = {{"operation", method_}};
  if (hasVm_) {
    json["vm"] = vmId_;
    json["number"] = number_;
  }
  json.update(details_);
  return json;
}

Json Operation::answered(const Json& members) const {
  check();
  Json json = request();
  json.update(members);
  return json;
}

void Operation::finish(const Output& output, int status, const std::string& done) const {
  const Json json = answered(Json{{"status", status}});
  if (status != 0) {
    output.json(json);
    failRefused("the service answered status " + std::to_string(status) +
                "; see the service's log");
  }
  output.line((hasVm_ ? displayName(vmId_) + ": " : "") + done, json);
}

void Operation::finishSent(const Output& output, unsigned int status, const std::string& done) {
  check();
  // The request has only been handed to the bus, and would be lost if this process ended now. The
  // bus keeps the order of the requests of one connection, so the answer to a later one shows that
  // the service has received this one.
  call(&qx::VelProxy::GetVmList);
  finish(output, status, done);
}

void Operation::finishWith(const Output& output, const std::string& text,
                           const Json& members) const {
  output.line(text, answered(members));
}

void Operation::finishList(const Output& output, const std::string& name, const Json& elements,
                           const std::string& rows) const {
  if (elements.empty()) {
    check();
  }
  Json json = request();
  json.update(Json{{name, elements}});
  if (elements.empty()) {
    output.json(json);
    Output::note("no " + name);
  } else {
    output.line(rows, json);
  }
  check();
}

}  // namespace velctl
