// velctl exec: commands for the service itself.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/command_answers.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

using Clock = std::chrono::steady_clock;

struct Command {
  int command = 0;
  std::string arguments;
  std::string vmId;
  unsigned int waitSeconds = 5;
};

// The first answer that concerns the VM.
std::optional<CommandAnswer> waitForAnswer(Inbox<CommandAnswer>& answers, unsigned int vmNumber,
                                           std::chrono::seconds patience) {
  const ElapsedTime elapsed("waiting for the answer to the command", patience);
  const Clock::time_point end = Clock::now() + patience;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    std::optional<CommandAnswer> answer =
        answers.next(std::max(left, std::chrono::milliseconds{0}));
    if (!answer || answer->vmNumber == 0 || answer->vmNumber == vmNumber) {
      return answer;
    }
  }
}

void run(const Output& output, const Command& given) {
  const Operation operation(
      "dovelcmd", given.vmId,
      Json{{"command", given.command}, {"arguments", jsonText(given.arguments)}});
  // Never destroyed: an answer may come as late as the end of the process.
  static auto& answers = *new Inbox<CommandAnswer>;
  const CommandAnswers listener([](CommandAnswer answer) { answers.add(std::move(answer)); });
  const int status = operation->DoVelCmd(given.vmId, given.arguments, given.command);
  if (status != 0 || given.waitSeconds == 0) {
    operation.finish(output, status, "command " + std::to_string(given.command) + " accepted");
    return;
  }
  const std::optional<CommandAnswer> answer =
      waitForAnswer(answers, operation.number(), std::chrono::seconds(given.waitSeconds));
  const Json json =
      operation.answered(Json{{"status", status}, {"answer", answer ? toJson(*answer) : Json()}});
  if (!answer) {
    output.json(json);
    throw Failure(kExitNoAnswer,
                  "dovelcmd " + std::to_string(given.command) + " for " + shown(given.vmId) +
                      ": accepted by the service, which told no result within " +
                      std::to_string(given.waitSeconds) + " s; --wait waits longer, or not at all");
  }
  output.line(describe(*answer), json);
}

struct Vm {
  std::string vmId;
};

// The text, without what the library puts around it.
std::string_view insideOf(std::string_view help) {
  constexpr std::string_view kBefore = "vm id [\n";
  constexpr std::string_view kBehind = "]\n";
  if (help.size() >= kBefore.size() + kBehind.size()) {
    help.remove_prefix(kBefore.size());
    help.remove_suffix(kBehind.size());
  }
  return help;
}

void help(const Output& output, const Vm& vm) {
  const Operation operation("getvelcmdhelp", vm.vmId);
  const std::string help = operation->GetVelCmdHelp(vm.vmId);
  const std::string_view text = insideOf(help);
  operation.finishWith(output, printableLines(text), Json{{"text", jsonText(text)}});
}

struct Test {
  unsigned short test = 0;
};

void test(const Output& output, const Test& test) {
  const Operation operation("doveltest", Json{{"test", test.test}});
  operation.finish(output, operation->DoVelTest("", test.test),
                   "test " + std::to_string(test.test) + " passed");
}

}  // namespace

void addExecCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("exec", "Commands and tests of the service itself");

  const auto [runCommand, given] = addCommand(
      commandLine, group, "run", "Give a command, and show the first answer that comes", run);
  runCommand.addOption("command", given.command, "Number of the command").required();
  runCommand.addOption("arguments", given.arguments, "Its arguments, as one text");
  addVm(runCommand, given.vmId);
  addNumber(runCommand, "--wait", given.waitSeconds,
            "Seconds to wait for the answer; 0: do not wait [5]");

  const auto [helpCommand, vm] =
      addCommand(commandLine, group, "help", "Show the service's help on its commands", help);
  addVm(helpCommand, vm.vmId);

  const auto [testCommand, which] =
      addCommand(commandLine, group, "test", "Run a self-test of the service", test);
  addNumber(testCommand, "test", which.test, "Number of the test").required();
}

}  // namespace velctl
