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
std::string trouble(const MachineState& machine, const DiagnosisSubject& subject) {
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

void conclude(MachineState& machine, const DiagnosisSubject& subject) {
  const std::string found = trouble(machine, subject);
  if (found.empty()) {
    report(machine, subject, DiagnosisStatus::kFine, "no trouble found");
  } else {
    report(machine, subject, DiagnosisStatus::kTrouble, found);
  }
}

}  // namespace

void beginDiagnosis(MachineState& machine, const DiagnosisSubject& subject) {
  report(machine, subject, DiagnosisStatus::kRunning, "looking at the device");
  machine.plan(kStepTime, [subject](MachineState& now) {
    report(now, subject, DiagnosisStatus::kRunning, "looking at the session");
  });
  machine.plan(2 * kStepTime, [subject](MachineState& now) { conclude(now, subject); });
}

}  // namespace velsim
