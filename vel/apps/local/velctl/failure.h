// The early end of a command.

#ifndef VEL_APPS_LOCAL_VELCTL_FAILURE_H
#define VEL_APPS_LOCAL_VELCTL_FAILURE_H

#include <stdexcept>
#include <string>

#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl {

// The text names the request, the reason and the remedy.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_FAILURE_H
