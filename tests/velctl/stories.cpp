#include "tests/velctl/stories.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include <nlohmann/json.hpp>

namespace velctl_tests {
namespace {

std::string sortedLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  std::string sorted;
  for (const std::string& line : lines) {
    sorted += line + '\n';
  }
  return sorted;
}

// The text of the answer to a command for the service.
std::string answerIn(const std::string& out) {
  const nlohmann::json printed = nlohmann::json::parse(out, nullptr, false);
  return printed.is_object() && printed.contains("answer") && printed["answer"].is_object()
             ? printed["answer"].value("text", "") + '\n'
             : out;
}

std::string operation(const std::string& method, const std::string& members) {
  return R"({"operation":")" + method + "\"," + members + '}';
}

std::string nameOrNull(const std::string& vm) {
  return vm.empty() ? "null" : '"' + vm + '"';
}

}  // namespace

void PrintTo(const Story& story, std::ostream* stream) {
  *stream << story.name;
}

Step shows(const std::string& method, const std::string& command, const std::string& text) {
  Step step;
  step.method = method;
  step.command = command;
  step.out = text + '\n';
  return step;
}

Step showsJson(const std::string& method, const std::string& command, const std::string& members) {
  Step step = shows(method, command, operation(method, members));
  step.form = Form::kJson;
  return step;
}

Step showsLine(const std::string& method, const std::string& command, const std::string& line) {
  Step step = shows(method, command, line);
  step.normalize = [line](const std::string& out) {
    return ('\n' + out).find('\n' + line + '\n') != std::string::npos ? line + '\n' : out;
  };
  return step;
}

Step showsInAnyOrder(const std::string& method, const std::string& command,
                     const std::string& text) {
  Step step = shows(method, command, "");
  step.out = sortedLines(text);
  step.normalize = &sortedLines;
  return step;
}

Step showsJsonInAnyOrder(const std::string& method, const std::string& command,
                         const std::string& lines) {
  Step step = showsInAnyOrder(method, command, lines);
  step.form = Form::kJson;
  return step;
}

Step fails(const std::string& method, const std::string& command, velctl::ExitCode status,
           const std::string& err) {
  Step step;
  step.method = method;
  step.command = command;
  step.status = status;
  step.err = err;
  return step;
}

Step refuses(const std::string& method, const std::string& command, int status) {
  return fails(method, command, velctl::kExitRefused,
               "the service answered status " + std::to_string(status) + "; ");
}

Step refusesInJson(const std::string& method, const std::string& command, int status,
                   const std::string& members) {
  Step step = refuses(method, command, status);
  step.form = Form::kJson;
  step.out = operation(method, members + R"("status":)" + std::to_string(status)) + '\n';
  return step;
}

Step notes(const std::string& method, const std::string& command, const std::string& note) {
  return fails(method, command, velctl::kExitDone, "velctl: " + note + '\n');
}

Step knows(const std::string& word, const std::string& answer) {
  Step step = shows("dovelcmd", "exec run 7 " + word + " --wait 600",
                    R"({"id":7,"command":")" + word + R"(","answer":)" + answer + '}');
  step.form = Form::kJson;
  step.normalize = &answerIn;
  return step;
}

Step controls(const std::string& line, const std::string& answer) {
  return shows("", line, answer);
}

std::string deviceJson(int number, int status, int policy, const std::string& policyText,
                       int vmNumber, const std::string& vm, const std::string& name) {
  return R"({"device":)" + std::to_string(number) + R"(,"status":)" + std::to_string(status) +
         R"(,"policy":)" + std::to_string(policy) + R"(,"policyText":")" + policyText +
         R"(","vmNumber":)" + std::to_string(vmNumber) + R"(,"vm":)" + nameOrNull(vm) +
         R"(,"name":")" + name + "\"}";
}

std::string printerJson(int number, int status, int vmNumber, const std::string& vm,
                        const std::string& name) {
  return R"({"printer":)" + std::to_string(number) + R"(,"status":)" + std::to_string(status) +
         R"(,"vmNumber":)" + std::to_string(vmNumber) + R"(,"vm":)" + nameOrNull(vm) +
         R"(,"name":")" + name + "\"}";
}

const std::vector<Story>& stories() {
  static const auto* const all = [] {
    auto* const written = new std::vector<Story>;
    for (std::vector<Story>& some :
         std::vector<std::vector<Story>>{sessionStories(), deviceStories(), policyStories(),
                                         printerStories(), serviceStories()}) {
      std::move(some.begin(), some.end(), std::back_inserter(*written));
    }
    return written;
  }();
  return *all;
}

}  // namespace velctl_tests
