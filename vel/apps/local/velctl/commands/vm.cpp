// velctl vm, port, token, pipe: VM sessions, and what a client reports of them.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"
#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/data_streams.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

void showVm(Invocation& invocation) {
  const std::vector<vel::Vm> vms = invocation.valueOf(
      invocation.call([](const vel::Client& client, const Values&) { return client.vms(); }));
  const auto vm = std::find_if(vms.begin(), vms.end(), [&](const vel::Vm& each) {
    return each.name == invocation.values().vm();
  });
  if (vm == vms.end()) {
    invocation.fail(kExitUnknown,
                    "the service does not list this VM; velctl vm list shows its VMs");
  }
  finishThing(invocation, vmFields(), *vm);
}

vel::Result<void> connectVm(const vel::Client& client, const Values& values) {
  vel::VmSession session;
  session.vm = values.vm();
  session.systemType = values.number<std::int32_t>("--system-type");
  session.shareMode = values.number<std::int32_t>("--share-mode");
  session.connectParam = values.number<std::int32_t>("--connect-param");
  session.isCollaborator = values.has("--collaborator");
  return client.connectVm(session);
}

vel::Result<void> reportFocus(const vel::Client& client, const Values& values) {
  return client.setFocus(values.vm(), vel::WindowId(values.number<std::uint64_t>("--window")),
                         !values.has("--lost"));
}

void updateToken(Invocation& invocation) {
  const std::string token = textOrStandardInput(invocation.values().text("TOKEN"));
  if (token.empty()) {
    invocation.fail(kExitUsage, "the token is empty; give at least one character");
  }
  invocation.finish(invocation.call([token](const vel::Client& client, const Values&) {
    return client.updateDriveToken(token);
  }),
                    "drive token handed over");
}

// --- Pipes --------------------------------------------------------------------------------------

// Removes the text up to the next comma, and returns it.
std::string_view cutField(std::string_view& text) {
  const std::size_t comma = text.find(',');
  const std::string_view field = text.substr(0, comma);
  text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
  return field;
}

// HANDLE[,NAME1[,NAME2]]
base::Result<vel::Pipe> parsePipe(std::string_view description) {
  constexpr std::size_t kLongestName = 127;
  constexpr unsigned long long kMost = std::numeric_limits<unsigned long long>::max();
  const std::optional<unsigned long long> handle = base::parseNumber(cutField(description), kMost);
  if (!handle) {
    return base::Failed{"the handle must be a number from 0 to " + std::to_string(kMost) +
                        ", decimal or 0x..."};
  }
  vel::Pipe pipe;
  pipe.handle = *handle;
  pipe.name1 = cutField(description);
  pipe.name2 = description;
  if (pipe.name1.size() > kLongestName || pipe.name2.size() > kLongestName) {
    return base::Failed{"a name has at most 127 bytes"};
  }
  return pipe;
}

std::string mistakeInPipe(const std::string& text) {
  const base::Result<vel::Pipe> pipe = parsePipe(text);
  return pipe ? "" : printableInQuotes(text) + ": " + pipe.reason();
}

std::vector<vel::Pipe> pipesIn(const Values& values) {
  std::vector<vel::Pipe> pipes;
  for (const std::string& description : values.texts("PIPE")) {
    pipes.push_back(*parsePipe(description));
    pipes.back().vm = values.vm();
  }
  return pipes;
}

Parameter pipeArgument() {
  return text("PIPE", "HANDLE[,NAME1[,NAME2]]").repeated().checked(&mistakeInPipe);
}

}  // namespace

std::vector<Command> vmCommands() {
  return {
      {"vm list",
       "List the VMs with the service's numbers for them",
       {},
       lists("getVmList", "vms", vmFields(),
             [](const vel::Client& client, const Values&) { return client.vms(); }),
       {{"vm list", "The names that --vm takes"}}},
      {"vm show",
       "Show one VM",
       {vmArgument()},
       runs("getVmList", &showVm, membersOf(vmFields())),
       {{"vm show win11", "The number of the VM win11"}}},
      {"vm connect",
       "Attach the service to a VM session",
       {vmArgument(),
        number<std::int32_t>("--system-type", "Operating system of the session")
            .orElse("0")
            .silent(),
        number<std::int32_t>("--share-mode", "Sharing mode").orElse("0").silent(),
        number<std::int32_t>("--connect-param", "Further parameter for the service")
            .orElse("0")
            .silent(),
        flag("--collaborator",
             "Join the session of another user, which the library refuses to attach")},
       asks("connectVm", &connectVm, "{VM} connected"),
       {{"vm connect win11", "Begin the session with win11"}}},
      {"vm disconnect",
       "Detach the service from a VM session",
       {vmArgument()},
       sends(
           "disconnectVm",
           [](const vel::Client& client, const Values& values) {
             return client.disconnectVm(values.vm());
           },
           "disconnection of {VM} requested"),
       {{"vm disconnect win11", "End the session with win11"}}},
      {"vm start",
       "Start a VM session",
       {vmArgument()},
       sends(
           "startManager",
           [](const vel::Client& client, const Values& values) {
             return client.startVm(values.vm());
           },
           "start of {VM} requested"),
       {{"vm start win11", "Start the session of win11"}}},
      {"vm focus",
       "Report that a session window has gained the focus, or lost it",
       {vmArgument(),
        number<std::uint64_t>("--window", "The window system's number of the window").orElse("0"),
        flag("--lost", "Report that the window has lost the focus")},
       asks("onFocusChanged", &reportFocus, "focus of {VM} reported"),
       {{"vm focus win11 --lost", "The window of win11 has lost the focus"}}},
      {"port set",
       "Report the status of a port channel",
       {number<std::uint32_t>("PORT", "Number of the port"),
        number<std::int32_t>("PORT-STATUS", "Status of the port channel, a number of the service"),
        vmOption().required()},
       asks(
           "setPortChannelStatus",
           [](const vel::Client& client, const Values& values) {
             return client.setPortStatus(values.vm(),
                                         vel::PortNumber(values.number<std::uint32_t>("PORT")),
                                         values.number<std::int32_t>("PORT-STATUS"));
           },
           "port {PORT} of {--vm} has status {PORT-STATUS}"),
       {{"port set 7 1 --vm win11", "Port 7 of win11 has status 1"}},
       "",
       "vm port"},
      {"token set",
       "Hand a drive token to the service",
       {text("TOKEN", "The token; - reads it from standard input").silent()},
       runs("updateDriveToken", &updateToken, statusMembers()),
       {{"token set - < token.txt", "The token stands in a file, and in no list of processes"}},
       "",
       "vm token"},
      {"pipe add",
       "Open data pipes of a VM session",
       {pipeArgument(), vmOption().required()},
       asks(
           "createPipe",
           [](const vel::Client& client, const Values& values) {
             return client.createPipes(values.vm(), pipesIn(values));
           },
           "{PIPE} of {--vm} opened"),
       {{"pipe add 7,in,out --vm win11", "A pipe with the handle 7 and two names"}},
       "",
       "pipe create"},
      {"pipe remove",
       "Close data pipes of a VM session",
       {pipeArgument(), vmOption().required()},
       asks(
           "destroyPipe",
           [](const vel::Client& client, const Values& values) {
             return client.destroyPipes(values.vm(), pipesIn(values));
           },
           "{PIPE} of {--vm} closed"),
       {{"pipe remove 7 --vm win11", "Close the pipe with the handle 7"}},
       "",
       "pipe destroy"},
  };
}

}  // namespace velctl
