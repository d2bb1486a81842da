// Diagnoses, self-tests, the camera.
//
// A diagnosis answers at once, {"velservice":0,"status":"ok","steps":3}, and reports its steps in
// events. A diagnosis that cannot begin answers {"velservice":N,"status":"..."} with the status and
// its name, and no event follows.

#include "vel/apps/local/velsim/machine/diagnosis.h"
#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/json_text.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

// Values of doveltest's second argument.
enum class SelfTest : std::uint16_t {
  kNothing = 0,
  kDevices = 1,   // reports every device as changed
  kPrinters = 2,  // reports every printer
};

Values answerOf(Status status) {
  return {
      jsonText({{"velservice", static_cast<std::int32_t>(status)}, {"status", nameOf(status)}})};
}

Values begin(MachineState& machine, const DiagnosisSubject& subject) {
  const int steps = beginDiagnosis(machine, subject);
  return {jsonText({{"velservice", 0}, {"status", nameOf(Status::kOk)}, {"steps", steps}})};
}

Values diagnose(MachineState& machine, const Values& arguments) {
  const VmNumber vm = vmOf(arguments);
  const std::uint64_t sourceId = numberInBlock(arguments, 1);
  if (!machine.vms.find(vm)) {
    return answerOf(Status::kUnknownVm);
  }
  if (const Device* const device = machine.devices.findBySource(sourceId)) {
    return begin(machine, {sourceId, vm, true, device->number});
  }
  if (const Printer* const printer = machine.printers.findBySource(sourceId)) {
    return begin(machine, {sourceId, vm, false, printer->number});
  }
  return answerOf(Status::kUnknownDevice);
}

Values diagnoseDevice(MachineState& machine, const Values& arguments) {
  const VmNumber vm = vmOf(arguments);
  const std::uint32_t number = qxbus::readUInt32(arguments, 1);
  constexpr std::uint32_t kMostOfNumber = 0xFFFF;
  if (!machine.vms.find(vm)) {
    return answerOf(Status::kUnknownVm);
  }
  if (number > kMostOfNumber || !machine.devices.find(static_cast<std::uint16_t>(number))) {
    return answerOf(Status::kUnknownDevice);
  }
  return begin(machine, {number, vm, true, static_cast<std::uint16_t>(number)});
}

Values doveltest(MachineState& machine, const Values& arguments) {
  switch (static_cast<SelfTest>(qxbus::readUInt16(arguments, 1))) {
    case SelfTest::kNothing:
      return status(Status::kOk);
    case SelfTest::kDevices:
      machine.devices.emitAll();
      return status(Status::kOk);
    case SelfTest::kPrinters:
      machine.printers.emitAll();
      return status(Status::kOk);
  }
  return status(Status::kUnknownTest);
}

Values checkCameraAuthStat(MachineState& machine, const Values&) {
  return {static_cast<std::int32_t>(machine.devices.cameraStatus())};
}

}  // namespace

const std::vector<MethodRow>& diagnosisMethods() {
  static const std::vector<MethodRow> rows = {
      {"diagnose", diagnose},
      {"diagnoseDevice", diagnoseDevice},
      {"doveltest", doveltest},
      {"CheckCameraAuthStat", checkCameraAuthStat},
  };
  return rows;
}

}  // namespace velsim
