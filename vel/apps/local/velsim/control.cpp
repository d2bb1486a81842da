#include "vel/apps/local/velsim/control.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velsim/machine_commands.h"

namespace velsim {

Control::Control(Simulator& simulator, std::function<void()> vanish) {
  add(machineCommands(simulator));
  add({{"vanish", "", 0, 0, "end the service at once, as a crash does",
        [vanish = std::move(vanish)](const Words&) -> Answer {
          vanish();
          return std::string();
        },
        false, true},
       {"help", "", 0, 0, "list the commands", [this](const Words&) -> Answer { return help(); }}});
}

void Control::add(std::vector<Command> commands) {
  std::move(commands.begin(), commands.end(), std::back_inserter(commands_));
}

const Command* Control::find(const std::string& word) const {
  const auto found = std::find_if(commands_.begin(), commands_.end(),
                                  [&word](const Command& each) { return each.word == word; });
  return found == commands_.end() ? nullptr : &*found;
}

base::Result<Control::Call> Control::parse(const std::string& line) const {
  base::Result<Words> words = wordsIn(line);
  if (!words) {
    return words.failed();
  }
  Call call;
  if (words->empty()) {
    return call;
  }
  const std::string& word = words->front();
  call.command = find(word);
  if (!call.command) {
    return base::Failed{"unknown command " + base::quoted(word) + "; type help for the list"};
  }
  call.arguments.assign(words->begin() + 1, words->end());
  const std::size_t count = call.arguments.size();
  if (count < call.command->least || count > call.command->most) {
    return base::Failed{call.command->most == 0 ? word + " takes no arguments"
                                                : "usage: " + word + " " + call.command->arguments};
  }
  return call;
}

Control::Answer Control::run(const std::string& line) {
  const base::Result<Call> call = parse(line);
  if (!call) {
    return call.failed();
  }
  return call->command ? call->command->run(call->arguments) : std::string();
}

base::Result<void> Control::check(const std::string& line) const {
  const base::Result<Call> call = parse(line);
  if (!call) {
    return call.failed();
  }
  const bool isChecked = call->command && call->command->check;
  return isChecked ? call->command->check(call->arguments) : base::Result<void>();
}

bool Control::cutsConnections(const std::string& line) const {
  const base::Result<Call> call = parse(line);
  return call && call->command && call->command->cutsConnections;
}

bool Control::knows(const std::string& line) const {
  // A quote that is not closed is an error of the command in front of it.
  const base::Result<Words> words = wordsIn(line.substr(0, line.find_first_of("\"'")));
  return words && !words->empty() && find(words->front()) != nullptr;
}

base::Result<Json> Control::answer(const std::string& line) {
  const base::Result<Call> call = parse(line);
  if (!call) {
    return call.failed();
  }
  if (!call->command) {
    return Json(std::string());
  }
  Answer answer = call->command->run(call->arguments);
  if (!answer) {
    return answer.failed();
  }
  if (call->command->isJson) {
    return Json::parse(*answer);
  }
  if (!answer->empty() && answer->back() == '\n') {
    answer->pop_back();
  }
  return Json(*answer);
}

std::string Control::help() const {
  constexpr std::size_t kWidestUsage = 30;
  std::string text;
  for (const Command& command : commands_) {
    std::string usage = command.word + (command.arguments.empty() ? "" : " " + command.arguments);
    usage += std::string(usage.size() < kWidestUsage ? kWidestUsage - usage.size() : 0, ' ');
    text += usage + "  " + command.help + "\n";
  }
  return text;
}

}  // namespace velsim
