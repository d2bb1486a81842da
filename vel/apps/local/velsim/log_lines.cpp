#include "vel/apps/local/velsim/log_lines.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velsim/machine/status.h"
#include "vel/apps/local/velsim/recording/decoding.h"
#include "vel/protocol/access.h"
#include "vel/protocol/events.h"
#include "vel/protocol/meanings.h"
#include "vel/protocol/methods.h"

namespace velsim {
namespace {

using velprotocol::Argument;
using velprotocol::ArgumentList;

constexpr char kCameraMethod[] = "CheckCameraAuthStat";

std::string inQuotes(std::string_view text) {
  return base::quoted(base::printable(text));
}

std::string textOf(const OrderedJson& json);

// "vm 101, name "x"": a text that is empty says nothing.
std::string membersOf(const OrderedJson& json) {
  std::string text;
  for (const auto& [key, value] : json.items()) {
    const bool isEmpty = value.is_string() && value.get_ref<const std::string&>().empty();
    if (!isEmpty) {
      text += (text.empty() ? "" : ", ") + key + " " + textOf(value);
    }
  }
  return text;
}

// A record in a list by its first member, which is its number, and its name.
std::string itemOf(const OrderedJson& json) {
  const auto name = json.is_object() ? json.find("name") : json.end();
  return name != json.end() ? textOf(json.begin().value()) + " " + textOf(*name) : textOf(json);
}

std::string textOf(const OrderedJson& json) {
  if (json.is_string()) {
    return inQuotes(json.get_ref<const std::string&>());
  }
  if (json.is_object()) {
    return "{" + membersOf(json) + "}";
  }
  if (json.is_array()) {
    std::string items;
    for (const OrderedJson& item : json) {
      items += (items.empty() ? "" : ", ") + itemOf(item);
    }
    return "[" + items + "]";
  }
  return json.dump();
}

// Some texts, and source ids, travel as bytes.
std::string textOf(const qxbus::Value& value, const Argument& argument,
                   const OrderedJson& decoded) {
  const auto* const bytes = std::get_if<qxbus::Bytes>(&value);
  if (!bytes || argument.record) {
    return textOf(decoded);
  }
  if (argument.size == sizeof(std::uint64_t)) {
    return std::to_string(velprotocol::read(
        *bytes, velprotocol::NumberField<std::uint64_t>("", 0, velprotocol::FixedBy::kClient, "")));
  }
  const std::string text(bytes->begin(), bytes->end());
  return qxbus::isText(text) ? inQuotes(text) : base::hexOf(text);
}

std::string nameOfDevice(const MachineState& machine, std::uint16_t number) {
  if (const Device* const device = machine.devices.find(number)) {
    return device->name;
  }
  const Printer* const printer = machine.printers.find(number);
  return printer ? printer->name : "";
}

std::string nameOfSource(const MachineState& machine, std::uint64_t sourceId) {
  if (const Device* const device = machine.devices.findBySource(sourceId)) {
    return device->name;
  }
  const Printer* const printer = machine.printers.findBySource(sourceId);
  return printer ? printer->name : "";
}

std::uint64_t sourceIdIn(const qxbus::Values& arguments, int index) {
  const qxbus::Bytes* const bytes = qxbus::readBytes(arguments, index);
  return bytes ? velprotocol::read(*bytes, velprotocol::NumberField<std::uint64_t>(
                                               "", 0, velprotocol::FixedBy::kClient, ""))
               : qxbus::readUInt64(arguments, index);
}

// What the argument stands for; empty when it stands for nothing that has a name.
std::string nameOf(const MachineState& machine, const Argument& argument,
                   const qxbus::Values& arguments, int index) {
  if (argument.name == "vm") {
    return machine.vms.nameOf(static_cast<VmNumber>(qxbus::readInt32(arguments, index)));
  }
  const bool isNumber = !std::holds_alternative<qxbus::Bytes>(arguments[std::size_t(index)]);
  if (isNumber && (argument.name == "device" || argument.name == "printer")) {
    return nameOfDevice(machine, static_cast<std::uint16_t>(qxbus::readInt32(arguments, index)));
  }
  return argument.name == "sourceId" ? nameOfSource(machine, sourceIdIn(arguments, index)) : "";
}

ArgumentList argumentsOf(const std::string& method) {
  const velprotocol::Method* const found = velprotocol::find(method);
  return ArgumentList(found ? found->arguments : std::string_view());
}

MaskableValues shown(const qxbus::Values& values) {
  return {values.begin(), values.end()};
}

// Whether the reply begins with a status.
bool isStatus(const std::string& method) {
  const velprotocol::Method* const found = velprotocol::find(method);
  const std::string_view reply = found ? found->reply : std::string_view();
  return method != kCameraMethod && (reply.substr(0, reply.find(':')) == "status" ||
                                     reply.substr(0, reply.find(':')) == "result");
}

std::string wordOf(std::int32_t status) {
  std::string word(nameOf(static_cast<Status>(status)));
  std::replace(word.begin(), word.end(), '-', ' ');
  return word;
}

std::string refusal(std::int32_t status) {
  const std::string word = wordOf(status);
  return "refused: " + (word.empty() ? "status" : word) + " (" + std::to_string(status) + ")";
}

// The meaning of a number in a record; empty when it has none.
std::string_view meaningOf(const velprotocol::Layout& record, std::string_view field,
                           std::int64_t number) {
  struct Row {
    const velprotocol::Layout* record;
    std::string_view field;
    std::string_view (*word)(std::int64_t number);
  };
  static const Row rows[] = {
      {&velprotocol::device::kLayout, velprotocol::device::kStatus.name,
       [](std::int64_t each) { return wordIn(velprotocol::kDeviceStatuses, each); }},
      {&velprotocol::device::kLayout, velprotocol::device::kPolicy.name,
       [](std::int64_t each) { return wordIn(velprotocol::kLocalPolicies, each); }},
      {&velprotocol::device::kLayout, velprotocol::device::kType.name,
       [](std::int64_t each) { return wordIn(velprotocol::kDeviceTypes, each); }},
      {&velprotocol::printer::kLayout, velprotocol::printer::kStatus.name,
       [](std::int64_t each) { return wordIn(velprotocol::kDeviceStatuses, each); }},
      {&velprotocol::diagnosis::kLayout, velprotocol::diagnosis::kStatus.name,
       [](std::int64_t each) { return wordIn(velprotocol::kDiagnosisStatuses, each); }},
  };
  for (const Row& row : rows) {
    if (row.record == &record && row.field == field) {
      return row.word(number);
    }
  }
  return {};
}

std::string recordText(const OrderedJson& record, const velprotocol::Layout& layout) {
  std::string text;
  for (const auto& [key, value] : record.items()) {
    const bool isEmpty = value.is_string() && value.get_ref<const std::string&>().empty();
    if (isEmpty) {
      continue;
    }
    text += ", " + key + " " + textOf(value);
    if (value.is_number_integer()) {
      const std::string_view word = meaningOf(layout, key, value.get<std::int64_t>());
      text += word.empty() ? "" : " (" + std::string(word) + ")";
    }
  }
  return text;
}

}  // namespace

RequestLine::RequestLine(const Simulator& simulator, std::string method, qxbus::Values arguments)
    : method_(std::move(method)), arguments_(std::move(arguments)) {
  simulator.read([this](const MachineState& machine) {
    const ArgumentList list = argumentsOf(method_);
    for (std::size_t i = 0; i < std::min(list.size(), arguments_.size()); ++i) {
      const std::string name = nameOf(machine, list[i], arguments_, static_cast<int>(i));
      if (!name.empty()) {
        names_[std::string(list[i].name)] = name;
      }
    }
  });
}

LogLine RequestLine::with(const Simulator::Answer& answer) const {
  const ArgumentList list = argumentsOf(method_);
  const OrderedJson arguments = decodedArguments(method_, shown(arguments_));
  LogLine line{method_ + "(", {{"kind", "request"}, {"method", method_}, {"arguments", arguments}}};
  std::string text;
  for (std::size_t i = 0; i < std::min(list.repeatedFrom(), arguments_.size()); ++i) {
    const std::string name(list[i].name);
    if (name != "unused") {
      text += (text.empty() ? "" : ", ") + name + " " +
              textOf(arguments_[i], list[i], arguments.value(name, OrderedJson()));
      const auto known = names_.find(name);
      text += known == names_.end() ? "" : " " + inQuotes(known->second);
    }
  }
  if (const auto items = arguments.find("list"); items != arguments.end()) {
    text += (text.empty() ? "" : ", ") + textOf(*items);
  }
  line.text += text + ") -> ";
  if (!names_.empty()) {
    line.json["names"] = names_;
  }

  if (const auto* const error = std::get_if<Simulator::Error>(&answer)) {
    line.text += "error: " + base::printable(error->text);
    line.json["result"] = "error";
    line.json["error"] = error->text;
    return line;
  }
  const auto& values = std::get<qxbus::Values>(answer);
  OrderedJson reply = decodedReply(method_, shown(values));
  const bool hasStatus = isStatus(method_);
  const std::int32_t status = hasStatus ? qxbus::readInt32(values, 0) : 0;
  line.json["result"] = status == 0 ? "ok" : "refused";
  if (hasStatus) {
    line.json["status"] = status;
    line.json["statusName"] = nameOf(static_cast<Status>(status));
  }
  line.json["reply"] = reply;
  if (method_ == kCameraMethod) {
    const auto camera = static_cast<velprotocol::CameraStatus>(qxbus::readInt32(values, 0));
    line.text += "camera " + std::string(nameOf(camera)) + " (" +
                 std::to_string(static_cast<std::int32_t>(camera)) + ")";
    return line;
  }
  if (hasStatus && !reply.empty()) {
    line.text += status == 0 ? "ok" : refusal(status);
    reply.erase(reply.begin());
    line.text += reply.empty() ? "" : ", ";
  }
  line.text += membersOf(reply);
  return line;
}

LogLine lineOf(const BusEvent& event) {
  const velprotocol::Event* const row = velprotocol::findEvent(event.code);
  const auto code = static_cast<std::int32_t>(event.code);
  OrderedJson json = decodedEvent(shown(argumentsOf(event)));
  LogLine line;
  line.text = "event " + (row ? std::string(row->name) : "without a name") + " (" +
              std::to_string(code) + "): vm " + std::to_string(event.vm);
  line.text += event.vmName.empty() ? "" : " " + inQuotes(event.vmName);
  line.text += row ? recordText(json["record"], *row->record) : "";
  line.json = {{"kind", "event"}};
  line.json.update(json);
  if (!event.vmName.empty()) {
    line.json["vmName"] = event.vmName;
  }
  return line;
}

}  // namespace velsim
