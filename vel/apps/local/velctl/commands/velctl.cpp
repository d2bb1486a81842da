// velctl help, completion and shell: what concerns velctl itself.

#include <algorithm>

#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/completion/scripts.h"
#include "vel/apps/local/velctl/line/command_line.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/actions.h"
#include "vel/apps/local/velctl/shell/shell.h"

namespace velctl {
namespace {

std::vector<std::string> wordsBehind(const std::string& path) {
  std::vector<std::string> words;
  const std::string beginning = path.empty() ? "" : path + ' ';
  for (const Command& command : commands()) {
    if (command.path.rfind(beginning, 0) == 0) {
      const std::string rest = command.path.substr(beginning.size());
      const std::string word = rest.substr(0, rest.find(' '));
      if (std::find(words.begin(), words.end(), word) == words.end()) {
        words.push_back(word);
      }
    }
  }
  return words;
}

// The mistake in the words of a command, empty for none.
std::string mistakeInPath(const std::vector<std::string>& words) {
  std::string path;
  for (const std::string& word : words) {
    const std::vector<std::string> known = wordsBehind(path);
    if (std::find(known.begin(), known.end(), word) == known.end()) {
      const std::vector<std::string> near = nearest(word, known);
      return "help: unknown command " + printableInQuotes(path.empty() ? word : path + ' ' + word) +
             (near.empty() ? "" : "; did you mean " + base::joined(near, " or ") + "?") +
             "; see velctl help";
    }
    path += (path.empty() ? "" : " ") + word;
  }
  return {};
}

void showHelp(Invocation& invocation) {
  const std::vector<std::string> words = invocation.values().texts("COMMAND");
  const std::string mistake = mistakeInPath(words);
  if (!mistake.empty()) {
    throw Failure(kExitUsage, mistake);
  }
  std::string text = helpOf(base::joined(words, " "));
  text.resize(text.find_last_not_of('\n') + 1);
  invocation.finishWith(text, Json{{"help", text}});
}

void showScript(Invocation& invocation) {
  std::string text = completionScript(invocation.values().text("SHELL"));
  text.pop_back();
  invocation.finishWith(text, Json{{"script", text}});
}

}  // namespace

std::vector<Command> velctlCommands() {
  Action shell;
  shell.runAlone = &runShell;
  return {
      {"shell",
       "Run commands one after the other, with completion and a history",
       {},
       shell,
       {{"shell", "At a terminal: Tab completes, Ctrl-C ends a command, Ctrl-D the shell"},
        {"shell < commands.txt", "The commands of a file, one in a line"}},
       "Words are quoted as in other shells: 'Front camera' or Front\\ camera; # begins a "
       "comment.\n"
       "exit ends the shell, help shows the commands. A command that fails does not end it; from "
       "a\n"
       "file or a pipe, the exit status is that of the last command that failed. The history is "
       "the\n"
       "file velctl_history in the user's data folder. It has no line with the word token."},
      {"completion",
       "Print the completion of velctl for a shell",
       {choice("SHELL", completedShells(), "The shell")},
       runs("", &showScript, {{"script", Type::kText}}),
       {{"completion bash > ~/.local/share/bash-completion/completions/velctl",
         "For bash with the package bash-completion"},
        {"completion zsh > ~/.zfunc/_velctl", "For zsh with ~/.zfunc in its fpath"},
        {"completion fish > ~/.config/fish/completions/velctl.fish", "For fish"}}},
      {"help",
       "Show the help of velctl, or of a command",
       {thing(Kind::kCommand, "COMMAND", "The words of the command").optional().repeated()},
       runs("", &showHelp, {{"help", Type::kText}}),
       {{"help device attach", "What device attach takes, with examples"}}},
  };
}

}  // namespace velctl
