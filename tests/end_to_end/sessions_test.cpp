// The terminal sessions in the documents: each line that a reader types, with what it prints. Those
// of one document are one session.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/end_to_end/end_to_end_test.h"
#include "tests/under_sanitizer.h"

namespace end_to_end {
namespace {

namespace fs = std::filesystem;

// A line that the reader types, and the lines that follow it.
struct ShownStep {
  std::string line;
  std::string printed;
};

std::string textOfFile(const fs::path& path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

// All steps of a document, from its blocks of the kind "console".
std::vector<ShownStep> stepsIn(const std::string& document) {
  std::vector<ShownStep> steps;
  bool isInside = false;
  std::istringstream lines(document);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("```", 0) == 0) {
      isInside = line == "```console";
    } else if (isInside && line.rfind("$ ", 0) == 0) {
      steps.push_back({line.substr(2), ""});
    } else if (isInside && !steps.empty()) {
      steps.back().printed += line + '\n';
    }
  }
  return steps;
}

// The documents that show a session, by their paths from the root of the tree. A sanitizer gets the
// one with the most commands: each takes a second to begin there.
std::vector<std::string> documentsWithSessions() {
  if (kUnderSanitizer) {
    return {"docs/velctl.md"};
  }
  const fs::path root = REPOSITORY;
  std::vector<fs::path> files = {root / "README.md"};
  for (const char* const folder : {"docs", "examples"}) {
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
      files.push_back(entry.path());
    }
  }
  std::vector<std::string> documents;
  for (const fs::path& file : files) {
    if (file.extension() == ".md" && !stepsIn(textOfFile(file)).empty()) {
      documents.push_back(file.lexically_relative(root).generic_string());
    }
  }
  std::sort(documents.begin(), documents.end());
  return documents;
}

// What a shell prints for all lines, one after the other; line i begins behind its mark.
std::string stepMark(std::size_t step) {
  return "--- step " + std::to_string(step) + " ---\n";
}

std::string scriptOf(const std::vector<ShownStep>& steps) {
  std::string script = "exec 2>&1\ncd \"$HOME\"\n";
  for (std::size_t i = 0; i < steps.size(); ++i) {
    script += "printf '%s\\n' '" + stepMark(i).substr(0, stepMark(i).size() - 1) + "'\n";
    script += steps[i].line + '\n';
  }
  return script;
}

std::string printedBy(std::size_t step, const std::string& all) {
  const std::size_t begin = all.find(stepMark(step));
  if (begin == std::string::npos) {
    return "(the session has not come so far)";
  }
  const std::size_t text = begin + stepMark(step).size();
  const std::size_t end = all.find(stepMark(step + 1), text);
  return all.substr(text, end == std::string::npos ? end : end - text);
}

std::vector<std::string> sessionLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

// Whether a line is as shown, where "..." stands for any text.
bool isLike(const std::string& shown, const std::string& line) {
  const std::size_t gap = shown.find("...");
  if (gap == std::string::npos) {
    return shown == line;
  }
  const std::string behind = shown.substr(gap + 3);
  return line.size() >= gap + behind.size() && line.compare(0, gap, shown, 0, gap) == 0 &&
         line.compare(line.size() - behind.size(), behind.size(), behind) == 0;
}

bool areLike(const std::string& shown, const std::string& printed) {
  const std::vector<std::string> expected = sessionLines(shown);
  const std::vector<std::string> actual = sessionLines(printed);
  return std::equal(expected.begin(), expected.end(), actual.begin(), actual.end(), isLike);
}

class SessionTest : public EndToEndTest, public testing::WithParamInterface<std::string> {};

TEST_P(SessionTest, PrintsWhatItShows) {
  const fs::path root = REPOSITORY;
  const std::vector<ShownStep> steps = stepsIn(textOfFile(root / GetParam()));
  Process::Options shell = onABareMachine(options({"sh", "-c", scriptOf(steps)}));
  const std::string path = shell.environment.count("PATH") != 0 ? shell.environment["PATH"]
                                                                : std::string(::getenv("PATH"));
  shell.environment["PATH"] = fs::path(VELSIM_PATH).parent_path().string() + ':' +
                              fs::path(VELCTL_PATH).parent_path().string() + ':' + path;
  shell.environment["HOME"] = folder();
  shell.environment["TMPDIR"] = folder();
  // As in a clone, where readers are.
  fs::create_directory_symlink(root / "examples", fs::path(folder()) / "examples");

  const Finished session = processes::run(shell);

  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::string printed = printedBy(i, session.out);
    EXPECT_TRUE(areLike(steps[i].printed, printed)) << "$ " << steps[i].line << '\n'
                                                    << GetParam() << " shows:\n"
                                                    << steps[i].printed << "and it printed:\n"
                                                    << printed;
  }
}

INSTANTIATE_TEST_SUITE_P(Documents, SessionTest, testing::ValuesIn(documentsWithSessions()),
                         [](const testing::TestParamInfo<std::string>& document) {
                           std::string name = document.param;
                           std::replace_if(
                               name.begin(), name.end(),
                               [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); },
                               '_');
                           return name;
                         });

}  // namespace
}  // namespace end_to_end
