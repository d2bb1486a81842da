// velctl vm: VM sessions.

#include <algorithm>
#include <map>
#include <memory>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/numbers.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

constexpr char kVmHelp[] = "Name of the VM; \"\" is this machine";

void list(const Output& output) {
  const Operation operation("getVmList");
  const std::map<std::string, unsigned int> vms = operation->GetVmList();
  operation.check();

  std::size_t width = 0;
  for (const auto& [vmId, number] : vms) {
    width = std::max(width, printable(vmId).size());
  }
  std::string text;
  Json json = Json::array();
  for (const auto& [vmId, number] : vms) {
    const std::string name = printable(vmId);
    text += (text.empty() ? "" : "\n") + name + std::string(width + 2 - name.size(), ' ') +
            std::to_string(number);
    json.push_back({{"vm", jsonText(vmId)}, {"number", number}});
  }
  if (vms.empty()) {
    output.json({{"vms", json}});
    Output::note("no VMs");
  } else {
    output.line(text, {{"vms", json}});
  }
}

void connect(const Output& output, const VmInfo& info) {
  const Operation operation("connectVm", info.vmId);
  const unsigned int status = operation->ConnectVm(info);
  if (info.kstStreamCollaborateType != 0) {
    throw Failure(kExitRefused, "connectVm for " + shown(info.vmId) +
                                    ": nothing was sent, the library does not attach a "
                                    "collaborator; leave out --collaborator");
  }
  operation.finish(output, status, "connected");
}

void start(const Output& output, const std::string& vmId) {
  const Operation operation("startManager", vmId);
  operation.finishSent(output, operation->StartVm(vmId), "start requested");
}

void disconnect(const Output& output, const std::string& vmId) {
  const Operation operation("disconnectVm", vmId);
  operation.finishSent(output, operation->DisconnectVm(vmId), "disconnect requested");
}

struct Focus {
  std::string vmId;
  unsigned long long window = 0;
  bool isLost = false;
};

void focus(const Output& output, const Focus& focus) {
  const Operation operation("onFocusChanged", focus.vmId);
  operation.finish(output,
                   operation->OnFocusChanged(focus.vmId, focus.window, focus.isLost ? 0 : 1),
                   focus.isLost ? "focus lost" : "focus gained");
}

struct Port {
  std::string vmId;
  unsigned int port = 0;
  int status = 0;
};

void port(const Output& output, const Port& port) {
  const Operation operation("setPortChannelStatus", port.vmId);
  operation.finish(
      output, operation->SetPortChannelStatus(port.vmId, port.port, port.status),
      "port " + std::to_string(port.port) + " has status " + std::to_string(port.status));
}

void token(const Output& output, const std::string& argument) {
  const std::string token = textOrStandardInput(argument);
  if (token.empty()) {
    throw Failure(kExitUsage, "updateDriveToken: the token is empty; give at least one character");
  }
  const Operation operation("updateDriveToken");
  operation.finish(output, operation->UpdateDriveToken(token), "drive token handed over");
}

// A command whose only argument is a text.
void textCommand(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
                 const std::string& help, void (*run)(const Output&, const std::string&),
                 const std::string& argument, const std::string& argumentHelp) {
  const auto text = std::make_shared<std::string>();
  const ParserCommand command = commandLine.command(
      group, name, help, [run, text](const Output& output) { run(output, *text); });
  command.addOption(argument, *text, argumentHelp).required();
}

void addConnect(CommandLine& commandLine, const ParserCommand& group) {
  const auto info = std::make_shared<VmInfo>();
  const ParserCommand command =
      commandLine.command(group, "connect", "Attach the service to a VM session",
                          [info](const Output& output) { connect(output, *info); });
  command.addOption("vm", info->vmId, kVmHelp).required();
  command.addOption("--system-type", info->systemType, "Operating system of the session");
  command.addOption("--share-mode", info->shareMode, "Sharing mode");
  command.addOption("--connect-param", info->connectParam, "Further parameter for the service");
  command.addFlag(
      "--collaborator", [info] { info->kstStreamCollaborateType = 1; },
      "Take part in somebody else's session, which the library does not attach");
}

void addFocus(CommandLine& commandLine, const ParserCommand& group) {
  const auto change = std::make_shared<Focus>();
  const ParserCommand command =
      commandLine.command(group, "focus", "Tell that a session window has gained the focus",
                          [change](const Output& output) { focus(output, *change); });
  command.addOption("vm", change->vmId, kVmHelp).required();
  addNumber(command, "--window", change->window, "The window system's number of the window");
  command.addFlag("--lost", change->isLost, "Tell that it has lost the focus");
}

void addPort(CommandLine& commandLine, const ParserCommand& group) {
  const auto change = std::make_shared<Port>();
  const ParserCommand command =
      commandLine.command(group, "port", "Tell that a port channel has changed its state",
                          [change](const Output& output) { port(output, *change); });
  command.addOption("vm", change->vmId, kVmHelp).required();
  addNumber(command, "port", change->port, "Number of the port").required();
  command.addOption("status", change->status, "Its state, in the service's numbers").required();
}

}  // namespace

void addVmCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("vm", "VM sessions");
  commandLine.command(group, "list", "List the VMs with the service's numbers for them", list);
  addConnect(commandLine, group);
  textCommand(commandLine, group, "start", "Start a VM session; its outcome is not told", start,
              "vm", kVmHelp);
  textCommand(commandLine, group, "disconnect",
              "Detach the service from a VM session; its outcome is not told", disconnect, "vm",
              kVmHelp);
  addFocus(commandLine, group);
  addPort(commandLine, group);
  textCommand(commandLine, group, "token", "Hand over a token for access to drives", token, "token",
              "The token; - reads it from standard input, where other users cannot see it");
}

}  // namespace velctl
