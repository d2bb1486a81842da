#include "vel/apps/local/velsim/command_arguments.h"

#include <utility>

#include "base/text.h"
#include "base/utf8.h"

namespace velsim {
namespace {

constexpr std::size_t kLongestName = 127;  // that fits into the records

}  // namespace

Command prepared(Command command, const Prepare& prepare) {
  command.run = [prepare](const Words& arguments) -> Command::Answer {
    const base::Result<Action> action = prepare(arguments);
    return action ? (*action)() : action.failed();
  };
  command.check = [prepare](const Words& arguments) -> base::Result<void> {
    const base::Result<Action> action = prepare(arguments);
    return action ? base::Result<void>() : base::Result<void>(action.failed());
  };
  return command;
}

Action changing(Simulator& simulator, Change change) {
  return [&simulator, change = std::move(change)] {
    std::optional<Command::Answer> answer;
    simulator.change([&](MachineState& machine) { answer.emplace(change(machine)); });
    return *answer;
  };
}

base::Result<Subject> findSubject(const MachineState& machine, const std::string& command,
                                  const std::string& word) {
  const auto number = base::parseDecimalAs<std::uint16_t>(word);
  if (number && machine.devices.find(*number)) {
    return Subject{*number, true};
  }
  if (number && machine.printers.find(*number)) {
    return Subject{*number, false};
  }
  for (const auto& [key, device] : machine.devices.all()) {
    if (device.name == word) {
      return Subject{key, true};
    }
  }
  for (const auto& [key, printer] : machine.printers.all()) {
    if (printer.name == word) {
      return Subject{key, false};
    }
  }
  return base::Failed{command + ": no device or printer " + (number ? word : base::quoted(word)) +
                      " is plugged in; type list for those that are"};
}

base::Result<VmNumber> findVm(const MachineState& machine, const std::string& command,
                              const std::string& word) {
  if (const VmNumber named = machine.vms.numberOf(word)) {
    return named;
  }
  const auto number = base::parseDecimalAs<VmNumber>(word);
  if (number && machine.vms.find(*number)) {
    return *number;
  }
  return base::Failed{command + ": there is no VM " + base::quoted(word) +
                      "; type vms for the list"};
}

Command::Answer answerOf(Status status, const std::string& command, const std::string& done) {
  if (status != Status::kOk) {
    return base::Failed{command + ": " + std::string(nameOf(status))};
  }
  return done + "\n";
}

bool isName(const std::string& name) {
  return !name.empty() && name.size() <= kLongestName && base::isUtf8(name) &&
         name.find('\0') == std::string::npos;
}

base::Failed badName(const std::string& command) {
  return {command + ": the name must have 1 to " + std::to_string(kLongestName) +
          " bytes of UTF-8"};
}

base::Failed unexpected(const std::string& command, const std::string& expected,
                        const std::string& word) {
  return {command + ": expected " + expected + ", got " + base::quoted(word)};
}

}  // namespace velsim
