// What users decide on the cards of new devices, and commands for storage. Each is answered with a
// status, and told of in an event with a result as well.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/records.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

// What the user wants for further devices of the type.
void remember(MachineState& machine, const Values& arguments, int typeIndex) {
  const auto type = static_cast<std::uint16_t>(int32Of(arguments, typeIndex));
  const auto autoConnect = static_cast<std::int16_t>(int32Of(arguments, typeIndex + 1));
  const auto popupCard = static_cast<std::uint16_t>(int32Of(arguments, typeIndex + 2));
  machine.policies.setAutoConnect(type, autoConnect);
  machine.policies.setPopupCard(type, popupCard);
}

// Does it to the device with the source id, and tells what became of that. A result is about the
// device as it was before.
template <typename Action>
Status tryOn(MachineState& machine, EventCode code, VmNumber vm, std::uint64_t sourceId,
             Action action) {
  const Device* const device = machine.devices.findBySource(sourceId);
  const std::optional<Device> before = device ? std::make_optional(*device) : std::nullopt;
  const Status result = device ? action(device->number) : Status::kUnknownDevice;
  machine.events.add(code, machine.vms.find(vm) ? vm : 0,
                     newDeviceResult(before ? &*before : nullptr, sourceId, result));
  return result;
}

Values configNewDeviceAsConnect(MachineState& machine, const Values& arguments) {
  const VmNumber vm = vmOf(arguments);
  const Status result =
      tryOn(machine, EventCode::kNewDeviceAttached, vm, numberInBlock(arguments, 1),
            [&](std::uint16_t device) {
              return machine.vms.find(vm) ? machine.devices.attach(device, vm) : Status::kUnknownVm;
            });
  if (result == Status::kOk) {
    remember(machine, arguments, 2);
  }
  return status(result);
}

Values configNewDeviceAsIgnore(MachineState& machine, const Values& arguments) {
  const Status result = tryOn(machine, EventCode::kNewDeviceIgnored, 0, numberInBlock(arguments, 0),
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

// The VM only says who hears of the result.
Values configUdisks2Command(MachineState& machine, const Values& arguments) {
  const auto command = static_cast<StorageCommand>(qxbus::readUInt32(arguments, 2));
  return status(tryOn(machine, EventCode::kStorageCommand, vmOf(arguments),
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
      {"configNewDeviceAsConnect", "vm:i sourceId:ay8 type:i autoConnect:i popupCardConfig:i",
       configNewDeviceAsConnect},
      {"configNewDeviceAsIgnore", "sourceId:ay8 deviceType:i autoConnect:i popupCardConfig:i",
       configNewDeviceAsIgnore},
      {"ConfigUdisks2Command", "vm:i sourceId:ay8 command:i", configUdisks2Command},
  };
  return rows;
}

}  // namespace velsim
