// velctl reset: resets the service.

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void reset(const Output& output) {
  const Operation operation("resetService");
  operation.finish(output, operation.client().reset(), "the service has been reset");
}

}  // namespace

void addResetCommand(CommandLine& commandLine) {
  commandLine.command("reset", "Reset the service: it forgets the state that clients have set",
                      reset);
}

}  // namespace velctl
