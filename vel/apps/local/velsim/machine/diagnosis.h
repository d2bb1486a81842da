// Diagnosis of a device or a printer of the simulated machine: checks the device, then the
// session, and reports each step and the finding in an event.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_DIAGNOSIS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_DIAGNOSIS_H

#include <cstdint>

#include "vel/apps/local/velsim/machine/machine_state.h"

namespace velsim {

struct DiagnosisSubject {
  std::uint64_t id = 0;   // source id or number, as the client named it
  VmNumber vm = 0;        // a VM that exists
  bool isDevice = false;  // otherwise a printer
  std::uint16_t number = 0;
};

// Reports the first step of the setup now, and the others and the finding one step time apart.
// Returns the number of these events.
int beginDiagnosis(MachineState& machine, const DiagnosisSubject& subject);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_DIAGNOSIS_H
