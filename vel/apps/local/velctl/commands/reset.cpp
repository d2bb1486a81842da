// velctl reset: has the service forget what clients have done.

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void reset(const Output& output) {
  const Operation operation("resetService");
  operation.finish(output, operation->ResetService(), "the service has been reset");
}

}  // namespace

void addResetCommand(CommandLine& commandLine) {
  commandLine.command("reset", "Have the service forget what clients have done", reset);
}

}  // namespace velctl
