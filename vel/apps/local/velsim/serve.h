// velsim as it runs, from the command line to the signal that stops it.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVE_H
#define VEL_APPS_LOCAL_VELSIM_SERVE_H

#include <vector>

#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/faults/fault_plan.h"
#include "vel/apps/local/velsim/options.h"
#include "vel/apps/local/velsim/scenario/scenario.h"

namespace velsim {

// Call it before there is a second thread: it blocks SIGINT and SIGTERM, which stop it.
//
// faults    set from the start
ExitCode serve(const Options& options, const Scenario& scenario, const std::vector<Fault>& faults);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVE_H
