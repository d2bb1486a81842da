#include "vel/apps/local/velsim/machine_commands.h"

#include <cstdio>
#include <iterator>
#include <optional>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velsim/command_arguments.h"
#include "vel/apps/local/velsim/service/queries.h"

namespace velsim {
namespace {

using Answer = Command::Answer;

constexpr char kPrinter[] = "printer";

std::string listRow(std::uint16_t number, const std::string& type, DeviceStatus status, VmNumber vm,
                    std::uint64_t sourceId, const std::string& name) {
  const std::string state = status == DeviceStatus::kAttached  ? "in vm " + std::to_string(vm)
                            : status == DeviceStatus::kIgnored ? "ignored"
                                                               : "available";
  char columns[96];
  std::snprintf(columns, sizeof columns, "%5u  %-15s  %-14s  0x%016llx  ", unsigned{number},
                type.c_str(), state.c_str(), static_cast<unsigned long long>(sourceId));
  return columns + name + "\n";
}

Answer list(const Simulator& simulator) {
  std::string text;
  simulator.read([&text](const MachineState& machine) {
    for (const auto& [number, device] : machine.devices.all()) {
      text += listRow(number, wordFor(device.type), device.status, device.vm, device.sourceId,
                      device.name);
    }
    for (const auto& [number, printer] : machine.printers.all()) {
      const std::string type = printer.isNetwork ? wordFor(DeviceType::kNetworkPrinter) : kPrinter;
      text += listRow(number, type, printer.status, printer.vm, printer.sourceId, printer.name);
    }
  });
  return text;
}

base::Result<Action> plug(Simulator& simulator, const Words& arguments) {
  const std::string& word = arguments[0];
  const std::string name = arguments.size() > 1 ? arguments[1] : "New " + word;
  const std::optional<DeviceType> type = pluggableType(word);
  if (!type && word != kPrinter) {
    return base::Failed{"plug: unknown type " + base::quoted(word) + "; the types are " +
                        base::joined(pluggableTypes()) + ", " + kPrinter};
  }
  if (!isName(name)) {
    return badName("plug");
  }
  return changing(simulator, [type, name](MachineState& machine) -> Answer {
    std::uint16_t number = 0;
    if (type) {
      const Device* const device = machine.plug(*type, name);
      number = device ? device->number : std::uint16_t{0};
    } else {
      const Printer* const printer = machine.printers.plug(name);
      number = printer ? printer->number : std::uint16_t{0};
    }
    if (number == 0) {
      return base::Failed{"plug: all device numbers are in use"};
    }
    return "plugged in " + std::to_string(number) + "\n";
  });
}

base::Result<Action> replug(Simulator& simulator, const Words& arguments) {
  const auto number = base::parseDecimalAs<std::uint16_t>(arguments[0]);
  if (!number) {
    return unexpected("replug", "a number from 1 to 65535", arguments[0]);
  }
  return changing(simulator, [number = *number](MachineState& machine) {
    Status status = machine.devices.replug(number);
    if (status == Status::kUnknownDevice) {
      status = machine.printers.replug(number);
    }
    return answerOf(status, "replug", "plugged in " + std::to_string(number));
  });
}

base::Result<Action> unplug(Simulator& simulator, const Words& arguments) {
  return changing(simulator, [word = arguments[0]](MachineState& machine) -> Answer {
    const base::Result<Subject> subject = findSubject(machine, "unplug", word);
    if (!subject) {
      return subject.failed();
    }
    const Status status = subject->isDevice ? machine.devices.unplug(subject->number)
                                            : machine.printers.unplug(subject->number);
    if (status != Status::kOk) {
      return base::Failed{"unplug: no device or printer " + word +
                          " is plugged in; type list for those that are"};
    }
    return "unplugged " + std::to_string(subject->number) + "\n";
  });
}

base::Result<Action> camera(Simulator& simulator, const Words& arguments) {
  const bool isAllowed = arguments[0] == "allow";
  if (!isAllowed && arguments[0] != "deny") {
    return unexpected("camera", "allow or deny", arguments[0]);
  }
  return changing(simulator, [isAllowed](MachineState& machine) -> Answer {
    machine.devices.allowCamera(isAllowed);
    return std::string(isAllowed ? "cameras allowed\n" : "cameras denied\n");
  });
}

Answer addVm(MachineState& machine, const std::string& name) {
  const VmNumber added = machine.vms.add(name);
  if (added == 0) {
    return base::Failed{"vm: there is a VM " + base::quoted(name) + " already"};
  }
  return "added VM " + std::to_string(added) + "\n";
}

Answer changeVm(MachineState& machine, const std::string& action, const std::string& name) {
  const base::Result<VmNumber> vm = findVm(machine, "vm", name);
  if (!vm) {
    return vm.failed();
  }
  const std::string number = std::to_string(*vm);
  if (action == "remove") {
    return machine.vms.remove(name) != 0
               ? Answer("removed VM " + number + "\n")
               : Answer(base::Failed{"vm: a VM is removed by its name, got " + base::quoted(name)});
  }
  if (action == "connect") {
    return answerOf(machine.vms.connect(*vm, {}), "vm", "connected VM " + number);
  }
  return answerOf(machine.vms.disconnect(*vm), "vm", "disconnected VM " + number);
}

base::Result<Action> vm(Simulator& simulator, const Words& arguments) {
  const std::string& action = arguments[0];
  if (action != "add" && action != "remove" && action != "connect" && action != "disconnect") {
    return unexpected("vm", "add, remove, connect or disconnect", action);
  }
  if (!isName(arguments[1])) {
    return badName("vm");
  }
  return changing(simulator, [action, name = arguments[1]](MachineState& machine) {
    return action == "add" ? addVm(machine, name) : changeVm(machine, action, name);
  });
}

}  // namespace

std::vector<Command> machineCommands(Simulator& simulator) {
  const auto with = [&simulator](base::Result<Action> (*prepare)(Simulator&, const Words&)) {
    return [&simulator, prepare](const Words& arguments) { return prepare(simulator, arguments); };
  };
  std::vector<Command> commands = {
      prepared({"plug", "TYPE [\"NAME\"]", 1, 2,
                "plug in a device: " + base::joined(pluggableTypes()) + " or " + kPrinter},
               with(plug)),
      prepared({"unplug", "DEVICE", 1, 1, "unplug a device or a printer"}, with(unplug)),
      prepared({"replug", "NUMBER", 1, 1, "plug in a device of the scenario that was unplugged"},
               with(replug)),
      prepared({"camera", "allow|deny", 1, 1, "allow or deny the use of cameras"}, with(camera)),
      prepared({"vm", "ACTION \"NAME\"", 2, 2, "add, remove, connect or disconnect a VM"},
               with(vm)),
      {"list", "", 0, 0, "list devices and printers; commands take number or name",
       [&simulator](const Words& /*none*/) { return list(simulator); }},
  };
  for (std::vector<Command> more : {deviceCommands(simulator), reportCommands(simulator)}) {
    std::move(more.begin(), more.end(), std::back_inserter(commands));
  }
  for (const Query& query : queries()) {
    commands.push_back({query.word, "", 0, 0, query.help,
                        [&simulator, &query](const Words& /*none*/) {
                          std::string text;
                          simulator.read([&](const MachineState& machine) {
                            text = jsonText(query.answer(machine)) + "\n";
                          });
                          return Answer(text);
                        },
                        true});
  }
  return commands;
}

}  // namespace velsim
