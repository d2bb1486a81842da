// velctl command: commands of the service.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/events.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

// Answers to commands. A request that has been given up may still use it.
struct Answers {
  Inbox<vel::CommandEvent> inbox;
  // The last: its callback uses the inbox.
  vel::Subscription subscription;
};

Json answerMember(const std::optional<vel::CommandEvent>& answer) {
  if (!answer) {
    return nullptr;
  }
  Json json = {{"vm", answer->vm.empty() ? Json() : jsonText(answer->vm)},
               {"vmNumber", answer->vmNumber.value()}};
  json.update(answerJson(answer->answer));
  return json;
}

void runCommand(Invocation& invocation) {
  const auto answers = std::make_shared<Answers>();
  const auto result = invocation.call([answers](const vel::Client& client, const Values& values) {
    // Other VMs have answers of their own.
    answers->subscription = client.onCommand(
        [inbox = &answers->inbox, vm = values.vmNumber()](const vel::CommandEvent& event) {
          if (event.vmNumber == vel::VmNumber() || event.vmNumber == vm) {
            inbox->add(event);
          }
        });
    return client.command(values.vm(), values.text("TEXT"), values.number<std::int32_t>("ID"));
  });
  const std::chrono::milliseconds limit = invocation.values().duration("--wait");
  if (!result || limit.count() == 0) {
    invocation.finish(result, "command {ID} accepted");
    return;
  }
  Progress progress("waiting for the answer to the command",
                    std::chrono::ceil<std::chrono::seconds>(limit), invocation.output().isQuiet());
  const std::optional<vel::CommandEvent> answer =
      invocation.session().next(answers->inbox, progress, Session::Clock::now() + limit);
  if (!answer) {
    invocation.fail(kExitNoReply, "the service accepted the command and sent no answer within " +
                                      invocation.values().text("--wait") +
                                      " s; --wait SECONDS waits longer, --wait 0 does not wait");
  }
  invocation.finishWith(
      answerText(answer->answer),
      Json{{"status", 0}, {"statusName", "ok"}, {"answer", answerMember(answer)}});
}

// The service's text: the library puts a frame around it.
std::string withoutFrame(const std::string& help) {
  constexpr std::string_view kBefore = "vm id [\n";
  constexpr std::string_view kBehind = "]\n";
  return help.size() >= kBefore.size() + kBehind.size()
             ? help.substr(kBefore.size(), help.size() - kBefore.size() - kBehind.size())
             : help;
}

}  // namespace

std::vector<Command> serviceCommandCommands() {
  std::vector<Member> answer = statusMembers();
  answer.push_back({"answer", Type::kAny});
  return {
      {"command run",
       "Give the service a command, and show the first answer",
       {number<std::int32_t>("ID", "Number of the command"),
        text("TEXT", "Arguments of the command, as one text").orElse(""), vmOption().orElse(""),
        seconds("--wait", "5", "Seconds to wait for the answer; 0: do not wait")},
       runs("dovelcmd", &runCommand, answer),
       {{"command run 7 usb --vm win11", "Command 7 of velsim, which lists the USB devices"},
        {"command run 7 usb --vm win11 --json", "The same in JSON, with every byte of the answer"}},
       "An answer of printable text is shown as it is, any other as its bytes.",
       "exec run"},
      {"command help",
       "Show the service's help on its commands",
       {vmOption().orElse("")},
       reads("getvelcmdhelp", "text",
             [](const vel::Client& client, const Values& values) -> vel::Result<std::string> {
               const vel::Result<std::string> help = client.commandHelp(values.vm());
               return help ? vel::Result<std::string>(withoutFrame(*help)) : help;
             }),
       {{"command help --vm win11", "The commands that this service knows"}},
       "",
       "exec help"},
  };
}

}  // namespace velctl
