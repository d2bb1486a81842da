// The terminal session that README.md shows: each of its lines, with what it prints.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/end_to_end/end_to_end_test.h"

namespace end_to_end {
namespace {

namespace fs = std::filesystem;
using testing::Not;
using testing::SizeIs;

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

class ReadmeSessionTest : public EndToEndTest {};

TEST_F(ReadmeSessionTest, PrintsWhatItShows) {
  const std::vector<ShownStep> steps = stepsIn(textOfFile(fs::path(REPOSITORY) / "README.md"));
  ASSERT_THAT(steps, Not(SizeIs(0)));
  Process::Options shell = onABareMachine(options({"sh", "-c", scriptOf(steps)}));
  const std::string path = shell.environment.count("PATH") != 0 ? shell.environment["PATH"]
                                                                : std::string(::getenv("PATH"));
  shell.environment["PATH"] = fs::path(VELSIM_PATH).parent_path().string() + ':' +
                              fs::path(VELCTL_PATH).parent_path().string() + ':' + path;
  shell.environment["HOME"] = folder();
  shell.environment["TMPDIR"] = folder();

  const Finished session = processes::run(shell);

  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::string printed = printedBy(i, session.out);
    EXPECT_TRUE(areLike(steps[i].printed, printed))
        << "$ " << steps[i].line << "\nREADME.md shows:\n"
        << steps[i].printed << "and it printed:\n"
        << printed;
  }
}

}  // namespace
}  // namespace end_to_end
