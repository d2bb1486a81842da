#include "vel/apps/local/velsim/machine/diagnosis.h"

#include <chrono>
#include <string>

namespace velsim {
namespace {

constexpr std::chrono::milliseconds kStepTime{100};

void report(MachineState& machine, const DiagnosisSubject& subject, DiagnosisStatus status,
            const std::string& text) {
  machine.events.add(subject.vm, DiagnosisStep{subject.id, status, text});
}

// Empty when the subject is in order.
std::string fault(const MachineState& machine, const DiagnosisSubject& subject) {
  const Device* const device = subject.isDevice ? machine.devices.find(subject.number) : nullptr;
  const Printer* const printer = subject.isDevice ? nullptr : machine.printers.find(subject.number);
  if (!device && !printer) {
    return "unplugged meanwhile";
  }
  if (!machine.vms.find(subject.vm)->attachment) {
    return "VM not connected";
  }
  const VmNumber vm = device ? device->vm : printer->vm;
  return vm == subject.vm ? "" : "not attached to the VM";
}

void conclude(MachineState& machine, const DiagnosisSubject& subject) {
  const std::string found = fault(machine, subject);
  if (found.empty()) {
    report(machine, subject, DiagnosisStatus::kFine, "no fault found");
  } else {
    report(machine, subject, DiagnosisStatus::kFault, found);
  }
}

}  // namespace

void beginDiagnosis(MachineState& machine, const DiagnosisSubject& subject) {
  report(machine, subject, DiagnosisStatus::kRunning, "checking the device");
  machine.plan(kStepTime, [subject](MachineState& now) {
    report(now, subject, DiagnosisStatus::kRunning, "checking the session");
  });
  machine.plan(2 * kStepTime, [subject](MachineState& now) { conclude(now, subject); });
}

}  // namespace velsim
