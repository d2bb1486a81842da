// velctl exec: commands and self-tests of the service.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

struct ServiceCommand {
  int command = 0;
  std::string arguments;
  std::string vmId;
  unsigned int waitSeconds = 5;
};

void run(const Output& output, const ServiceCommand& given) {
  using Answers = Inbox<vel::CommandEvent>;
  const Operation operation(
      "dovelcmd", given.vmId,
      Json{{"command", given.command}, {"arguments", jsonText(given.arguments)}});
  Answers answers;
  // Other VMs have answers of their own.
  const vel::Subscription subscription = operation.client().onCommand(
      [&answers, vm = operation.number()](const vel::CommandEvent& event) {
        if (event.vmNumber == vel::VmNumber() || event.vmNumber == vm) {
          answers.add(event);
        }
      });
  const vel::Result<void> result =
      operation.client().command(given.vmId, given.arguments, given.command);
  if (!result || given.waitSeconds == 0) {
    operation.finish(output, result, "command " + std::to_string(given.command) + " accepted");
    return;
  }
  const std::chrono::seconds limit(given.waitSeconds);
  const std::optional<vel::CommandEvent> answer =
      withElapsedTime("waiting for the answer to the command", limit,
                      [&] { return answers.next(Answers::Clock::now() + limit); });
  const Json json =
      operation.answered(Json{{"status", 0}, {"answer", answer ? toJson(*answer) : Json()}});
  if (!answer) {
    output.json(json);
    throw Failure(kExitNoAnswer,
                  "dovelcmd " + std::to_string(given.command) + " for " + quotedName(given.vmId) +
                      ": the service accepted the command and sent no answer within " +
                      std::to_string(given.waitSeconds) +
                      " s; --wait SECONDS waits longer, --wait 0 does not wait");
  }
  output.line(answer->answer ? hexDump(*answer->answer) : "an empty answer", json);
}

struct HelpOfVm {
  std::string vmId;
};

// The service's text: the library puts a frame around it.
std::string_view withoutFrame(std::string_view help) {
  constexpr std::string_view kBefore = "vm id [\n";
  constexpr std::string_view kBehind = "]\n";
  if (help.size() >= kBefore.size() + kBehind.size()) {
    help.remove_prefix(kBefore.size());
    help.remove_suffix(kBehind.size());
  }
  return help;
}

void showHelp(const Output& output, const HelpOfVm& vm) {
  const Operation operation("getvelcmdhelp", vm.vmId);
  const std::string help = operation.valueOf(operation.client().commandHelp(vm.vmId));
  const std::string_view text = withoutFrame(help);
  operation.finishWith(output, printableLines(text), Json{{"text", jsonText(text)}});
}

struct SelfTest {
  unsigned short test = 0;
};

void runSelfTest(const Output& output, const SelfTest& given) {
  const Operation operation("doveltest", Json{{"test", given.test}});
  operation.finish(output, operation.client().selfTest(given.test),
                   "test " + std::to_string(given.test) + " passed");
}

}  // namespace

void addExecCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("exec", "Commands and self-tests of the service");

  const auto [runCommand, given] =
      addCommand(commandLine, group, "run", "Run a command and show the first answer", run);
  runCommand.addOption("command", given.command, "Number of the command").required();
  runCommand.addOption("arguments", given.arguments, "Arguments of the command, as one text");
  addVm(runCommand, given.vmId);
  addNumber(runCommand, "--wait", given.waitSeconds,
            "Seconds to wait for the answer; 0: do not wait [5]");

  const auto [helpCommand, vm] =
      addCommand(commandLine, group, "help", "Show the service's help on its commands", showHelp);
  addVm(helpCommand, vm.vmId);

  const auto [testCommand, selfTest] =
      addCommand(commandLine, group, "test", "Run a self-test of the service", runSelfTest);
  addNumber(testCommand, "test", selfTest.test, "Number of the test").required();
}

}  // namespace velctl
