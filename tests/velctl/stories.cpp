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

std::vector<std::string> wordsOf(const std::string& command) {
  std::vector<std::string> words;
  std::string word;
  bool isQuoted = false;
  bool isWord = false;
  for (const char c : command) {
    if (c == '\'') {
      isQuoted = !isQuoted;
      isWord = true;
    } else if (c == ' ' && !isQuoted) {
      if (isWord) {
        words.push_back(word);
      }
      word.clear();
      isWord = false;
    } else {
      word += c;
      isWord = true;
    }
  }
  if (isWord) {
    words.push_back(word);
  }
  return words;
}

Step shows(const std::string& method, const std::string& command, const std::string& text) {
  return {method, command, Form::kText, velctl::kExitOk, text + '\n', "", nullptr};
}

Step tells(const std::string& method, const std::string& command, const std::string& members) {
  return {method, command, Form::kJson, velctl::kExitOk, operation(method, members) + '\n',
          "",     nullptr};
}

Step showsInAnyOrder(const std::string& method, const std::string& command,
                     const std::string& text) {
  return {method, command, Form::kText, velctl::kExitOk, sortedLines(text), "", &sortedLines};
}

Step tellsInAnyOrder(const std::string& method, const std::string& command,
                     const std::string& lines) {
  return {method, command, Form::kJson, velctl::kExitOk, sortedLines(lines), "", &sortedLines};
}

Step refuses(const std::string& method, const std::string& command, int status) {
  return fails(method, command, velctl::kExitRefused,
               "the service answered status " + std::to_string(status) + "; ");
}

Step refusesInJson(const std::string& method, const std::string& command, int status,
                   const std::string& members) {
  const std::string number = std::to_string(status);
  return {method,
          command,
          Form::kJson,
          velctl::kExitRefused,
          operation(method, members + R"("status":)" + number) + '\n',
          "the service answered status " + number + "; ",
          nullptr};
}

Step fails(const std::string& method, const std::string& command, velctl::ExitCode status,
           const std::string& err) {
  return {method, command, Form::kText, status, "", err, nullptr};
}

Step notes(const std::string& method, const std::string& command, const std::string& note) {
  return fails(method, command, velctl::kExitOk, "velctl: " + note + '\n');
}

Step knows(const std::string& word, const std::string& answer) {
  return {"dovelcmd",
          "exec run 7 " + word + " --wait 600",
          Form::kJson,
          velctl::kExitOk,
          R"({"id":7,"command":")" + word + R"(","answer":)" + answer + "}\n",
          "",
          &answerIn};
}

Step types(const std::string& line, const std::string& printed) {
  return {"", line, Form::kText, velctl::kExitOk, printed + '\n', "", nullptr};
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
    auto* const made = new std::vector<Story>;
    for (std::vector<Story>& some :
         std::vector<std::vector<Story>>{sessionStories(), deviceStories(), policyStories(),
                                         printerStories(), serviceStories()}) {
      std::move(some.begin(), some.end(), std::back_inserter(*made));
    }
    return made;
  }();
  return *all;
}

}  // namespace velctl_tests
