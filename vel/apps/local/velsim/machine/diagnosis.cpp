#include "vel/apps/local/velsim/machine/diagnosis.h"

#include <chrono>
#include <string>

namespace velsim {
namespace {

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
  const VmSession* const session = machine.vms.find(subject.vm);
  if (!session) {
    return "VM removed meanwhile";
  }
  if (!session->attachment) {
    return "VM not connected";
  }
  const VmNumber vm = device ? device->vm : printer->vm;
  return vm == subject.vm ? "" : "not attached to the VM";
}

DiagnosisFinding findingOf(const MachineState& machine, const DiagnosisSubject& subject) {
  const std::string found = fault(machine, subject);
  const auto stated = machine.setup.diagnosis.findings.find(subject.number);
  const bool isThere = subject.isDevice ? machine.devices.find(subject.number) != nullptr
                                        : machine.printers.find(subject.number) != nullptr;
  if (isThere && stated != machine.setup.diagnosis.findings.end()) {
    return stated->second;
  }
  if (found.empty()) {
    return {DiagnosisStatus::kFine, "no fault found"};
  }
  return {DiagnosisStatus::kFault, found};
}

void conclude(MachineState& machine, const DiagnosisSubject& subject) {
  const DiagnosisFinding finding = findingOf(machine, subject);
  report(machine, subject, finding.status, finding.text);
}

}  // namespace

int beginDiagnosis(MachineState& machine, const DiagnosisSubject& subject) {
  const DiagnosisSetup& setup = machine.setup.diagnosis;
  std::chrono::milliseconds time{0};
  for (const std::string& step : setup.steps) {
    const auto begin = [subject, step](MachineState& now) {
      report(now, subject, DiagnosisStatus::kRunning, step);
    };
    if (time.count() == 0) {
      begin(machine);
    } else {
      machine.plan(time, begin);
    }
    time += setup.stepTime;
  }
  machine.plan(time, [subject](MachineState& now) { conclude(now, subject); });
  return static_cast<int>(setup.steps.size()) + 1;
}

}  // namespace velsim
