// velctl watch: prints events.

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

// The code with which the library reports the end of a session.
constexpr int kSessionEnded = 5;
// The library itself looks for the service every 2 s, for about 1000 s.
constexpr std::chrono::seconds kReconnectInterval{30};

struct Vms {
  std::vector<std::string> vmIds;
};

// A line of output in both forms.
struct Line {
  std::string text;
  Json json;
  // Of a death and a return.
  std::optional<bool> isServiceThere;
};

using Lines = Inbox<Line>;

std::string withCode(const std::string& text, int code) {
  return text + " (code " + std::to_string(code) + ")";
}

// record is the event itself, or the part of it that is shown.
template <typename Record>
void addEvent(Lines& lines, const vel::Event& event, const char* kind, const Record& record) {
  const int code = vel::number(event.code);
  Json json = {{"event", kind}, {"code", code}};
  json.update(toJson(record));
  lines.add({withCode(describe(record), code), json, std::nullopt});
}

void addDeath(Lines& lines, const vel::ServiceDeath& death) {
  lines.addAlways({"the service has died", {{"event", "serviceGone"}}, false});
  for (const std::string& vm : death.vms) {
    lines.addAlways(
        {withCode(displayName(vm) + ": session ended, the service has died", kSessionEnded),
         {{"event", "sessionEnded"}, {"vm", jsonText(vm)}, {"code", kSessionEnded}},
         std::nullopt});
  }
}

void addReturn(Lines& lines, const vel::ServiceReturn& back) {
  Json vms = Json::array();
  for (const std::string& vm : back.vms) {
    vms.push_back(jsonText(vm));
  }
  std::string text = "the service is back";
  for (const vel::Error& failure : back.failures) {
    text += "; " + base::printable(failure.message());
  }
  lines.addAlways({text, {{"event", "serviceBack"}, {"vms", vms}}, true});
}

// The VMs to watch: those named, otherwise all of the service. The library drops events of VMs
// whose numbers it has not learned.
std::set<std::string> vmsToWatch(const Operation& operation,
                                 const std::vector<std::string>& named) {
  std::set<std::string> vms(named.begin(), named.end());
  for (const std::string& vm : vms) {
    const Operation known("watch", vm);
  }
  if (named.empty()) {
    for (const vel::Vm& vm : operation.valueOf(operation.client().vms())) {
      static_cast<void>(operation.client().vmNumber(vm.name));
      vms.insert(vm.name);
    }
  }
  return vms;
}

std::string namesOf(const std::set<std::string>& vms) {
  std::vector<std::string> names;
  for (const std::string& vm : vms) {
    names.push_back(displayName(vm));
  }
  return names.empty() ? displayName("") : base::joined(names);
}

// Writes events until the watch is stopped.
void writeEvents(const Output& output, Lines& lines, const vel::Client& client) {
  bool isServiceThere = true;
  for (;;) {
    const std::optional<Line> line =
        lines.next(isServiceThere ? Lines::Clock::time_point::max()
                                  : Lines::Clock::now() + kReconnectInterval);
    if (line) {
      Output::noteDropped(lines.droppedBefore(), "event");
      output.line(line->text, line->json);
      isServiceThere = line->isServiceThere.value_or(isServiceThere);
    } else if (lines.isStopped()) {
      return;
    } else {
      // A connection brings the return.
      static_cast<void>(client.connect());
    }
  }
}

void watch(const Output& output, const Vms& named) {
  const Operation operation("watch");
  const vel::Client& client = operation.client();
  operation.check(client.connect());
  const std::set<std::string> vms = vmsToWatch(operation, named.vmIds);
  Lines lines;
  const vel::Subscription subscriptions[] = {
      client.onPrinter([&](const vel::PrinterEvent& event) {
        addEvent(lines, event, "printer", event.printer);
      }),
      client.onDevice(
          [&](const vel::DeviceEvent& event) { addEvent(lines, event, "device", event.device); }),
      client.onNewDevice(
          [&](const vel::NewDeviceEvent& event) { addEvent(lines, event, "newDevice", event); }),
      client.onDiagnosis(
          [&](const vel::DiagnosisEvent& event) { addEvent(lines, event, "diagnosis", event); }),
      client.onCommand(
          [&](const vel::CommandEvent& event) { addEvent(lines, event, "command", event); }),
      client.onServiceDeath([&](const vel::ServiceDeath& death) { addDeath(lines, death); }),
      client.onServiceReturn([&](const vel::ServiceReturn& back) { addReturn(lines, back); }),
  };

  // Until here a signal ends the process, as it does while any other command waits for an answer.
  const Interruption interruption([&] { lines.stop(); });
  Output::note("watching " + namesOf(vms) + "; interrupt to end");
  try {
    writeEvents(output, lines, client);
  } catch (const Interrupted&) {
    // The event in hand is lost as well.
    Output::noteDropped(lines.remaining() + 1, "event");
  }
}

}  // namespace

void addWatchCommand(CommandLine& commandLine) {
  const auto named = std::make_shared<Vms>();
  const ParserCommand command =
      commandLine.command("watch", "Print events of all kinds until interrupted (exit status 0)",
                          [named](const Output& output) { watch(output, *named); });
  command.addOption("vm,--vm", named->vmIds,
                    "Names of VMs; events of other VMs are left out (default: all VMs)");
}

}  // namespace velctl
