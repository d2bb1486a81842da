#include "vel/apps/local/velsim/machine_commands.h"

#include <cstdio>
#include <optional>

#include "base/text.h"
#include "base/utf8.h"
#include "vel/apps/local/velsim/service/queries.h"

namespace velsim {
namespace {

using Answer = Command::Answer;

constexpr char kPrinter[] = "printer";
constexpr std::size_t kLongestName = 127;  // that fits into the records

// Fits into a fixed field of a record, where a NUL ends a text.
bool isName(const std::string& name) {
  return !name.empty() && name.size() <= kLongestName && base::isUtf8(name) &&
         name.find('\0') == std::string::npos;
}

base::Failed badName(const std::string& command) {
  return {command + ": the name must have 1 to " + std::to_string(kLongestName) +
          " bytes of UTF-8"};
}

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

Answer list(const Simulator& simulator) {
  std::string text;
  simulator.read([&text](const MachineState& machine) {
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

Answer plug(Simulator& simulator, const Words& arguments) {
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
  std::uint16_t number = 0;
  simulator.change([&](MachineState& machine) {
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

Answer unplug(Simulator& simulator, const Words& arguments) {
  const std::optional<std::uint16_t> number = base::parseDecimalAs<std::uint16_t>(arguments[0]);
  if (!number) {
    return base::Failed{"unplug: expected a number from 0 to 65535, got " +
                        base::quoted(arguments[0])};
  }
  Status status = Status::kOk;
  simulator.change([&](MachineState& machine) {
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

Answer camera(Simulator& simulator, const Words& arguments) {
  const bool isAllowed = arguments[0] == "allow";
  if (!isAllowed && arguments[0] != "deny") {
    return base::Failed{"camera: expected allow or deny, got " + base::quoted(arguments[0])};
  }
  simulator.change([&](MachineState& machine) { machine.devices.allowCamera(isAllowed); });
  return std::string(isAllowed ? "cameras allowed\n" : "cameras denied\n");
}

Answer vm(Simulator& simulator, const Words& arguments) {
  const std::string& action = arguments[0];
  const std::string& name = arguments[1];
  if (action != "add" && action != "remove") {
    return base::Failed{"vm: expected add or remove, got " + base::quoted(action)};
  }
  if (!isName(name)) {
    return badName("vm");
  }
  if (action == "remove") {
    VmNumber removed = 0;
    simulator.change([&](MachineState& machine) { removed = machine.vms.remove(name); });
    return removed == 0 ? Answer(base::Failed{"vm: there is no VM " + base::quoted(name) +
                                              "; type vms for the list"})
                        : Answer("removed VM " + std::to_string(removed) + "\n");
  }
  VmNumber added = 0;
  simulator.change([&](MachineState& machine) { added = machine.vms.add(name); });
  return added == 0 ? Answer(base::Failed{"vm: there is a VM " + base::quoted(name) + " already"})
                    : Answer("added VM " + std::to_string(added) + "\n");
}

}  // namespace

std::vector<Command> machineCommands(Simulator& simulator) {
  std::vector<Command> commands = {
      {"plug", "TYPE [\"NAME\"]", 1, 2,
       "plug in a device: " + base::joined(pluggableTypes()) + " or " + kPrinter,
       [&simulator](const Words& arguments) { return plug(simulator, arguments); }},
      {"unplug", "NUMBER", 1, 1, "unplug a device or a printer",
       [&simulator](const Words& arguments) { return unplug(simulator, arguments); }},
      {"camera", "allow|deny", 1, 1, "allow or deny the use of cameras",
       [&simulator](const Words& arguments) { return camera(simulator, arguments); }},
      {"vm", "add|remove \"NAME\"", 2, 2, "add a VM; remove one, which ends its session",
       [&simulator](const Words& arguments) { return vm(simulator, arguments); }},
      {"list", "", 0, 0, "list devices and printers",
       [&simulator](const Words& /*none*/) { return list(simulator); }},
  };
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
