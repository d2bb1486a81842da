// Events, as lines for people and in the JSON form.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_EVENTS_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_EVENTS_H

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "vel/apps/local/velctl/output/field.h"
#include "vel/apps/local/velctl/output/json.h"
#include "vel/client/client.h"

namespace velctl {

// What the service does itself.
struct ServiceChange {
  enum class State { kAbsent, kGone, kBack };

  State state = State::kAbsent;
  // The VMs whose sessions have ended, or whose events arrive again.
  std::vector<std::string> vms;
  // Why the service is absent, or could not be asked for all that it has to learn again.
  std::string reason;
};

using AnyEvent = std::variant<vel::DeviceEvent, vel::PrinterEvent, vel::NewDeviceEvent,
                              vel::DiagnosisEvent, vel::CommandEvent, ServiceChange>;

struct SeenEvent {
  std::chrono::system_clock::time_point time;
  AnyEvent event;
  // Of a diagnosis, when it is known: the device, which the event names by a number only.
  std::optional<vel::Device> device = {};
};

// "device", "printer", "new-device", "diagnosis", "command" and "service".
const std::vector<std::string>& eventKinds();
std::string kindOf(const AnyEvent& event);

// The VM that an event concerns: that of the record, or else the one that it was sent for.
struct EventVm {
  std::string name;  // empty: not known, or none
  vel::VmNumber number;
};
EventVm vmOf(const AnyEvent& event);

// One line: "14:03:07.250  device      device attached (6): 12 "Stick", ..."
std::string lineOf(const SeenEvent& seen);
// The same without time and kind.
std::string describe(const SeenEvent& seen);
Json jsonOf(const SeenEvent& seen);
// The lines that jsonOf() makes.
std::vector<EventLine> eventLines();
EventLine diagnosisLine();

// The bytes of an answer to a command: as text when they are printable, otherwise as a dump.
std::string answerText(const std::optional<std::string>& answer);
// Members "hex" and "text"; null when there is no answer.
std::vector<Member> answerMembers();
Json answerJson(const std::optional<std::string>& answer);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_EVENTS_H
