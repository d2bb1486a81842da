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
  constexpr std::size_t kFigure = 2;
  constexpr std::uint64_t kTypeWithFigure = 1;
  const std::uint64_t type = qxbus::readUInt64(arguments, 1);
  const auto figure = arguments.size() > kFigure
                          ? std::make_optional(qxbus::readUInt64(arguments, kFigure))
                          : std::nullopt;
  return status(forVm(machine, arguments, [&](VmNumber vm) {
    if (figure && type != kTypeWithFigure) {
      return Status::kUnknownFigure;
    }
    machine.streamReports.setQuality(vm, type, figure);
    return Status::kOk;
  }));
}

}  // namespace

const std::vector<MethodRow>& streamReportMethods() {
  static const std::vector<MethodRow> rows = {
      {"setBwInfo", setBwInfo},
      {"setRtcQosInfo", setRtcQosInfo},
  };
  return rows;
}

}  // namespace velsim
