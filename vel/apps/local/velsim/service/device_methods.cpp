// Devices, network devices, and USB devices that clients redirect themselves.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/records.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;

// Values of redirectDevice's third argument.
enum class Redirection : std::uint16_t {
  kBack = 0,  // to this machine
  kInto = 1,  // the VM, also out of another one
};

// Number 0 stands for this machine and lists every device.
Values getDeviceList(MachineState& machine, const Values& arguments) {
  const VmNumber vm = vmOf(arguments);
  std::vector<Bytes> records;
  if (vm == 0) {
    for (const auto& [number, device] : machine.devices.all()) {
      records.push_back(recordOf(device));
    }
  } else if (machine.vms.find(vm)) {
    for (const Device* const device : machine.devices.of(vm)) {
      records.push_back(recordOf(*device));
    }
  }
  return listOf(std::move(records));
}

Values getDeviceStatus(MachineState& machine, const Values& arguments) {
  const Device* const device = machine.devices.find(qxbus::readUInt16(arguments, 0));
  return device ? listOf({recordOf(*device)}) : listOf({});
}

Values connectDevice(MachineState& machine, const Values& arguments) {
  const std::uint16_t number = qxbus::readUInt16(arguments, 1);
  return status(
      forVm(machine, arguments, [&](VmNumber vm) { return machine.devices.attach(number, vm); }));
}

Values disconnectDevice(MachineState& machine, const Values& arguments) {
  const std::uint16_t number = qxbus::readUInt16(arguments, 1);
  return status(
      forVm(machine, arguments, [&](VmNumber vm) { return machine.devices.detach(number, vm); }));
}

Values connectDeviceBySrcId(MachineState& machine, const Values& arguments) {
  const Device* const device = machine.devices.findBySource(qxbus::readUInt64(arguments, 1));
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    return device ? machine.devices.attach(device->number, vm) : Status::kUnknownDevice;
  }));
}

Values disconnectDeviceBySrcId(MachineState& machine, const Values& arguments) {
  const Device* const device = machine.devices.findBySource(qxbus::readUInt64(arguments, 1));
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    return device ? machine.devices.detach(device->number, vm) : Status::kUnknownDevice;
  }));
}

Values redirectDevice(MachineState& machine, const Values& arguments) {
  const std::uint16_t number = qxbus::readUInt16(arguments, 1);
  const auto direction = static_cast<Redirection>(qxbus::readUInt16(arguments, 2));
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    switch (direction) {
      case Redirection::kBack:
        return machine.devices.detach(number, vm);
      case Redirection::kInto:
        return machine.devices.move(number, vm);
    }
    return Status::kUnknownCommand;
  }));
}

Values addNetworkDevice(MachineState& machine, const Values& arguments) {
  return status(machine.addNetworkDevice(int32Of(arguments, 0), qxbus::readString(arguments, 1)));
}

// The detail is only logged, with the request.
Values deleteNetworkDevice(MachineState& machine, const Values& arguments) {
  return status(machine.devices.removeNetwork(qxbus::readString(arguments, 0)));
}

Values setUsbredirStatus(MachineState& machine, const Values& arguments) {
  const std::int16_t usbStatus = int16Of(arguments, 1);
  const std::uint64_t identity = numberInBlock(arguments, 2);
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    machine.streamReports.setUsbStatus(vm, identity, usbStatus);
    return Status::kOk;
  }));
}

}  // namespace

const std::vector<MethodRow>& deviceMethods() {
  static const std::vector<MethodRow> rows = {
      {"getDeviceList", getDeviceList},
      {"getDeviceStatus", getDeviceStatus},
      {"connectDevice", connectDevice},
      {"disconnectDevice", disconnectDevice},
      {"connectDeviceBySrcId", connectDeviceBySrcId},
      {"disconnectDeviceBySrcId", disconnectDeviceBySrcId},
      {"redirectDevice", redirectDevice},
      {"addNetworkDevice", addNetworkDevice},
      {"deleteNetworkDevice", deleteNetworkDevice},
      {"setUsbredirStatus", setUsbredirStatus},
  };
  return rows;
}

}  // namespace velsim
