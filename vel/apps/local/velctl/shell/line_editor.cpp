#include "vel/apps/local/velctl/shell/line_editor.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include <histedit.h>
#include <langinfo.h>
#include <unistd.h>

#include "base/printable.h"
#include "base/utf8.h"
#include "vel/apps/local/velctl/line/words.h"
#include "vel/apps/local/velctl/output/table.h"
#include "vel/apps/local/velctl/output/terminal.h"

namespace velctl {
namespace {

constexpr int kMostLines = 1000;

// Lines are UTF-8, also where the user has chosen no language.
void chooseCharacters() {
  std::setlocale(LC_CTYPE, "");
  for (const char* const locale : {"C.UTF-8", "en_US.UTF-8"}) {
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0) {
      return;
    }
    std::setlocale(LC_CTYPE, locale);
  }
}

std::size_t charactersOf(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) {
    text.remove_prefix(base::firstCharacter(text).length);
  }
  return count;
}

// The beginning that all have in common, in whole characters.
std::string commonBeginning(const std::vector<Candidate>& candidates) {
  std::string_view common = candidates.front().value;
  for (const Candidate& candidate : candidates) {
    const auto ends =
        std::mismatch(common.begin(), common.end(), candidate.value.begin(), candidate.value.end());
    common =
        base::cutBetweenCharacters(common, static_cast<std::size_t>(ends.first - common.begin()));
  }
  return std::string(common);
}

// The names in a folder that begin as the typed word does.
std::vector<Candidate> filesFor(const std::string& typed) {
  namespace fs = std::filesystem;
  const std::size_t slash = typed.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
  const std::string beginning = typed.substr(folder.size());
  std::vector<Candidate> files;
  std::error_code error;
  for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end;
       !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const bool isWanted = name.rfind(beginning, 0) == 0 &&
                          (name.front() != '.' || !beginning.empty()) &&
                          base::printable(name) == name;
    if (isWanted) {
      std::error_code unknown;
      files.push_back({folder + name + (entry->is_directory(unknown) ? "/" : ""), ""});
    }
  }
  std::sort(files.begin(), files.end(),
            [](const Candidate& a, const Candidate& b) { return a.value < b.value; });
  return files;
}

}  // namespace

class LineEditor::Library {
 public:
  Library(std::string prompt, Completer completer)
      : prompt_(std::move(prompt)), completer_(std::move(completer)) {
    chooseCharacters();
    line_ = ::el_init("velctl", stdin, stderr, stderr);
    history_ = ::history_init();
    HistEvent event = {};
    ::history(history_, &event, H_SETSIZE, kMostLines);
    ::history(history_, &event, H_SETUNIQUE, 1);
    ::el_set(line_, EL_CLIENTDATA, this);
    ::el_set(line_, EL_PROMPT, &promptOf);
    ::el_set(line_, EL_HIST, &::history, history_);
    ::el_set(line_, EL_EDITOR, "emacs");
    // Restores the terminal when a signal stops or ends the process.
    ::el_set(line_, EL_SIGNAL, 1);
    // The user's .editrc
    ::el_source(line_, nullptr);
    ::el_set(line_, EL_ADDFN, "velctl-complete", "Complete the word", &onTab);
    ::el_set(line_, EL_BIND, "^I", "velctl-complete", nullptr);
    // Ctrl-C and Ctrl-Z are keys while a line is edited, which needs no signal handler.
    ::el_set(line_, EL_ADDFN, "velctl-cancel", "Cancel the line", &onCancel);
    ::el_set(line_, EL_BIND, "^C", "velctl-cancel", nullptr);
    ::el_set(line_, EL_ADDFN, "velctl-suspend", "Suspend the shell", &onSuspend);
    ::el_set(line_, EL_BIND, "^Z", "velctl-suspend", nullptr);
    ::el_set(line_, EL_SETTY, "-d", "-isig", nullptr);
  }

  ~Library() {
    ::history_end(history_);
    ::el_end(line_);
  }

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  std::optional<std::string> readLine() {
    isCancelled_ = false;
    // Otherwise the prompt comes first, and a Ctrl-D that is typed at once is lost.
    ::el_set(line_, EL_PREP_TERM, 1);
    int length = 0;
    const char* const typed = ::el_gets(line_, &length);
    if (!typed || length <= 0) {
      std::fputc('\n', stderr);
      return std::nullopt;
    }
    std::string line(typed, static_cast<std::size_t>(length));
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
      line.pop_back();
    }
    return isCancelled_ ? std::string() : line;
  }

  void remember(const std::string& line) {
    HistEvent event = {};
    ::history(history_, &event, H_ENTER, line.c_str());
  }

 private:
  static Library& of(EditLine* line) {
    void* library = nullptr;
    ::el_get(line, EL_CLIENTDATA, &library);
    return *static_cast<Library*>(library);
  }
  static char* promptOf(EditLine* line) { return of(line).prompt_.data(); }
  static unsigned char onTab(EditLine* line, int /*key*/) { return of(line).complete(); }
  static unsigned char onCancel(EditLine* line, int /*key*/) {
    of(line).isCancelled_ = true;
    std::fputs("^C\n", stderr);
    return CC_NEWLINE;
  }

  static unsigned char onSuspend(EditLine* line, int /*key*/) {
    ::el_set(line, EL_PREP_TERM, 0);
    ::raise(SIGTSTP);
    ::el_set(line, EL_PREP_TERM, 1);
    return CC_REDISPLAY;
  }

  unsigned char complete() {
    const LineInfo* const info = ::el_line(line_);
    const std::string typed(info->buffer, info->cursor);
    UnfinishedLine unfinished = unfinishedLine(typed);
    if (unfinished.words.size() > 1 && unfinished.words.front() == "velctl") {
      unfinished.words.erase(unfinished.words.begin());
    }
    const std::string& word = unfinished.words.back();
    Completion completion = completer_(unfinished.words);
    if (completion.takesFile) {
      completion.candidates = filesFor(word);
    }
    if (completion.candidates.empty()) {
      return CC_ERROR;
    }
    const bool isOnly = completion.candidates.size() == 1;
    const std::string common = commonBeginning(completion.candidates);
    if (!isOnly && common.size() <= word.size()) {
      list(completion.candidates);
      return CC_REDISPLAY;
    }
    replace(typed.substr(unfinished.lastBegin), common, isOnly && common.back() != '/');
    return CC_REFRESH;
  }

  // Puts a word in place of one as it was typed, with the same quotation mark.
  void replace(const std::string& typed, const std::string& word, bool isWhole) {
    const bool isInQuotes = !typed.empty() && (typed.front() == '"' || typed.front() == '\'') &&
                            !quotedWord(word, typed.front()).empty();
    const std::string mark = isInQuotes ? typed.substr(0, 1) : "";
    std::string text = mark + quotedWord(word, isInQuotes ? typed.front() : '\0');
    text += isWhole ? mark + ' ' : "";
    ::el_deletestr(line_, static_cast<int>(charactersOf(typed)));
    ::el_insertstr(line_, text.c_str());
  }

  static void list(const std::vector<Candidate>& candidates) {
    Table table;
    for (const Candidate& candidate : candidates) {
      table.add({candidate.value, {candidate.description, Style::kFaint}});
    }
    std::fprintf(stderr, "\n%s\n", table.text(terminalAt(STDERR_FILENO)).c_str());
  }

  std::string prompt_;
  const Completer completer_;
  EditLine* line_ = nullptr;
  History* history_ = nullptr;
  bool isCancelled_ = false;
};

LineEditor::LineEditor(const std::string& prompt, Completer completer)
    : library_(std::make_unique<Library>(prompt, std::move(completer))) {}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::readLine() {
  return library_->readLine();
}

void LineEditor::remember(const std::string& line) {
  library_->remember(line);
}

}  // namespace velctl
