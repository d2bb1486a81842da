// velctl status: whether the bus and the service are there.

#include <optional>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void report(const Output& output, const std::string& bus, const std::string& service,
            const Json& vms) {
  output.line("bus      " + bus + "\nservice  " + service +
                  (vms.is_null() ? "" : "\nVMs      " + vms.dump()),
              {{"bus", bus}, {"service", service}, {"vms", vms}});
}

void status(const Output& output) {
  Json vms;
  std::optional<Failure> failure;
  try {
    const Operation operation("getVmList");
    vms = operation->GetVmList().size();
    if (vms == 0) {
      operation.failWithoutAnswer();
    }
  } catch (const Failure& caught) {
    failure = caught;
  }
  if (!failure) {
    report(output, "reachable", "running", vms);
    return;
  }
  const bool isBusThere = failure->code() != kExitNoBus;
  const bool isServiceThere = failure->code() == kExitNoAnswer;
  report(output, isBusThere ? "reachable" : "unreachable",
         isServiceThere ? "not answering" : "absent", nullptr);
  throw Failure(*failure);
}

}  // namespace

void addStatusCommand(CommandLine& commandLine) {
  commandLine.command("status", "Tell whether the bus and the service are there", status);
}

}  // namespace velctl
