// Diagnoses, self-tests, the camera.
//
// A diagnosis answers at once, {"velservice":0,"status":"ok","steps":3}. Then it tells of its steps
// in events: what it looks at, twice, and at last what it has found. When it cannot begin, the
// answer is {"velservice":N,"status":"..."} with the status and its name, and no event follows.

#include "vel/apps/local/velsim/service/arguments.h"
#include "vel/apps/local/velsim/service/json_text.h"
#include "vel/apps/local/velsim/service/records.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {
namespace {

using qxbus::Values;

constexpr std::chrono::milliseconds kTimeOfAStep{100};

// What is diagnosed.
struct Subject {
  std::uint64_t id = 0;  // as the client has named it
  VmNumber vm = 0;
  bool isDevice = false;  // otherwise a printer
  std::uint16_t number = 0;
};

void tell(MachineState& machine, const Subject& subject, DiagnosisStatus status,
          const std::string& text) {
  machine.events.add(
      EventCode::kDiagnosis, subject.vm,
      diagnosisRecord(subject.id, static_cast<std::uint32_t>(status), subject.vm, text));
}

// The trouble with it; empty when there is none.
std::string trouble(const MachineState& machine, const Subject& subject) {
  const Device* const device = subject.isDevice ? machine.devices.find(subject.number) : nullptr;
  const Printer* const printer = subject.isDevice ? nullptr : machine.printers.find(subject.number);
  if (!device && !printer) {
    return "it has been unplugged";
  }
  if (!machine.vms.find(subject.vm)->attachment) {
    return "the VM is not connected";
  }
  const VmNumber vm = device ? device->vm : printer->vm;
  return vm == subject.vm ? "" : "it is not attached to the VM";
}

void conclude(MachineState& machine, const Subject& subject) {
  const std::string found = trouble(machine, subject);
  if (found.empty()) {
    tell(machine, subject, DiagnosisStatus::kFine, "no trouble found");
  } else {
    tell(machine, subject, DiagnosisStatus::kTrouble, found);
  }
}

Values answerOf(Status status) {
  return {textOf({{"velservice", static_cast<std::int32_t>(status)}, {"status", nameOf(status)}})};
}

Values begin(MachineState& machine, const Subject& subject) {
  constexpr int kSteps = 3;
  tell(machine, subject, DiagnosisStatus::kRunning, "looking at the device");
  machine.plan(kTimeOfAStep, [subject](MachineState& now) {
    tell(now, subject, DiagnosisStatus::kRunning, "looking at the session");
  });
  machine.plan(2 * kTimeOfAStep, [subject](MachineState& now) { conclude(now, subject); });
  return {textOf({{"velservice", 0}, {"status", nameOf(Status::kOk)}, {"steps", kSteps}})};
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
      machine.devices.tellAll();
      return status(Status::kOk);
    case SelfTest::kPrinters:
      machine.printers.tellAll();
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
      {"diagnose", "vm:i sourceId:ay8", diagnose},
      {"diagnoseDevice", "vm:i device:i", diagnoseDevice},
      {"doveltest", "unused:i test:n", doveltest},
      {"CheckCameraAuthStat", "", checkCameraAuthStat},
  };
  return rows;
}

}  // namespace velsim
