// Service commands: the commands of a CommandRunner, whose answer comes as an event with a JSON
// text,
// {"id":70000,"command":"vms","answer":{...}}, in which id is the client's own; "error" stands in
// place of "answer" when the command has failed. An unknown command is refused with a status, and
// no event follows.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/command_runner.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

void Simulator::run(ServiceCommand command, const qxbus::Values& arguments,
                    const Respond& respond) {
  const VmNumber vm = vmOf(arguments);
  const std::string line = qxbus::readString(arguments, 1);
  CommandRunner* runner = nullptr;
  {
    const platform::MutexLock lock(mutex_);
    runner = commands_;
    if (command == ServiceCommand::kHelp) {
      respond(qxbus::Values{runner ? runner->help() : std::string()});
      return;
    }
    // Number 0 stands for this machine.
    const Status refusal = vm != 0 && !machine_.vms.find(vm) ? Status::kUnknownVm
                           : !runner || !runner->knows(line) ? Status::kUnknownCommand
                                                             : Status::kOk;
    respond(status(refusal));
    if (refusal != Status::kOk) {
      return;
    }
  }
  // The command uses the simulator as any other thread does.
  const base::Result<Json> answer = runner->answer(line);
  Json event = {{"id", int32Of(arguments, 2)}, {"command", line}};
  event[answer ? "answer" : "error"] = answer ? *answer : Json(answer.reason());
  change([&](MachineState& machine) { machine.events.add(vm, CommandAnswer{jsonText(event)}); });
}

const std::vector<MethodRow>& serviceCommandMethods() {
  static const std::vector<MethodRow> rows = {
      {"dovelcmd", ServiceCommand::kRun},
      {"getvelcmdhelp", ServiceCommand::kHelp},
  };
  return rows;
}

}  // namespace velsim
