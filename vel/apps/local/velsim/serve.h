// velsim as it runs, from the command line to the signal that stops it.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVE_H
#define VEL_APPS_LOCAL_VELSIM_SERVE_H

#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/options.h"
#include "vel/apps/local/velsim/scenario/scenario.h"

namespace velsim {

// Call it before there is a second thread: it blocks SIGINT and SIGTERM, which stop it.
ExitCode serve(const Options& options, const Scenario& scenario);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVE_H
