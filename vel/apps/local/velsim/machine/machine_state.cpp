#include "vel/apps/local/velsim/machine/machine_state.h"

namespace velsim {
namespace {

std::set<VmNumber> attachedVms(const VmSessions& vms) {
  std::set<VmNumber> attached;
  for (const auto& [vmId, number] : vms.numbers()) {
    if (vms.find(number)->attachment) {
      attached.insert(number);
    }
  }
  return attached;
}

}  // namespace

const Device* MachineState::plug(DeviceType type, const std::string& name) {
  const Device* const plugged = devices.plug(type, name);
  if (plugged) {
    autoConnect(plugged->number);
  }
  return plugged;
}

Status MachineState::addNetworkDevice(std::int32_t type, const std::string& text) {
  const Status status = devices.addNetwork(type, text);
  if (status == Status::kOk) {
    autoConnect(devices.findNetwork(text)->number);
  }
  return status;
}

void MachineState::settle() {
  std::set<VmNumber> attached = attachedVms(vms);
  for (const VmNumber vm : attachedVms_) {
    if (attached.count(vm) == 0) {
      devices.detachAll(vm);
      printers.detachAll(vm);
      streamReports.forget(vm);
    }
  }
  attachedVms_.swap(attached);
}

void MachineState::reset() {
  vms.reset();
  devices.reset();
  printers.reset();
  sharedPrinters.reset();
  printQueues.reset();
  policies.reset();
  joysticks.reset();
  streamReports.reset();
  // Of VMs that were removed.
  for (const VmSetup& vm : setup.vms) {
    if (!vms.find(vm.number)) {
      devices.detachAll(vm.number);
      printers.detachAll(vm.number);
    }
  }
}

void MachineState::autoConnect(std::uint16_t device) {
  const auto type = static_cast<std::uint16_t>(devices.find(device)->type);
  if (policies.autoConnect(type) == 0) {
    return;
  }
  const std::set<VmNumber> attached = attachedVms(vms);
  if (vms.focus()) {
    devices.attach(device, vms.focus()->vm);
  } else if (!attached.empty()) {
    devices.attach(device, *attached.begin());
  }
}

}  // namespace velsim
