// velctl status: whether the bus can be reached and the service runs.

#include <optional>

#include "bus/dbus/bus_failure.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

// Throws Failure also for a service without VMs: a working service has some.
std::size_t countVms() {
  const Operation operation("getVmList");
  const std::size_t count = operation.valueOf(operation.client().vms()).size();
  if (count == 0) {
    operation.failWithoutAnswer("the service has no VMs");
  }
  return count;
}

void write(const Output& output, bool isBusReachable, const std::string& service, const Json& vms) {
  const std::string bus = qxbus::isBusDirect() ? "direct"
                          : isBusReachable     ? "reachable"
                                               : "unreachable";
  output.line("bus      " + bus + "\nservice  " + service +
                  (vms.is_null() ? "" : "\nVMs      " + vms.dump()),
              {{"bus", bus}, {"service", service}, {"vms", vms}});
}

void showStatus(const Output& output) {
  std::optional<std::size_t> vms;
  std::optional<Failure> failure;
  try {
    vms = countVms();
  } catch (const Failure& caught) {
    failure = caught;
  }
  if (!failure) {
    write(output, true, "running", *vms);
    return;
  }
  const bool isServiceThere = failure->code() == kExitNoAnswer;
  write(output, failure->code() != kExitNoBus, isServiceThere ? "not answering" : "absent",
        nullptr);
  throw Failure(*failure);
}

}  // namespace

void addStatusCommand(CommandLine& commandLine) {
  commandLine.command("status", "Show whether the bus can be reached and the service runs",
                      showStatus);
}

}  // namespace velctl
