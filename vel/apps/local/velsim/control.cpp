#include "vel/apps/local/velsim/control.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

#include "base/text.h"
#include "base/utf8.h"

namespace velsim {
namespace {

constexpr char kPrinter[] = "printer";
constexpr std::size_t kLongestName = 127;  // that fits into the records

// Fits into a fixed field of a record, where a NUL ends a text.
bool isText(const std::string& name) {
  return base::isUtf8(name) && name.find('\0') == std::string::npos;
}

// Splits a line into words.
class WordReader {
 public:
  explicit WordReader(const std::string& line) : line_(line) { skipBlanks(); }

  bool isAtEnd() const { return at_ == line_.size(); }

  // Fails when a quote is not closed.
  base::Result<std::string> next() {
    std::string word;
    while (!isAtEnd() && !isBlank(line_[at_])) {
      if (line_[at_] != '"') {
        word += line_[at_++];
        continue;
      }
      base::Result<std::string> part = quotedPart();
      if (!part) {
        return part;
      }
      word += *part;
    }
    skipBlanks();
    return word;
  }

 private:
  static bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r';
  }

  void skipBlanks() {
    while (!isAtEnd() && isBlank(line_[at_])) {
      ++at_;
    }
  }

  base::Result<std::string> quotedPart() {
    std::string part;
    for (++at_; !isAtEnd(); ++at_) {
      if (line_[at_] == '"') {
        ++at_;
        return part;
      }
      if (line_[at_] == '\\' && at_ + 1 < line_.size()) {
        ++at_;
      }
      part += line_[at_];
    }
    return base::Failed{"unclosed quote: " + line_};
  }

  const std::string& line_;
  std::size_t at_ = 0;
};

std::string listRow(std::uint16_t number, const char* type, DeviceStatus status, VmNumber vm,
                    std::uint64_t sourceId, const std::string& name) {
  const std::string state = status == DeviceStatus::kAttached  ? "in vm " + std::to_string(vm)
                            : status == DeviceStatus::kIgnored ? "ignored"
                                                               : "available";
  char columns[96];
  std::snprintf(columns, sizeof columns, "%5u  %-15s  %-14s  0x%016llx  ", unsigned{number}, type,
                state.c_str(), static_cast<unsigned long long>(sourceId));
  return columns + name + "\n";
}

}  // namespace

Control::Control(Simulator& simulator, std::function<void()> vanish)
    : simulator_(simulator), vanish_(std::move(vanish)) {}

const std::vector<Control::Command>& Control::commands() {
  static const std::vector<Command> rows = {
      {"plug", "TYPE \"NAME\"", 2, "plug in a device or a printer", &Control::plug},
      {"unplug", "NUMBER", 1, "unplug a device or a printer", &Control::unplug},
      {"camera", "allow|deny", 1, "allow or deny the use of cameras", &Control::camera},
      {"list", "", 0, "list devices and printers", &Control::list},
      {"vanish", "", 0, "end the service at once, as a crash does", &Control::vanish},
      {"help", "", 0, "list the commands", &Control::help},
  };
  return rows;
}

Control::Answer Control::run(const std::string& line) {
  WordReader reader(line);
  Words words;
  while (!reader.isAtEnd()) {
    base::Result<std::string> word = reader.next();
    if (!word) {
      return word.failed();
    }
    words.push_back(std::move(*word));
  }
  if (words.empty()) {
    return std::string();
  }
  const auto command =
      std::find_if(commands().begin(), commands().end(),
                   [&words](const Command& each) { return words[0] == each.word; });
  if (command == commands().end()) {
    return base::Failed{"unknown command " + base::quoted(words[0]) + "; type help for the list"};
  }
  words.erase(words.begin());
  if (words.size() != command->count) {
    const std::string word = command->word;
    return base::Failed{command->count == 0 ? word + " takes no arguments"
                                            : "usage: " + word + " " + command->arguments};
  }
  return (this->*command->run)(words);
}

Control::Answer Control::help(const Words&) {
  std::string text;
  for (const Command& command : commands()) {
    char columns[64];
    std::snprintf(columns, sizeof columns, "%-7s%-13s", command.word, command.arguments);
    text += std::string(columns) + command.help + "\n";
  }
  return text + "Types: " + base::joined(pluggableTypes()) + ", " + kPrinter + ".\n";
}

Control::Answer Control::list(const Words&) {
  std::string text;
  simulator_.read([&text](const MachineState& machine) {
    for (const auto& [number, device] : machine.devices.all()) {
      text += listRow(number, wordFor(device.type), device.status, device.vm, device.sourceId,
                      device.name);
    }
    for (const auto& [number, printer] : machine.printers.all()) {
      const char* const type = printer.isNetwork ? wordFor(DeviceType::kNetworkPrinter) : kPrinter;
      text += listRow(number, type, printer.status, printer.vm, printer.sourceId, printer.name);
    }
  });
  return text;
}

Control::Answer Control::plug(const Words& arguments) {
  const std::string& word = arguments[0];
  const std::string& name = arguments[1];
  const std::optional<DeviceType> type = pluggableType(word);
  if (!type && word != kPrinter) {
    return base::Failed{"plug: unknown type " + base::quoted(word) + "; the types are " +
                        base::joined(pluggableTypes()) + ", " + kPrinter};
  }
  if (name.empty() || name.size() > kLongestName || !isText(name)) {
    return base::Failed{"plug: the name must have 1 to " + std::to_string(kLongestName) +
                        " bytes of UTF-8"};
  }
  std::uint16_t number = 0;
  simulator_.change([&](MachineState& machine) {
    if (type) {
      const Device* const device = machine.plug(*type, name);
      number = device ? device->number : std::uint16_t{0};
    } else {
      const Printer* const printer = machine.printers.plug(name);
      number = printer ? printer->number : std::uint16_t{0};
    }
  });
  if (number == 0) {
    return base::Failed{"plug: all device numbers are in use"};
  }
  return "plugged in " + std::to_string(number) + "\n";
}

Control::Answer Control::unplug(const Words& arguments) {
  const std::optional<std::uint16_t> number = base::parseDecimalAs<std::uint16_t>(arguments[0]);
  if (!number) {
    return base::Failed{"unplug: expected a number from 0 to 65535, got " +
                        base::quoted(arguments[0])};
  }
  Status status = Status::kOk;
  simulator_.change([&](MachineState& machine) {
    status = machine.devices.unplug(*number);
    if (status == Status::kUnknownDevice) {
      status = machine.printers.unplug(*number);
    }
  });
  if (status != Status::kOk) {
    return base::Failed{"unplug: no device or printer " + arguments[0] +
                        " is plugged in; type list for those that are"};
  }
  return "unplugged " + arguments[0] + "\n";
}

Control::Answer Control::camera(const Words& arguments) {
  const bool isAllowed = arguments[0] == "allow";
  if (!isAllowed && arguments[0] != "deny") {
    return base::Failed{"camera: expected allow or deny, got " + base::quoted(arguments[0])};
  }
  simulator_.change([&](MachineState& machine) { machine.devices.allowCamera(isAllowed); });
  return std::string(isAllowed ? "cameras allowed\n" : "cameras denied\n");
}

Control::Answer Control::vanish(const Words&) {
  vanish_();
  return std::string();
}

}  // namespace velsim
