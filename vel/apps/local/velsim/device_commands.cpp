// Control commands for one device or printer that is plugged in.

#include "base/text.h"
#include "vel/apps/local/velsim/command_arguments.h"
#include "vel/apps/local/velsim/machine_commands.h"

namespace velsim {
namespace {

using Answer = Command::Answer;

// What happens to a device or printer that is there.
using SubjectChange = std::function<Answer(MachineState& machine, const Subject& subject)>;

Action changingSubject(Simulator& simulator, const std::string& command, const std::string& word,
                       SubjectChange change) {
  return changing(simulator,
                  [command, word, change = std::move(change)](MachineState& machine) -> Answer {
                    const base::Result<Subject> subject = findSubject(machine, command, word);
                    return subject ? change(machine, *subject) : subject.failed();
                  });
}

base::Result<Action> attach(Simulator& simulator, const Words& arguments) {
  const std::string& vmWord = arguments[1];
  return changingSubject(simulator, "attach", arguments[0],
                         [vmWord](MachineState& machine, const Subject& subject) -> Answer {
                           const base::Result<VmNumber> vm = findVm(machine, "attach", vmWord);
                           if (!vm) {
                             return vm.failed();
                           }
                           const Status status = subject.isDevice
                                                     ? machine.devices.attach(subject.number, *vm)
                                                     : machine.printers.attach(subject.number, *vm);
                           return answerOf(status, "attach",
                                           "attached " + std::to_string(subject.number) +
                                               " to VM " + std::to_string(*vm));
                         });
}

base::Result<Action> detach(Simulator& simulator, const Words& arguments) {
  return changingSubject(
      simulator, "detach", arguments[0], [](MachineState& machine, const Subject& subject) {
        Status status = Status::kOk;
        if (subject.isDevice) {
          const VmNumber vm = machine.devices.find(subject.number)->vm;
          status = machine.devices.detach(subject.number, vm);
        } else {
          const VmNumber vm = machine.printers.find(subject.number)->vm;
          status = machine.printers.detach(subject.number, vm);
        }
        return answerOf(status, "detach", "detached " + std::to_string(subject.number));
      });
}

base::Result<Action> mount(Simulator& simulator, const Words& arguments) {
  return changingSubject(
      simulator, "mount", arguments[0], [](MachineState& machine, const Subject& subject) {
        return answerOf(
            subject.isDevice ? machine.devices.mount(subject.number) : Status::kNotStorage, "mount",
            "mounted " + std::to_string(subject.number));
      });
}

base::Result<Action> unmount(Simulator& simulator, const Words& arguments) {
  return changingSubject(
      simulator, "unmount", arguments[0], [](MachineState& machine, const Subject& subject) {
        return answerOf(
            subject.isDevice ? machine.devices.unmount(subject.number) : Status::kNotStorage,
            "unmount", "unmounted " + std::to_string(subject.number));
      });
}

base::Result<Action> trouble(Simulator& simulator, const Words& arguments) {
  const std::string& word = arguments[1];
  const std::optional<PrinterTrouble> found = troubleWithWord(word);
  if (!found) {
    return unexpected("trouble", "one of " + base::joined(troubleWords()), word);
  }
  return changingSubject(
      simulator, "trouble", arguments[0],
      [found, word](MachineState& machine, const Subject& subject) {
        const Status status = subject.isDevice
                                  ? Status::kUnknownPrinter
                                  : machine.printers.setTrouble(subject.number, *found);
        return answerOf(status, "trouble",
                        "trouble of printer " + std::to_string(subject.number) + ": " + word);
      });
}

}  // namespace

std::vector<Command> deviceCommands(Simulator& simulator) {
  const auto with = [&simulator](base::Result<Action> (*prepare)(Simulator&, const Words&)) {
    return [&simulator, prepare](const Words& arguments) { return prepare(simulator, arguments); };
  };
  return {
      prepared({"attach", "DEVICE \"VM\"", 2, 2, "attach a device or a printer to a VM"},
               with(attach)),
      prepared({"detach", "DEVICE", 1, 1, "detach a device or a printer from its VM"},
               with(detach)),
      prepared({"mount", "DEVICE", 1, 1, "mount storage on this machine"}, with(mount)),
      prepared({"unmount", "DEVICE", 1, 1, "unmount storage"}, with(unmount)),
      prepared({"trouble", "PRINTER TROUBLE", 2, 2,
                "report a printer as " + base::joined(troubleWords())},
               with(trouble)),
  };
}

}  // namespace velsim
