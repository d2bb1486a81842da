#include "vel/apps/local/velctl/run/invocation.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

#include "base/printable.h"
#include "base/text.h"
#include "bus/dbus/bus_failure.h"
#include "platform/app_data_path.h"
#include "platform/user_directories.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/things.h"
#include "vel/client/advice.h"

namespace velctl {
namespace {

bool isUsb(Kind kind) {
  return kind == Kind::kUsbId || kind == Kind::kUsbBytes;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Whether a text is a number rather than a name.
bool isDigits(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

std::string shownValue(const Parameter& parameter, const std::string& text) {
  const bool isPlain = parameter.isNumber() || isUsb(parameter.kind) ||
                       (isThing(parameter.kind) && numberIn(parameter, text));
  return isPlain ? text : printableInQuotes(text);
}

// For the JSON form.
Json jsonValue(const Parameter& parameter, const Value& value) {
  if (parameter.isLong()) {
    return std::to_string(value.number);
  }
  if (parameter.kind == Kind::kSigned) {
    return static_cast<std::int64_t>(value.number);
  }
  if (parameter.isNumber() || isThing(parameter.kind)) {
    return value.number;
  }
  if (parameter.kind == Kind::kFlag) {
    return true;
  }
  if (!parameter.isRepeated) {
    return jsonText(value.texts.front());
  }
  Json texts = Json::array();
  for (const std::string& text : value.texts) {
    texts.push_back(jsonText(text));
  }
  return texts;
}

std::string numberedNames(const std::vector<Thing>& things) {
  std::vector<std::string> names;
  for (const Thing& thing : things) {
    names.push_back(std::to_string(thing.number));
  }
  return base::joined(names);
}

}  // namespace

std::string displayName(const std::string& vm) {
  return vm.empty() ? "this machine" : base::printable(vm);
}

std::string quotedName(const std::string& vm) {
  return vm.empty() ? "this machine" : printableInQuotes(vm);
}

std::chrono::seconds timeLimitOf(const std::string& method) {
  return std::chrono::ceil<std::chrono::seconds>(vel::Client::timeLimit(method));
}

std::string absenceIn(const vel::Error& error) {
  switch (error.kind()) {
    case vel::ErrorKind::kNoBus:
      return "the bus cannot be reached: " + base::printable(qxbus::busFailure());
    case vel::ErrorKind::kNoService:
      return base::printable(qxbus::isBusDirect() ? qxbus::busFailure() : error.text());
    default:
      return {};
  }
}

Invocation::Invocation(const Command& command, const Arguments& arguments, Session& session)
    : command_(command), arguments_(arguments), session_(session) {
  describe();
  const Action& action = command.action;
  const bool isBySource = !action.methodBySource.empty() && arguments.count("--source") != 0;
  const bool isLocal = !action.methodOfLocal.empty() && arguments.count("--local") != 0;
  setMethod(isBySource ? action.methodBySource : isLocal ? action.methodOfLocal : action.method);
}

// --- The request ---------------------------------------------------------------------------------

void Invocation::describe() {
  std::string vm;
  for (const Parameter& parameter : command_.parameters) {
    const auto given = arguments_.find(parameter.name);
    const bool isGiven = given != arguments_.end();
    if (parameter.isSilent || parameter.kind == Kind::kFlag || parameter.isRepeated ||
        (!isGiven && !parameter.fallback)) {
      continue;
    }
    const std::string text = isGiven ? given->second.front() : *parameter.fallback;
    if (parameter.kind == Kind::kVm) {
      vm = " for " + quotedName(text);
    } else {
      details_ += ' ' + shownValue(parameter, text);
    }
  }
  details_ += vm;
}

void Invocation::setMethod(const std::string& method) {
  setMethod(method, details_);
}

void Invocation::setMethod(const std::string& method, const std::string& values) {
  method_ = method;
  description_ = (method.empty() ? command_.path : method) + values;
  if (!method.empty()) {
    request_["operation"] = method;
  }
}

void Invocation::resolve() {
  std::map<std::string, Value> values;
  Json members = Json::object();
  for (const Parameter& parameter : command_.parameters) {
    const auto given = arguments_.find(parameter.name);
    if (given == arguments_.end() && !parameter.fallback) {
      continue;
    }
    const std::vector<std::string> texts =
        given != arguments_.end() ? given->second : std::vector<std::string>{*parameter.fallback};
    const Value& value = values[parameter.name] = valueOf(parameter, texts);
    if (parameter.isUnresolved) {
      continue;
    }
    if (parameter.kind == Kind::kVm) {
      request_["vm"] = jsonText(value.texts.front());
      request_["vmNumber"] = value.number;
    } else if (!parameter.isSilent) {
      members[parameter.key()] = jsonValue(parameter, value);
    }
  }
  request_.update(members);
  values_ = std::make_shared<Values>(std::move(values));
}

Value Invocation::valueOf(const Parameter& parameter, const std::vector<std::string>& texts) {
  Value value{texts, 0};
  if (parameter.isNumber()) {
    value.number = numberIn(parameter, texts.front()).value_or(0);
    return value;
  }
  if (isUsb(parameter.kind)) {
    // As records of the service are shown.
    value.texts = {lowerCase(texts.front())};
    return value;
  }
  if (!isThing(parameter.kind) || parameter.isUnresolved) {
    return value;
  }
  const std::string text = texts.front();
  const std::optional<std::uint64_t> number = numberIn(parameter, text);
  if (number && parameter.kind != Kind::kVm) {
    value.number = *number;
    return value;
  }
  if (parameter.kind != Kind::kVm || isDigits(text)) {
    const vel::Result<std::vector<Thing>> things = session_.call(
        activityOf({}),
        [kind = parameter.kind](const vel::Client& client) { return thingsOf(kind, client); });
    std::vector<Thing> found;
    for (const Thing& thing : valueOf(things)) {
      if (thing.name == text) {
        found.push_back(thing);
      }
    }
    if (parameter.kind == Kind::kVm) {
      // A name that consists of digits comes before a number.
      const auto isThat = [&text](const Thing& vm) { return std::to_string(vm.number) == text; };
      const auto vm = std::find_if(things->begin(), things->end(), isThat);
      if (found.empty() && vm != things->end()) {
        value.texts = {vm->name};
      }
    } else if (found.empty()) {
      fail(kExitUnknown, "no " + nounOf(parameter.kind) + " has this name; " +
                             listingOf(parameter.kind) + " shows them");
    } else if (found.size() > 1) {
      fail(kExitUnknown, base::counted(found.size(), nounOf(parameter.kind)) + " have the name " +
                             printableInQuotes(text) + ": " + numberedNames(found) +
                             "; give the number");
    } else {
      value.number = found.front().number;
      return value;
    }
  }
  value.number =
      valueOf(session_.call(activityOf({}), [vm = value.texts.front()](const vel::Client& client) {
        return client.vmNumber(vm);
      })).value();
  return value;
}

Session::Activity Invocation::activityOf(const std::string& activity) const {
  return {activity.empty() ? "waiting for the answer to " + description_ : activity,
          timeLimitOf(method_)};
}

// --- Results -------------------------------------------------------------------------------------

Json Invocation::answered(const Json& members) const {
  Json json = request_;
  json.update(members);
  return json;
}

void Invocation::finishWith(const std::string& text, const Json& members) const {
  output().line(text, answered(members));
}

void Invocation::finish(const vel::Result<void>& result, const std::string& done) const {
  check(result);
  output().done(filledIn(done), answered(Json{{"status", 0}, {"statusName", "ok"}}));
}

void Invocation::finishWithoutStatus(const vel::Result<void>& result,
                                     const std::string& done) const {
  check(result);
  output().done(filledIn(done), answered(Json::object()));
}

void Invocation::finishSent(const vel::Result<void>& result, const std::string& done) const {
  check(result);
  // The request has only been handed to the bus, and would be lost if this process ended now. The
  // bus keeps the order of the requests of one connection, so the answer to a later one shows that
  // the service has received this one.
  check(session_.call(activityOf({}), [](const vel::Client& client) { return client.vms(); }));
  finishWithoutStatus(result, done);
}

void Invocation::finishList(const std::string& name, const Json& elements,
                            const std::string& text) const {
  const Json json = answered(Json{{name, elements}});
  if (elements.empty()) {
    output().json(json);
    output().note("no " + (name == "vms" ? "VMs" : name));
  } else {
    output().line(text, json);
  }
}

std::string Invocation::filledIn(const std::string& text) const {
  std::string filled = text;
  for (const Parameter& parameter : command_.parameters) {
    const std::string mark = '{' + parameter.name + '}';
    const std::size_t at = filled.find(mark);
    if (at == std::string::npos) {
      continue;
    }
    std::string value;
    if (parameter.isRepeated) {
      value = base::counted(values_->texts(parameter.name).size(), parameter.key());
    } else if (parameter.kind == Kind::kVm) {
      value = displayName(values_->text(parameter.name));
    } else if (parameter.isNumber() && parameter.legend) {
      value = numberWithMeaning(*parameter.legend, values_->number<std::int64_t>(parameter.name));
    } else if (parameter.kind == Kind::kSigned) {
      value = std::to_string(values_->number<std::int64_t>(parameter.name));
    } else if (parameter.isNumber() || isThing(parameter.kind)) {
      value = std::to_string(values_->number<std::uint64_t>(parameter.name));
    } else if (isUsb(parameter.kind)) {
      value = values_->text(parameter.name);
    } else {
      value = printableInQuotes(values_->text(parameter.name));
    }
    filled.replace(at, mark.size(), value);
  }
  return filled;
}

// --- Failures ------------------------------------------------------------------------------------

std::string Invocation::logs() {
  const std::string log = platform::logDirectory(GetAppDataPath());
  return "; see the service's log" + (log.empty() ? "" : ", or the log in " + log);
}

void Invocation::fail(ExitCode code, const std::string& reason) const {
  throw Failure(code, description_ + ": " + reason, std::nullopt, method_);
}

void Invocation::fail(const vel::Error& error) const {
  const std::string text = base::printable(error.text());
  switch (error.kind()) {
    case vel::ErrorKind::kNoBus:
      fail(kExitNoBus, absenceIn(error) + "; " + std::string(vel::remedyFor(error)));
    case vel::ErrorKind::kNoService:
      fail(kExitNoService, absenceIn(error) + "; " + std::string(vel::remedyFor(error)));
    case vel::ErrorKind::kUnknownVm:
      fail(kExitUnknown, "the service has no VM of this name; velctl vm list shows its VMs");
    case vel::ErrorKind::kRefused: {
      const std::int32_t status = error.status().value_or(0);
      const velprotocol::Legend legend("", velprotocol::kStatuses);
      const velprotocol::Meaning* const meaning = vel::refusalMeaning(error);
      throw Failure(
          kExitRefused,
          description_ + ": the service refused with status " +
              (!meaning
                   ? std::to_string(status) + ", to which it gives the meaning" + logs()
                   : numberWithMeaning(legend, status) + ": " + std::string(meaning->explanation)),
          status, method_);
    }
    case vel::ErrorKind::kRefusedArgument:
      fail(kExitRefused, "nothing was sent: " + text + "; see velctl " + command_.path + " --help");
    case vel::ErrorKind::kNoThread:
      fail(kExitFailed, text);
    case vel::ErrorKind::kNoReply:
      // The service may have died meanwhile.
      check(session_.call(activityOf({}),
                          [](const vel::Client& client) { return client.connect(); }));
      fail(kExitNoReply, text + logs());
    case vel::ErrorKind::kErrorReply:
    case vel::ErrorKind::kBadReply:
      break;
  }
  fail(kExitErrorReply, "no usable answer: " + text + logs());
}

}  // namespace velctl
