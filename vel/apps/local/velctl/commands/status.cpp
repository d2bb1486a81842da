// velctl status: whether the bus can be reached, who runs the service, its VMs, and how long a call
// takes.

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <optional>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/checks/call_time.h"
#include "vel/apps/local/velctl/checks/process_facts.h"
#include "vel/apps/local/velctl/checks/way_to_service.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/output/time_forms.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

constexpr char kVmsName[] = "vms";

// What is known so far.
struct Status {
  qxbus::ServiceCheck way;
  std::string service = "absent";
  std::optional<ProcessFacts> process;
  std::optional<TimedCalls> calls;
  std::optional<std::vector<vel::Device>> devices;
};

template <typename Value>
Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

std::string busState(const Status& status) {
  if (status.way.isDirect) {
    return "direct";
  }
  return status.way.broken && *status.way.broken < qxbus::BusLink::kService ? "unreachable"
                                                                            : "reachable";
}

// When the process began, as the clock of this machine goes now.
std::optional<std::string> beginning(const Status& status, const char* format, bool isLocal) {
  if (!status.process) {
    return std::nullopt;
  }
  const std::time_t time =
      std::time(nullptr) - static_cast<std::time_t>(status.process->age.count());
  struct tm parts = {};
  if (isLocal) {
    ::localtime_r(&time, &parts);
  } else {
    ::gmtime_r(&time, &parts);
  }
  char text[64];
  return std::string(text, std::strftime(text, sizeof text, format, &parts));
}

Json commandOf(const Status& status) {
  return status.process ? Json(status.process->command) : Json();
}

const std::vector<Field<Status>>& statusFields() {
  static const auto& fields = *new std::vector<Field<Status>>{
      {{"bus", Type::kText}, "", [](const Status& status) -> Json { return busState(status); }},
      {{"address", Type::kText},
       "",
       [](const Status& status) -> Json { return status.way.address.text; }},
      {{"addressSource", Type::kText},
       "",
       [](const Status& status) -> Json { return std::string(nameOf(status.way.address.source)); }},
      {{"service", Type::kText}, "", [](const Status& status) -> Json { return status.service; }},
      {{"user", Type::kInteger},
       "",
       [](const Status& status) -> Json { return orNull(status.way.user); }},
      {{"userName", Type::kText},
       "",
       [](const Status& status) -> Json {
         return status.way.user ? orNull(userNameOf(*status.way.user)) : Json();
       }},
      {{"process", Type::kInteger},
       "",
       [](const Status& status) -> Json { return orNull(status.way.process); }},
      {{"command", Type::kText}, "", [](const Status& status) { return commandOf(status); }},
      {{"since", Type::kText},
       "",
       [](const Status& status) -> Json {
         return orNull(beginning(status, "%Y-%m-%dT%H:%M:%SZ", false));
       }},
      {{"callMicroseconds", Type::kInteger},
       "",
       [](const Status& status) -> Json {
         return status.calls ? Json(status.calls->median.count()) : Json();
       }},
  };
  return fields;
}

// --- VMs -----------------------------------------------------------------------------------------

struct VmStatus {
  vel::Vm vm;
  std::optional<std::size_t> devices;
};

const std::vector<Field<VmStatus>>& vmStatusFields() {
  static const auto& fields = *new std::vector<Field<VmStatus>>{
      {{"vm", Type::kVm},
       "",
       [](const VmStatus& status) -> Json {
         return {{"vm", status.vm.name}, {"vmNumber", status.vm.number.value()}};
       }},
      {{"attachedDevices", Type::kInteger},
       "",
       [](const VmStatus& status) -> Json { return orNull(status.devices); }},
  };
  return fields;
}

std::vector<VmStatus> vmsOf(const Status& status) {
  std::vector<VmStatus> vms;
  for (const vel::Vm& vm : status.calls->vms) {
    std::optional<std::size_t> count;
    if (status.devices) {
      count = static_cast<std::size_t>(std::count_if(
          status.devices->begin(), status.devices->end(), [&vm](const vel::Device& device) {
            return device.isAttached() && device.vmNumber == vm.number;
          }));
    }
    vms.push_back({vm, count});
  }
  return vms;
}

std::string textOf(const VmStatus& status) {
  std::string text =
      base::printable(status.vm.name) + " (" + std::to_string(status.vm.number.value()) + ")";
  if (status.devices) {
    text += ", " +
            (*status.devices == 0 ? std::string("no device")
                                  : base::counted(*status.devices, "device")) +
            " attached";
  }
  return text;
}

// --- Both forms ----------------------------------------------------------------------------------

Json jsonOf(const Status& status) {
  Json json = jsonOf(statusFields(), status);
  if (!status.calls) {
    json[kVmsName] = nullptr;
    return json;
  }
  json[kVmsName] = Json::array();
  for (const VmStatus& vm : vmsOf(status)) {
    json[kVmsName].push_back(jsonOf(vmStatusFields(), vm));
  }
  return json;
}

std::string textOf(const Status& status, const Terminal& terminal) {
  const std::string bus = busState(status);
  const qxbus::ServiceCheck& way = status.way;
  std::vector<std::pair<std::string, Cell>> lines = {
      {"bus", {bus, bus == "unreachable" ? Style::kBad : Style::kGood}},
      {"address", addressText(way)},
      {"service", {status.service, status.service == "running" ? Style::kGood : Style::kBad}}};
  if (way.user) {
    lines.emplace_back("user", userText(*way.user));
  }
  if (way.process) {
    lines.emplace_back("process",
                       std::to_string(*way.process) +
                           (status.process ? ' ' + base::printable(status.process->command) : ""));
  }
  if (const auto since = beginning(status, "%Y-%m-%d %H:%M:%S", true)) {
    lines.emplace_back("since", *since + ", " + ageText(status.process->age));
  }
  if (status.calls) {
    std::string vms;
    for (const VmStatus& vm : vmsOf(status)) {
      vms += (vms.empty() ? "" : "\n") + textOf(vm);
    }
    lines.emplace_back("VMs", vms.empty() ? "none" : vms);
    lines.emplace_back("call", durationText(status.calls->median) + ", median of " +
                                   std::to_string(kTimedCalls) + " of " + kTimedMethod);
  }
  return fieldsText(lines, terminal);
}

// The members and the text of what is known go with the failure.
[[noreturn]] void fail(const Invocation& invocation, const Status& status, const Failure& failure) {
  if (invocation.output().form() == Form::kText) {
    invocation.output().text(textOf(status, invocation.output().terminal()) + '\n');
  }
  throw failure.with(jsonOf(status));
}

void showStatus(Invocation& invocation) {
  Status status;
  status.way = checkWay(invocation);
  if (status.way.process) {
    status.process = processFactsOf(*status.way.process);
  }
  const std::vector<CheckedLink> links = linksOf(status.way);
  if (const CheckedLink* const wrong = firstWrong(links)) {
    if (status.way.broken == qxbus::BusLink::kServiceUser) {
      status.service = "refused";
    }
    fail(invocation, status, failureOf("status", *wrong));
  }
  invocation.setMethod(kTimedMethod);
  vel::Result<TimedCalls> calls = TimedCalls();
  try {
    calls = timeCalls(invocation);
  } catch (const TimeOver&) {
    status.service = "not answering";
    fail(
        invocation, status,
        Failure(kExitNoReply, invocation.description() + ": no answer within the time of --timeout",
                std::nullopt, kTimedMethod));
  }
  if (!calls) {
    try {
      invocation.fail(calls.error());
    } catch (const Failure& failure) {
      status.service = failure.code() == kExitNoReply      ? "not answering"
                       : failure.code() == kExitErrorReply ? "answering with errors"
                                                           : "absent";
      fail(invocation, status, failure);
    }
  }
  status.service = "running";
  status.calls = *calls;
  // Without the devices the VMs are shown, which is no reason to fail.
  const vel::Result<std::vector<vel::Device>> devices = invocation.call(
      [](const vel::Client& client, const Values&) { return client.localDevices(); });
  if (devices) {
    status.devices = *devices;
  }
  invocation.output().line(textOf(status, invocation.output().terminal()), jsonOf(status));
}

}  // namespace

std::vector<Command> statusCommands() {
  Action action = runs("", &showStatus, membersOf(statusFields()));
  action.list = kVmsName;
  action.elements = membersOf(vmStatusFields());
  return {
      {"status",
       "Show the bus, the service and its process, its VMs, and how long a call takes",
       {},
       action,
       {{"status", "The state of everything"},
        {"status --json | jq -r .service",
         "running, not answering, answering with errors, refused "
         "or absent"}},
       "Without a bus or a service the command fails, and shows what is known. In JSON that\n"
       "stands before the error. \"velctl doctor\" says what is wrong and what to do."},
  };
}

}  // namespace velctl
