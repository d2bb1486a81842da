// What control commands share: reading their arguments, before and while they run.

#ifndef VEL_APPS_LOCAL_VELSIM_COMMAND_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELSIM_COMMAND_ARGUMENTS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/control.h"

namespace velsim {

// A command with its arguments, ready to run.
using Action = std::function<Command::Answer()>;
// Reads the arguments, without an effect.
using Prepare = std::function<base::Result<Action>(const Words& arguments)>;

// A command that checks its arguments by preparing it.
Command prepared(Command command, const Prepare& prepare);

// The whole of what a command does to the machine: the text of success, or the reason.
using Change = std::function<Command::Answer(MachineState& machine)>;
Action changing(Simulator& simulator, Change change);

// One device or printer.
struct Subject {
  std::uint16_t number;
  bool isDevice;  // otherwise a printer
};

// By number, or by name: of several with one name the first. Fails when none is plugged in.
base::Result<Subject> findSubject(const MachineState& machine, const std::string& command,
                                  const std::string& word);
// By name, or by number.
base::Result<VmNumber> findVm(const MachineState& machine, const std::string& command,
                              const std::string& word);

// Success with this text, or the status as the reason.
Command::Answer answerOf(Status status, const std::string& command, const std::string& done);

// Whether a name fits into a record, as text.
bool isName(const std::string& name);
base::Failed badName(const std::string& command);

// The failure of an argument, such as: camera: expected allow or deny, got "maybe".
base::Failed unexpected(const std::string& command, const std::string& expected,
                        const std::string& word);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_COMMAND_ARGUMENTS_H
