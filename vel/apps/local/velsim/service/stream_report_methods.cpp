// Bandwidth and quality, as clients report them.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

Values setBwInfo(MachineState& machine, const Values& arguments) {
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    machine.streamReports.setBandwidth(vm, qxbus::readUInt64(arguments, 1),
                                       qxbus::readUInt64(arguments, 2));
    return Status::kOk;
  }));
}

Values setRtcQosInfo(MachineState& machine, const Values& arguments) {
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    machine.streamReports.setQuality(vm, qxbus::readUInt64(arguments, 1), std::nullopt);
    return Status::kOk;
  }));
}

Values setRtcQosFigure(MachineState& machine, const Values& arguments) {
  constexpr std::uint64_t kTypeWithFigure = 1;
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    if (qxbus::readUInt64(arguments, 1) != kTypeWithFigure) {
      return Status::kUnknownFigure;
    }
    machine.streamReports.setQuality(vm, kTypeWithFigure, qxbus::readUInt64(arguments, 2));
    return Status::kOk;
  }));
}

}  // namespace

const std::vector<MethodRow>& streamReportMethods() {
  static const std::vector<MethodRow> rows = {
      {"setBwInfo", "vm:i first:t second:t", setBwInfo},
      {"setRtcQosInfo", "vm:i type:t", setRtcQosInfo},
      {"setRtcQosInfo", "vm:i type:t figure:t", setRtcQosFigure},
  };
  return rows;
}

}  // namespace velsim
