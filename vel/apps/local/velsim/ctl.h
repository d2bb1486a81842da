// velsim ctl: one command for a velsim that runs, through its control object.

#ifndef VEL_APPS_LOCAL_VELSIM_CTL_H
#define VEL_APPS_LOCAL_VELSIM_CTL_H

#include <string>

#include "vel/apps/local/velsim/control_words.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace velsim {

struct CtlOptions {
  std::string address;  // of the bus; empty: that of the environment
  Words words;          // a single one is a whole line
};

// Prints the answer on standard output, or the error on standard error.
ExitCode ctl(const CtlOptions& options);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_CTL_H
