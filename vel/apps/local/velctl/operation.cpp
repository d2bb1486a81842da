#include "vel/apps/local/velctl/operation.h"

#include "base/printable.h"
#include "bus/dbus/bus_failure.h"
#include "platform/app_data_path.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {
namespace {

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

// Where the reason for a failure may stand.
std::string logs() {
  const std::string log = GetAppDataPath();
  return "; see the service's log" + (log.empty() ? "" : ", or the log in " + log);
}

}  // namespace

std::string displayName(const std::string& vmId) {
  return vmId.empty() ? "this machine" : base::printable(vmId);
}

std::string quotedName(const std::string& vmId) {
  return vmId.empty() ? "this machine" : printableInQuotes(vmId);
}

std::chrono::seconds timeLimitOf(const std::string& method) {
  return std::chrono::ceil<std::chrono::seconds>(vel::Client::timeLimit(method));
}

Operation::Operation(const std::string& method) : Operation(method, Json::object()) {}

Operation::Operation(const std::string& method, const std::string& vmId)
    : Operation(method, vmId, Json::object()) {}

Operation::Operation(const std::string& method, const Json& details)
    : method_(method), description_(method + valuesOf(details)), request_({{"operation", method}}) {
  request_.update(details);
}

Operation::Operation(const std::string& method, const std::string& vmId, const Json& details)
    : method_(method),
      description_(method + valuesOf(details) + " for " + quotedName(vmId)),
      prefix_(displayName(vmId) + ": "),
      number_(valueOf(client_.vmNumber(vmId))) {
  request_ = {{"operation", method}, {"vm", vmId}, {"number", number_.value()}};
  request_.update(details);
}

void Operation::fail(const vel::Error& error) const {
  const std::string text = base::printable(error.text());
  switch (error.kind()) {
    case vel::ErrorKind::kNoBus:
      throw Failure(kExitNoBus, description_ + ": the bus cannot be reached: " +
                                    base::printable(qxbus::busFailure()) +
                                    "; start it, or set QXBUS_ADDRESS to the address of another");
    case vel::ErrorKind::kNoService:
      throw Failure(kExitNoService,
                    description_ + ": " +
                        (qxbus::isBusDirect() ? base::printable(qxbus::busFailure()) : text) +
                        "; start velserviced, or velsim to try without hardware");
    case vel::ErrorKind::kUnknownVm:
      throw Failure(
          kExitUnknownVm,
          description_ + ": the service has no VM of this name; velctl vm list shows its VMs");
    case vel::ErrorKind::kRefused:
      failRefused("the service answered status " + std::to_string(error.status().value_or(0)) +
                  "; see the service's log");
    case vel::ErrorKind::kRefusedArgument:
      failRefused("nothing was sent: " + text);
    case vel::ErrorKind::kNoThread:
      throw Failure(kExitFailed, description_ + ": " + text);
    case vel::ErrorKind::kNoReply:
      // The service may have died meanwhile.
      check(client_.connect());
      break;
    case vel::ErrorKind::kErrorReply:
    case vel::ErrorKind::kBadReply:
      break;
  }
  failWithoutAnswer(error.text());
}

void Operation::failWithoutAnswer(const std::string& reason) const {
  throw Failure(kExitNoAnswer,
                description_ + ": no usable answer: " + base::printable(reason) + logs());
}

void Operation::failRefused(const std::string& reason) const {
  throw Failure(kExitRefused, description_ + ": " + reason);
}

Json Operation::answered(const Json& members) const {
  Json json = request_;
  json.update(members);
  return json;
}

void Operation::finish(const Output& output, const vel::Result<void>& result,
                       const std::string& done) const {
  if (!result && result.error().status()) {
    output.json(answered(Json{{"status", *result.error().status()}}));
  }
  check(result);
  output.line(prefix_ + done, answered(Json{{"status", 0}}));
}

void Operation::finishSent(const Output& output, const vel::Result<void>& result,
                           const std::string& done) const {
  check(result);
  // The request has only been handed to the bus, and would be lost if this process ended now. The
  // bus keeps the order of the requests of one connection, so the answer to a later one shows that
  // the service has received this one.
  check(client_.vms());
  finish(output, result, done);
}

void Operation::finishWith(const Output& output, const std::string& text,
                           const Json& members) const {
  output.line(text, answered(members));
}

void Operation::writeList(const Output& output, const std::string& name, const Json& elements,
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
