// Decisions of users about new devices, and commands for storage. Each request is answered with a
// status, and an event reports the result as well.

#include <optional>
#include <utility>

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

// Values of ConfigUdisks2Command's third argument.
enum class StorageCommand : std::uint32_t { kMount = 1, kUnmount = 2, kEject = 3 };

// Stores the user's choice for further devices of the type.
void remember(MachineState& machine, const Values& arguments, int typeIndex) {
  const auto type = static_cast<std::uint16_t>(int32Of(arguments, typeIndex));
  const auto autoConnect = static_cast<std::int16_t>(int32Of(arguments, typeIndex + 1));
  const auto popupCard = static_cast<std::uint16_t>(int32Of(arguments, typeIndex + 2));
  machine.policies.setAutoConnect(type, autoConnect);
  machine.policies.setPopupCard(type, popupCard);
}

// Applies the action to the device with the source id, and adds an event with the result. The
// result describes the device before the action.
template <typename Action>
Status tryOn(MachineState& machine, NewDeviceRequest request, VmNumber vm, std::uint64_t sourceId,
             Action action) {
  const Device* const device = machine.devices.findBySource(sourceId);
  std::optional<Device> before = device ? std::make_optional(*device) : std::nullopt;
  const Status status = device ? action(device->number) : Status::kUnknownDevice;
  machine.events.add(machine.vms.find(vm) ? vm : 0,
                     NewDeviceResult{request, std::move(before), sourceId, status});
  return status;
}

Values configNewDeviceAsConnect(MachineState& machine, const Values& arguments) {
  const VmNumber vm = vmOf(arguments);
  const Status result =
      tryOn(machine, NewDeviceRequest::kAttach, vm, numberInBlock(arguments, 1),
            [&](std::uint16_t device) {
              return machine.vms.find(vm) ? machine.devices.attach(device, vm) : Status::kUnknownVm;
            });
  if (result == Status::kOk) {
    remember(machine, arguments, 2);
  }
  return status(result);
}

Values configNewDeviceAsIgnore(MachineState& machine, const Values& arguments) {
  const Status result = tryOn(machine, NewDeviceRequest::kIgnore, 0, numberInBlock(arguments, 0),
                              [&](std::uint16_t device) { return machine.devices.ignore(device); });
  if (result == Status::kOk) {
    remember(machine, arguments, 1);
  }
  return status(result);
}

Status eject(Devices& devices, std::uint16_t device) {
  const Status unmounted = devices.unmount(device);
  return unmounted == Status::kOk ? devices.unplug(device) : unmounted;
}

// The VM is the recipient of the event.
Values configUdisks2Command(MachineState& machine, const Values& arguments) {
  const auto command = static_cast<StorageCommand>(qxbus::readUInt32(arguments, 2));
  return status(tryOn(machine, NewDeviceRequest::kStorageCommand, vmOf(arguments),
                      numberInBlock(arguments, 1), [&](std::uint16_t device) {
                        switch (command) {
                          case StorageCommand::kMount:
                            return machine.devices.mount(device);
                          case StorageCommand::kUnmount:
                            return machine.devices.unmount(device);
                          case StorageCommand::kEject:
                            return eject(machine.devices, device);
                        }
                        return Status::kUnknownCommand;
                      }));
}

}  // namespace

const std::vector<MethodRow>& newDeviceMethods() {
  static const std::vector<MethodRow> rows = {
      {"configNewDeviceAsConnect", configNewDeviceAsConnect},
      {"configNewDeviceAsIgnore", configNewDeviceAsIgnore},
      {"ConfigUdisks2Command", configUdisks2Command},
  };
  return rows;
}

}  // namespace velsim
