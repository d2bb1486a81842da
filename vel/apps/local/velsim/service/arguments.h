// Reading the arguments of requests, and making the values of answers.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_ARGUMENTS_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_ARGUMENTS_H

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/machine/machine_state.h"
#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

inline VmNumber vmOf(const qxbus::Values& arguments) {
  return qxbus::readUInt32(arguments, 0);
}

inline std::int32_t int32Of(const qxbus::Values& arguments, int index) {
  return qxbus::readInt32(arguments, index);
}

inline std::int16_t int16Of(const qxbus::Values& arguments, int index) {
  return qxbus::readInt16(arguments, index);
}

// The number in a block of eight bytes.
inline std::uint64_t numberInBlock(const qxbus::Values& arguments, int index) {
  std::uint64_t number = 0;
  std::memcpy(&number, qxbus::readBytes(arguments, index)->data(), sizeof number);
  return number;
}

inline qxbus::Values status(Status status) {
  return {static_cast<std::int32_t>(status)};
}

// The status of an action for the VM in the first argument; kUnknownVm without calling it.
template <typename Action>
Status forVm(const MachineState& machine, const qxbus::Values& arguments, Action action) {
  const VmNumber vm = vmOf(arguments);
  return machine.vms.find(vm) ? action(vm) : Status::kUnknownVm;
}

// The count, then the records.
inline qxbus::Values listOf(std::vector<qxbus::Bytes> records) {
  qxbus::Values list = {static_cast<std::int32_t>(records.size())};
  for (qxbus::Bytes& record : records) {
    list.emplace_back(std::move(record));
  }
  return list;
}

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_ARGUMENTS_H
