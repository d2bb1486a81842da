// velctl vm: VM sessions.

#include <string>
#include <vector>

#include "base/printable.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void listVms(const Output& output) {
  const Operation operation("getVmList");
  const vel::Result<std::vector<vel::Vm>> vms = operation.client().vms();
  Table table;
  Json json = Json::array();
  for (const vel::Vm& vm : received(vms)) {
    table.add({base::printable(vm.name), std::to_string(vm.number.value())});
    json.push_back({{"vm", jsonText(vm.name)}, {"number", vm.number.value()}});
  }
  if (!json.empty()) {
    output.line(table.text(), {{"vms", json}});
  } else if (vms) {
    output.json({{"vms", json}});
    Output::note("no VMs");
  }
  operation.check(vms);
}

void connectVm(const Output& output, const vel::VmSession& session) {
  const Operation operation("connectVm", session.vm);
  const vel::Result<void> result = operation.client().connectVm(session);
  if (session.isCollaborator) {
    operation.failRefused(
        "nothing was sent: the library does not attach a collaborator; leave out --collaborator");
  }
  operation.finish(output, result, "connected");
}

struct VmName {
  std::string vmId;
};

void start(const Output& output, const VmName& vm) {
  const Operation operation("startManager", vm.vmId);
  operation.finishSent(output, operation.client().startVm(vm.vmId), "start requested");
}

void disconnectVm(const Output& output, const VmName& vm) {
  const Operation operation("disconnectVm", vm.vmId);
  operation.finishSent(output, operation.client().disconnectVm(vm.vmId), "disconnect requested");
}

struct FocusReport {
  std::string vmId;
  unsigned long long window = 0;
  bool isLost = false;
};

void reportFocus(const Output& output, const FocusReport& report) {
  const Operation operation("onFocusChanged", report.vmId);
  const auto result =
      operation.client().setFocus(report.vmId, vel::WindowId(report.window), !report.isLost);
  operation.finish(output, result, report.isLost ? "focus lost" : "focus gained");
}

struct PortReport {
  std::string vmId;
  unsigned int port = 0;
  int status = 0;
};

void reportPort(const Output& output, const PortReport& report) {
  const Operation operation("setPortChannelStatus", report.vmId);
  operation.finish(
      output,
      operation.client().setPortStatus(report.vmId, vel::PortNumber(report.port), report.status),
      "port " + std::to_string(report.port) + " has status " + std::to_string(report.status));
}

struct Token {
  std::string argument;
};

void updateToken(const Output& output, const Token& given) {
  const std::string token = textOrStandardInput(given.argument);
  if (token.empty()) {
    throw Failure(kExitUsage, "updateDriveToken: the token is empty; give at least one character");
  }
  const Operation operation("updateDriveToken");
  operation.finish(output, operation.client().updateDriveToken(token), "drive token handed over");
}

void addVmArgument(const ParserCommand& command, std::string& vmId) {
  command.addOption("vm", vmId, kVmHelp).required();
}

void addConnectCommand(CommandLine& commandLine, const ParserCommand& group) {
  const auto added =
      addCommand(commandLine, group, "connect", "Attach the service to a VM session", connectVm);
  const ParserCommand& command = added.command;
  vel::VmSession& session = added.arguments;
  addVmArgument(command, session.vm);
  command.addOption("--system-type", session.systemType, "Operating system of the session");
  command.addOption("--share-mode", session.shareMode, "Sharing mode");
  command.addOption("--connect-param", session.connectParam, "Further parameter for the service");
  command.addFlag("--collaborator", session.isCollaborator,
                  "Join the session of another user, which the library refuses to attach");
}

void addFocusCommand(CommandLine& commandLine, const ParserCommand& group) {
  const auto [command, report] =
      addCommand(commandLine, group, "focus", "Report that a session window has gained the focus",
                 reportFocus);
  addVmArgument(command, report.vmId);
  addNumber(command, "--window", report.window, "The window system's number of the window");
  command.addFlag("--lost", report.isLost, "Report that the window has lost the focus");
}

void addPortCommand(CommandLine& commandLine, const ParserCommand& group) {
  const auto [command, report] =
      addCommand(commandLine, group, "port", "Report the status of a port channel", reportPort);
  addVmArgument(command, report.vmId);
  addNumber(command, "port", report.port, "Number of the port").required();
  command.addOption("status", report.status, "Status of the port channel (a number of the service)")
      .required();
}

}  // namespace

void addVmCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("vm", "VM sessions");
  commandLine.command(group, "list", "List the VMs with the service's numbers for them", listVms);
  addConnectCommand(commandLine, group);

  const auto started =
      addCommand(commandLine, group, "start",
                 "Start a VM session; the service does not report the result", start);
  addVmArgument(started.command, started.arguments.vmId);
  const auto disconnected = addCommand(
      commandLine, group, "disconnect",
      "Detach the service from a VM session; the service does not report the result", disconnectVm);
  addVmArgument(disconnected.command, disconnected.arguments.vmId);

  addFocusCommand(commandLine, group);
  addPortCommand(commandLine, group);

  const auto [tokenCommand, token] = addCommand(
      commandLine, group, "token", "Hand over a token for access to drives", updateToken);
  tokenCommand
      .addOption("token", token.argument,
                 "The token; - reads it from standard input, where other users cannot see it")
      .required();
}

}  // namespace velctl
