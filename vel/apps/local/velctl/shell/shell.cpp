#include "vel/apps/local/velctl/shell/shell.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "base/printable.h"
#include "base/program_output.h"
#include "platform/app_data_path.h"
#include "vel/apps/local/velctl/completion/entry.h"
#include "vel/apps/local/velctl/line/words.h"
#include "vel/apps/local/velctl/own_program.h"
#include "vel/apps/local/velctl/shell/child.h"
#include "vel/apps/local/velctl/shell/history_file.h"
#include "vel/apps/local/velctl/shell/line_editor.h"

namespace velctl {
namespace {

constexpr char kPrompt[] = "velctl> ";
// For the rest of what a velctl does that completes: on a busy machine it begins late.
constexpr std::chrono::seconds kCompletionStart{10};

// The candidates for the last word, as velctl writes them (completion/entry.h).
Completion candidatesOf(const std::vector<std::string>& words,
                        const std::vector<std::string>& globalWords) {
  std::vector<std::string> command = {ownProgram(), kCompleteCommand};
  command.insert(command.end(), globalWords.begin(), globalWords.end());
  command.insert(command.end(), words.begin(), words.end());
  const base::Result<std::string> lines =
      base::outputOf(command, completionLimit() + kCompletionStart);
  Completion completion;
  for (std::string_view rest = lines ? std::string_view(*lines) : ""; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const std::size_t tab = line.find('\t');
    if (tab == 0) {
      completion.takesFile = true;
    } else if (tab != std::string_view::npos) {
      completion.candidates.push_back(
          {std::string(line.substr(0, tab)), std::string(line.substr(tab + 1))});
    }
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  return completion;
}

// A token is a secret. A mistyped command may have one, too.
bool mayHaveSecret(const std::string& line) {
  const std::vector<std::string> words = unfinishedLine(line).words;
  return std::any_of(words.begin(), words.end(),
                     [](const std::string& word) { return !nearest(word, {"token"}).empty(); });
}

class Shell {
 public:
  Shell(const ParsedLine& line, const Output& output)
      : globalWords_(line.globalWords), output_(output) {}

  ExitCode runFromTerminal() {
    HistoryFile history(GetAppDataPath());
    LineEditor editor(kPrompt, [this](const std::vector<std::string>& words) {
      return candidatesOf(words, globalWords_);
    });
    std::string latest;
    for (const std::string& line : history.load()) {
      editor.remember(line);
      latest = line;
    }
    output_.note("help shows the commands, Tab completes; exit or Ctrl-D ends");
    while (!isOver_) {
      const std::optional<std::string> line = editor.readLine();
      if (!line) {
        break;
      }
      const std::string kept = line->substr(0, line->find_last_not_of(" \t") + 1);
      if (!kept.empty() && kept != latest && !mayHaveSecret(kept)) {
        editor.remember(kept);
        history.append(kept);
        latest = kept;
      }
      runLine(*line);
    }
    return kExitDone;
  }

  ExitCode runFromInput() {
    for (std::string line; !isOver_ && std::getline(std::cin, line);) {
      const ExitCode status = runLine(line);
      if (status != kExitDone) {
        failure_ = status;
      }
      if (status == kExitInterrupted) {
        break;
      }
    }
    return failure_;
  }

 private:
  ExitCode runLine(const std::string& line) {
    const base::Result<std::vector<std::string>> given = wordsOf(line);
    if (!given || line.find('\0') != std::string::npos) {
      Output::error("shell: " + (given ? "a line must not have a NUL" : given.reason()));
      return kExitUsage;
    }
    std::vector<std::string> words = *given;
    // As it stands in documents.
    if (!words.empty() && words.front() == "velctl") {
      words.erase(words.begin());
    }
    if (words.empty()) {
      return kExitDone;
    }
    if (words.front() == "exit" || words.front() == "quit") {
      isOver_ = words.size() == 1;
      if (!isOver_) {
        Output::error("shell: " + words.front() + " takes no argument");
      }
      return isOver_ ? kExitDone : kExitUsage;
    }
    std::vector<std::string> command = {ownProgram()};
    command.insert(command.end(), globalWords_.begin(), globalWords_.end());
    command.insert(command.end(), words.begin(), words.end());
    return runChild(command, output_.descriptor(), ::isatty(STDIN_FILENO) == 1);
  }

  const std::vector<std::string> globalWords_;
  const Output& output_;
  bool isOver_ = false;
  ExitCode failure_ = kExitDone;
};

}  // namespace

ExitCode runShell(const ParsedLine& line, const Output& output) {
  Shell shell(line, output);
  // The prompt belongs to the messages: standard output has the data of the commands only.
  const bool isDialog = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
  return isDialog ? shell.runFromTerminal() : shell.runFromInput();
}

}  // namespace velctl
