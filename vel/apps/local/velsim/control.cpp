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

Control::Result wrong(std::string text) {
  return {false, std::move(text)};
}

// Fits into a fixed field of a record, where a NUL ends a text.
bool isText(const std::string& name) {
  return base::isUtf8(name) && name.find('\0') == std::string::npos;
}

// Reads the words of a line one after the other.
class WordReader {
 public:
  explicit WordReader(const std::string& line) : line_(line) { skipBlanks(); }

  bool isAtEnd() const { return at_ == line_.size(); }

  // Empty when a quote is not closed.
  std::optional<std::string> next() {
    std::string word;
    while (!isAtEnd() && !isBlank(line_[at_])) {
      if (line_[at_] == '"') {
        if (!readQuoted(&word)) {
          return std::nullopt;
        }
      } else {
        word += line_[at_++];
      }
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

  bool readQuoted(std::string* word) {
    for (++at_; !isAtEnd(); ++at_) {
      if (line_[at_] == '"') {
        ++at_;
        return true;
      }
      if (line_[at_] == '\\' && at_ + 1 < line_.size()) {
        ++at_;
      }
      *word += line_[at_];
    }
    return false;
  }

  const std::string& line_;
  std::size_t at_ = 0;
};

std::string line(std::uint16_t number, const char* type, DeviceStatus status, VmNumber vm,
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

Control::Result Control::run(const std::string& line) {
  WordReader reader(line);
  Words words;
  while (!reader.isAtEnd()) {
    std::optional<std::string> word = reader.next();
    if (!word) {
      return wrong("unclosed quote: " + line);
    }
    words.push_back(std::move(*word));
  }
  if (words.empty()) {
    return {};
  }
  const auto command =
      std::find_if(commands().begin(), commands().end(),
                   [&words](const Command& each) { return words[0] == each.word; });
  if (command == commands().end()) {
    return wrong("unknown command " + base::quoted(words[0]) + "; type help for the list");
  }
  words.erase(words.begin());
  if (words.size() != command->count) {
    const std::string word = command->word;
    return wrong(command->count == 0 ? word + " takes no arguments"
                                     : "usage: " + word + " " + command->arguments);
  }
  return (this->*command->run)(words);
}

Control::Result Control::help(const Words&) {
  std::string text;
  for (const Command& command : commands()) {
    char columns[64];
    std::snprintf(columns, sizeof columns, "%-7s%-13s", command.word, command.arguments);
    text += std::string(columns) + command.help + "\n";
  }
  return {true, text + "Types: " + base::joined(pluggableTypes()) + ", " + kPrinter + ".\n"};
}

Control::Result Control::list(const Words&) {
  std::string text;
  simulator_.read([&text](const MachineState& machine) {
    for (const auto& [number, device] : machine.devices.all()) {
      text += line(number, wordFor(device.type), device.status, device.vm, device.sourceId,
                   device.name);
    }
    for (const auto& [number, printer] : machine.printers.all()) {
      const char* const type = printer.isNetwork ? wordFor(DeviceType::kNetworkPrinter) : kPrinter;
      text += line(number, type, printer.status, printer.vm, printer.sourceId, printer.name);
    }
  });
  return {true, text};
}

Control::Result Control::plug(const Words& arguments) {
  const std::string& word = arguments[0];
  const std::string& name = arguments[1];
  const std::optional<DeviceType> type = pluggableType(word);
  if (!type && word != kPrinter) {
    return wrong("plug: unknown type " + base::quoted(word) + "; the types are " +
                 base::joined(pluggableTypes()) + ", " + kPrinter);
  }
  if (name.empty() || name.size() > kLongestName || !isText(name)) {
    return wrong("plug: the name must have 1 to " + std::to_string(kLongestName) +
                 " bytes of UTF-8");
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
    return wrong("plug: all device numbers are in use");
  }
  return {true, "plugged in " + std::to_string(number) + "\n"};
}

Control::Result Control::unplug(const Words& arguments) {
  const std::optional<std::uint16_t> number = base::parseDecimalAs<std::uint16_t>(arguments[0]);
  if (!number) {
    return wrong("unplug: expected a number from 0 to 65535, got " + base::quoted(arguments[0]));
  }
  Status status = Status::kOk;
  simulator_.change([&](MachineState& machine) {
    status = machine.devices.unplug(*number);
    if (status == Status::kUnknownDevice) {
      status = machine.printers.unplug(*number);
    }
  });
  if (status != Status::kOk) {
    return wrong("unplug: no device or printer " + arguments[0] +
                 " is plugged in; type list for those that are");
  }
  return {true, "unplugged " + arguments[0] + "\n"};
}

Control::Result Control::camera(const Words& arguments) {
  const bool isAllowed = arguments[0] == "allow";
  if (!isAllowed && arguments[0] != "deny") {
    return wrong("camera: expected allow or deny, got " + base::quoted(arguments[0]));
  }
  simulator_.change([&](MachineState& machine) { machine.devices.allowCamera(isAllowed); });
  return {true, isAllowed ? "cameras allowed\n" : "cameras denied\n"};
}

Control::Result Control::vanish(const Words&) {
  vanish_();
  return {};
}

}  // namespace velsim
