// Every command that makes one request, as a row.

#ifndef TESTS_VELCTL_COMMANDS_H
#define TESTS_VELCTL_COMMANDS_H

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/scripted_bus/scripted_bus.h"

namespace velctl_tests {

using scripted::Reply;

// The meaning of the integer that the service answers.
enum class Answer {
  kStatus,      // anything but 0 is a refusal
  kContent,     // the value that the user has asked for, or the beginning of a list
  kIgnored,     // the library does not return it
  kNotAwaited,  // the library does not wait for it, nor for an error
};

// The request whose reply shows that the service has received those before it.
constexpr char kConfirmation[] = "getVmList(int32 0)";

struct Command {
  // line stands behind "velctl"; words with blanks, and empty ones, are in single quotes.
  Command(std::string itsName, std::string itsLine)
      : name(std::move(itsName)), line(std::move(itsLine)) {}

  // Adds a request. The last one that is no confirmation is the command's own.
  Command& sends(std::string request) {
    requests.push_back(std::move(request));
    return *this;
  }
  Command& reads(Answer meaning) {
    answer = meaning;
    hasData = meaning == Answer::kContent;
    return *this;
  }
  Command& answered(Reply itsReply) {
    reply = std::move(itsReply);
    return *this;
  }
  Command& prints(std::string itsText) {
    text = std::move(itsText);
    return *this;
  }
  Command& printsJson(std::string itsJson) {
    json = std::move(itsJson);
    return *this;
  }

  // Prints data, also when it is quiet.
  Command& givesData() {
    hasData = true;
    return *this;
  }

  // The bus method of the command's own request.
  std::string method() const;

  std::string name;
  std::string line;
  std::vector<std::string> requests;
  Answer answer = Answer::kStatus;
  bool hasData = false;
  Reply reply = Reply().int32(0);
  std::string text;
  std::string json;
};

void PrintTo(const Command& command, std::ostream* stream);

const std::vector<Command>& commands();

// By subject.
std::vector<Command> sessionCommands();
std::vector<Command> deviceCommands();
std::vector<Command> policyCommands();
std::vector<Command> printerCommands();
std::vector<Command> serviceCommands();
std::vector<Command> waitingCommands();

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_COMMANDS_H
