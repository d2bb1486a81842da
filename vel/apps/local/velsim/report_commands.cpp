// Control commands that report something to clients by itself: progress of a diagnosis, answers to
// service commands, joysticks.

#include <limits>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velsim/command_arguments.h"
#include "vel/apps/local/velsim/machine_commands.h"

namespace velsim {
namespace {

using Answer = Command::Answer;

// 0 stands for this machine.
base::Result<VmNumber> findVmOrNone(const MachineState& machine, const std::string& command,
                                    const std::string& word) {
  return word == "0" ? base::Result<VmNumber>(VmNumber{0}) : findVm(machine, command, word);
}

base::Result<Action> diagnosis(Simulator& simulator, const Words& arguments) {
  const auto id = base::parseNumber(arguments[1], std::numeric_limits<std::uint64_t>::max());
  if (!id) {
    return unexpected("diagnosis", "a device number or source id, such as 12 or 0x7e57",
                      arguments[1]);
  }
  const std::optional<DiagnosisStatus> status =
      arguments[2] == "running" ? std::optional(DiagnosisStatus::kRunning)
      : arguments[2] == "fine"  ? std::optional(DiagnosisStatus::kFine)
      : arguments[2] == "fault" ? std::optional(DiagnosisStatus::kFault)
                                : std::nullopt;
  if (!status) {
    return unexpected("diagnosis", "running, fine or fault", arguments[2]);
  }
  return changing(simulator,
                  [vmWord = arguments[0], step = DiagnosisStep{*id, *status, arguments[3]}](
                      MachineState& machine) -> Answer {
                    const base::Result<VmNumber> vm = findVmOrNone(machine, "diagnosis", vmWord);
                    if (!vm) {
                      return vm.failed();
                    }
                    machine.events.add(*vm, step);
                    return std::string("reported\n");
                  });
}

base::Result<Action> answer(Simulator& simulator, const Words& arguments) {
  return changing(simulator,
                  [vmWord = arguments[0], text = arguments[1]](MachineState& machine) -> Answer {
                    const base::Result<VmNumber> vm = findVmOrNone(machine, "answer", vmWord);
                    if (!vm) {
                      return vm.failed();
                    }
                    machine.events.add(*vm, CommandAnswer{text});
                    return std::string("answered\n");
                  });
}

base::Result<Action> joystick(Simulator& simulator, const Words& arguments) {
  const auto position = base::parseDecimalAs<std::uint16_t>(arguments[0]);
  if (!position) {
    return unexpected("joystick", "a position from 0 to 65535", arguments[0]);
  }
  return changing(simulator, [position = *position, word = arguments[1]](MachineState& machine) {
    if (word == "calibrated") {
      return answerOf(machine.joysticks.calibrate(position), "joystick", "calibrated");
    }
    const std::vector<std::string>& names = machine.joysticks.mappings();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i] == word) {
        return answerOf(machine.joysticks.setMapping(position, static_cast<std::uint16_t>(i)),
                        "joystick", "mapping " + word);
      }
    }
    return Answer(unexpected("joystick", "calibrated, or one of " + base::joined(names), word));
  });
}

}  // namespace

std::vector<Command> reportCommands(Simulator& simulator) {
  const auto with = [&simulator](base::Result<Action> (*prepare)(Simulator&, const Words&)) {
    return [&simulator, prepare](const Words& arguments) { return prepare(simulator, arguments); };
  };
  return {
      prepared({"diagnosis", "\"VM\" ID STATUS \"TEXT\"", 4, 4,
                "report a diagnosis: running, fine or fault"},
               with(diagnosis)),
      prepared({"answer", "\"VM\" \"TEXT\"", 2, 2, "send an answer to a service command"},
               with(answer)),
      prepared(
          {"joystick", "POSITION MAPPING", 2, 2, "set the mapping of a joystick, or: calibrated"},
          with(joystick)),
  };
}

std::vector<Command> answeringCommands(const std::vector<CommandSetup>& setup) {
  constexpr std::size_t kMostWords = 1000;
  std::vector<Command> commands;
  for (const CommandSetup& row : setup) {
    commands.push_back(
        {row.word, "", 0, kMostWords, row.help,
         [answer = row.answer](const Words& /*any*/) { return Answer(answer + "\n"); }, true});
  }
  return commands;
}

}  // namespace velsim
