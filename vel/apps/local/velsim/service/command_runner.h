// Runs service commands: texts of dovelcmd whose answer goes to the client as event 66.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_COMMAND_RUNNER_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_COMMAND_RUNNER_H

#include <string>

#include "base/result.h"
#include "vel/apps/local/velsim/service/json_text.h"

namespace velsim {

// THREADS   Any thread may call. run() may use the simulator; the others must not.
class CommandRunner {
 public:
  virtual ~CommandRunner() = default;

  // Whether the first word of the line is a command.
  virtual bool knows(const std::string& line) const = 0;
  // The answer, or the reason why the line is refused.
  virtual base::Result<Json> answer(const std::string& line) = 0;
  // One line for each command.
  virtual std::string help() const = 0;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_COMMAND_RUNNER_H
