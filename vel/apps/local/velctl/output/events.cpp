#include "vel/apps/local/velctl/output/events.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/output/time_forms.h"

namespace velctl {
namespace {

using velprotocol::Legend;

// The kinds, in the order of AnyEvent.
constexpr const char* kKinds[] = {"device",    "printer", "new-device",
                                  "diagnosis", "command", "service"};
static_assert(std::size(kKinds) == std::variant_size_v<AnyEvent>);

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

std::string numbered(std::string_view word, std::int64_t number) {
  return word.empty() ? std::to_string(number)
                      : std::string(word) + " (" + std::to_string(number) + ")";
}

// "device attached (6)"
std::string codeText(vel::EventCode code) {
  const std::string_view name = velprotocol::nameOf(code);
  return numbered(name.empty() ? "event" : name, vel::number(code));
}

// "12 "Stick""
template <typename Number>
std::string thingText(Number number, const std::string& name) {
  return std::to_string(number.value()) + ' ' + printableInQuotes(name);
}

// ", VM win11"; empty for none.
std::string vmText(const AnyEvent& event) {
  const EventVm vm = vmOf(event);
  if (vm.number == vel::VmNumber() && vm.name.empty()) {
    return "";
  }
  return ", VM " + (vm.name.empty() ? std::to_string(vm.number.value()) : base::printable(vm.name));
}

// --- Records of events ---------------------------------------------------------------------------

const std::vector<Field<vel::NewDeviceEvent>>& newDeviceFields() {
  using Record = vel::NewDeviceEvent;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"source", Type::kLong},
       "",
       [](const Record& event) -> Json { return event.source.value(); }},
      {{"usbId", Type::kText}, "", [](const Record& event) -> Json { return toText(event.usb); }},
      {{"name", Type::kText}, "", [](const Record& event) -> Json { return event.name; }},
      {{"isSuccess", Type::kBoolean},
       "",
       [](const Record& event) -> Json { return event.isSuccess; }},
      {{"result", Type::kText}, "", [](const Record& event) -> Json { return event.result; }},
  };
  return fields;
}

const std::vector<Field<SeenEvent>>& diagnosisFields() {
  using Record = SeenEvent;
  static const auto& fields = *new std::vector<Field<Record>>{
      {{"id", Type::kLong},
       "",
       [](const Record& seen) -> Json { return std::get<vel::DiagnosisEvent>(seen.event).id; }},
      {{"device", Type::kInteger},
       "",
       [](const Record& seen) -> Json {
         return seen.device ? Json(seen.device->number.value()) : Json();
       }},
      {{"name", Type::kText},
       "",
       [](const Record& seen) -> Json { return seen.device ? Json(seen.device->name) : Json(); }},
      {{"status", Type::kMeaning, Legend("", velprotocol::kDiagnosisStatuses)},
       "",
       [](const Record& seen) -> Json {
         return vel::number(std::get<vel::DiagnosisEvent>(seen.event).status);
       }},
      {{"text", Type::kText},
       "",
       [](const Record& seen) -> Json { return std::get<vel::DiagnosisEvent>(seen.event).text; }},
  };
  return fields;
}

std::vector<Member> serviceMembers() {
  return {{"state", Type::kText}, {"vms", Type::kAny}, {"reason", Type::kText}};
}

std::string_view wordOf(ServiceChange::State state) {
  switch (state) {
    case ServiceChange::State::kAbsent:
      return "absent";
    case ServiceChange::State::kGone:
      return "gone";
    case ServiceChange::State::kBack:
      break;
  }
  return "back";
}

std::string changeText(const ServiceChange& change) {
  const bool isGone = change.state == ServiceChange::State::kGone;
  std::vector<std::string> vms;
  for (const std::string& vm : change.vms) {
    vms.push_back(base::printable(vm));
  }
  return (change.state == ServiceChange::State::kAbsent ? "the service is not there"
          : isGone                                      ? "the service is gone"
                                                        : "the service is there") +
         std::string(vms.empty() ? ""
                     : isGone    ? ", and with it the sessions of "
                                 : ", with the VMs ") +
         base::joined(vms) + (change.reason.empty() ? "" : ": " + base::printable(change.reason));
}

Json membersOfEvent(const SeenEvent& seen) {
  return std::visit(
      Overloaded{
          [](const vel::DeviceEvent& event) { return jsonOf(deviceFields(), event.device); },
          [](const vel::PrinterEvent& event) { return jsonOf(printerFields(), event.printer); },
          [](const vel::NewDeviceEvent& event) { return jsonOf(newDeviceFields(), event); },
          [&seen](const vel::DiagnosisEvent&) { return jsonOf(diagnosisFields(), seen); },
          [](const vel::CommandEvent& event) { return answerJson(event.answer); },
          [](const ServiceChange& change) {
            Json vms = Json::array();
            for (const std::string& vm : change.vms) {
              vms.push_back(jsonText(vm));
            }
            return Json{{"state", wordOf(change.state)},
                        {"vms", vms},
                        {"reason", change.reason.empty() ? Json() : jsonText(change.reason)}};
          }},
      seen.event);
}

// Printable, with newlines and tabs.
bool isText(std::string_view bytes) {
  while (!bytes.empty()) {
    const base::Utf8Character character = base::firstCharacter(bytes);
    if (!base::isPrintable(character) && character.code != U'\n' && character.code != U'\t') {
      return false;
    }
    bytes.remove_prefix(character.length);
  }
  return true;
}

// Without the NUL that ends it.
std::string_view withoutEnd(std::string_view answer) {
  if (!answer.empty() && answer.back() == '\0') {
    answer.remove_suffix(1);
  }
  return answer;
}

EventLine eventLine(const std::string& event, const std::vector<Member>& members, bool hasCode) {
  EventLine line{event, {{"time", Type::kText}}};
  if (hasCode) {
    line.members.push_back({"code", Type::kInteger});
    line.members.push_back({"codeName", Type::kText});
    line.members.push_back({"vm", Type::kVm});
  }
  for (const Member& member : members) {
    if (member.type != Type::kVm) {
      line.members.push_back(member);
    }
  }
  return line;
}

}  // namespace

const std::vector<std::string>& eventKinds() {
  static const auto& kinds = *new std::vector<std::string>(std::begin(kKinds), std::end(kKinds));
  return kinds;
}

std::string kindOf(const AnyEvent& event) {
  return kKinds[event.index()];
}

EventVm vmOf(const AnyEvent& event) {
  const auto orElse = [](const auto& record, const vel::Event& sent) {
    return record.vmNumber == vel::VmNumber() ? EventVm{sent.vm, sent.vmNumber}
                                              : EventVm{record.vm, record.vmNumber};
  };
  return std::visit(
      Overloaded{[&](const vel::DeviceEvent& sent) { return orElse(sent.device, sent); },
                 [&](const vel::PrinterEvent& sent) { return orElse(sent.printer, sent); },
                 [](const ServiceChange&) { return EventVm(); },
                 [](const vel::Event& sent) {
                   return EventVm{sent.vm, sent.vmNumber};
                 }},
      event);
}

std::string describe(const SeenEvent& seen) {
  const std::string vm = vmText(seen.event);
  const auto status = [](const auto& record) {
    return ", " + numbered(vel::name(record.status), vel::number(record.status));
  };
  return std::visit(
      Overloaded{
          [&](const vel::DeviceEvent& event) {
            return codeText(event.code) + ": " + thingText(event.device.number, event.device.name) +
                   status(event.device) + ", policy " +
                   numbered(vel::name(event.device.policy), vel::number(event.device.policy)) + vm;
          },
          [&](const vel::PrinterEvent& event) {
            return codeText(event.code) + ": " +
                   thingText(event.printer.number, event.printer.name) + status(event.printer) + vm;
          },
          [&](const vel::NewDeviceEvent& event) {
            return codeText(event.code) + ": " + toText(event.usb) + ' ' +
                   printableInQuotes(event.name) + ", " +
                   (event.isSuccess ? "succeeded" : "failed") + ", result " +
                   printableInQuotes(event.result) + vm;
          },
          [&](const vel::DiagnosisEvent& event) {
            return codeText(event.code) + ": " +
                   (seen.device ? thingText(seen.device->number, seen.device->name)
                                : "id " + std::to_string(event.id)) +
                   status(event) + vm + ": " + base::printable(event.text);
          },
          [&](const vel::CommandEvent& event) {
            const std::string_view answer =
                event.answer ? withoutEnd(*event.answer) : std::string_view();
            return codeText(event.code) + ": " +
                   (answer.empty()   ? "empty"
                    : isText(answer) ? base::printable(answer)
                                     : "bytes " + base::hexOf(answer)) +
                   vm;
          },
          [](const ServiceChange& change) { return changeText(change); }},
      seen.event);
}

std::string lineOf(const SeenEvent& seen) {
  constexpr std::size_t kKindColumns = 12;
  std::string kind = kindOf(seen.event);
  kind.resize(kKindColumns, ' ');
  return clockTime(seen.time) + "  " + kind + describe(seen);
}

Json jsonOf(const SeenEvent& seen) {
  Json json = {{"event", kindOf(seen.event)}, {"time", isoTime(seen.time)}};
  const auto addCode = [&](const vel::Event& event) {
    const std::string_view name = velprotocol::nameOf(event.code);
    json["code"] = vel::number(event.code);
    json["codeName"] = name.empty() ? Json() : Json(name);
    const EventVm vm = vmOf(seen.event);
    json["vm"] = vm.name.empty() ? Json() : jsonText(vm.name);
    json["vmNumber"] = vm.number.value();
  };
  std::visit(Overloaded{addCode, [](const ServiceChange&) {}}, seen.event);
  Json members = membersOfEvent(seen);
  // The VM stands there already.
  members.erase("vm");
  json.update(members);
  return json;
}

std::vector<EventLine> eventLines() {
  return {eventLine(kKinds[0], membersOf(deviceFields()), true),
          eventLine(kKinds[1], membersOf(printerFields()), true),
          eventLine(kKinds[2], membersOf(newDeviceFields()), true),
          diagnosisLine(),
          eventLine(kKinds[4], answerMembers(), true),
          eventLine(kKinds[5], serviceMembers(), false)};
}

EventLine diagnosisLine() {
  return eventLine(kKinds[3], membersOf(diagnosisFields()), true);
}

std::string answerText(const std::optional<std::string>& answer) {
  if (!answer || answer->empty()) {
    return "an empty answer";
  }
  const std::string_view text = withoutEnd(*answer);
  return isText(text) ? printableLines(text) : hexDump(*answer);
}

std::vector<Member> answerMembers() {
  return {{"hex", Type::kHex}, {"text", Type::kText}};
}

Json answerJson(const std::optional<std::string>& answer) {
  if (!answer) {
    return {{"hex", nullptr}, {"text", nullptr}};
  }
  // The service ends a text with a NUL; what stands behind it is no text.
  return {{"hex", base::hexOf(*answer)}, {"text", jsonText(answer->substr(0, answer->find('\0')))}};
}

}  // namespace velctl
