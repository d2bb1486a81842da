// velctl vm: VM sessions.

#include <map>
#include <string>

#include "base/printable.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

void listVms(const Output& output) {
  Operation operation("getVmList");
  const std::map<std::string, unsigned int> vms = operation.call(&qx::VelProxy::GetVmList);
  if (vms.empty()) {
    operation.check();
  }
  Table table;
  Json json = Json::array();
  for (const auto& [vmId, number] : vms) {
    table.add({base::printable(vmId), std::to_string(number)});
    json.push_back({{"vm", jsonText(vmId)}, {"number", number}});
  }
  if (vms.empty()) {
    output.json({{"vms", json}});
    Output::note("no VMs");
  } else {
    output.line(table.text(), {{"vms", json}});
  }
  operation.check();
}

void connectVm(const Output& output, const VmInfo& info) {
  Operation operation("connectVm", info.vmId);
  const unsigned int status = operation.call(&qx::VelProxy::ConnectVm, info);
  if (info.kstStreamCollaborateType != 0) {
    operation.failRefused(
        "nothing was sent: the library does not attach a collaborator; leave out --collaborator");
  }
  operation.finish(output, status, "connected");
}

struct VmName {
  std::string vmId;
};

void start(const Output& output, const VmName& vm) {
  Operation operation("startManager", vm.vmId);
  const unsigned int status = operation.call(&qx::VelProxy::StartVm, vm.vmId);
  operation.finishSent(output, status, "start requested");
}

void disconnectVm(const Output& output, const VmName& vm) {
  Operation operation("disconnectVm", vm.vmId);
  const unsigned int status = operation.call(&qx::VelProxy::DisconnectVm, vm.vmId);
  operation.finishSent(output, status, "disconnect requested");
}

struct FocusReport {
  std::string vmId;
  unsigned long long window = 0;
  bool isLost = false;
};

void reportFocus(const Output& output, const FocusReport& report) {
  constexpr unsigned int kLost = 0;
  constexpr unsigned int kGained = 1;
  Operation operation("onFocusChanged", report.vmId);
  const unsigned int status = operation.call(&qx::VelProxy::OnFocusChanged, report.vmId,
                                             report.window, report.isLost ? kLost : kGained);
  operation.finish(output, status, report.isLost ? "focus lost" : "focus gained");
}

struct PortReport {
  std::string vmId;
  unsigned int port = 0;
  int status = 0;
};

void reportPort(const Output& output, const PortReport& report) {
  Operation operation("setPortChannelStatus", report.vmId);
  const unsigned int status =
      operation.call(&qx::VelProxy::SetPortChannelStatus, report.vmId, report.port, report.status);
  operation.finish(
      output, status,
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
  Operation operation("updateDriveToken");
  const unsigned int status = operation.call(&qx::VelProxy::UpdateDriveToken, token);
  operation.finish(output, status, "drive token handed over");
}

void addVmArgument(const ParserCommand& command, std::string& vmId) {
  command.addOption("vm", vmId, kVmHelp).required();
}

void addConnectCommand(CommandLine& commandLine, const ParserCommand& group) {
  const auto added =
      addCommand(commandLine, group, "connect", "Attach the service to a VM session", connectVm);
  const ParserCommand& command = added.command;
  VmInfo& info = added.arguments;
  addVmArgument(command, info.vmId);
  command.addOption("--system-type", info.systemType, "Operating system of the session");
  command.addOption("--share-mode", info.shareMode, "Sharing mode");
  command.addOption("--connect-param", info.connectParam, "Further parameter for the service");
  command.addFlag(
      "--collaborator", [&info] { info.kstStreamCollaborateType = 1; },
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
