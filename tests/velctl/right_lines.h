// Command lines made of the rows of velctl: right ones, and the values that make them wrong.

#ifndef TESTS_VELCTL_RIGHT_LINES_H
#define TESTS_VELCTL_RIGHT_LINES_H

#include <map>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/line/command.h"

namespace velctl_tests {

class RightLine {
 public:
  explicit RightLine(const velctl::Command& command) : command_(&command) {}

  // The same line with another value of a parameter, the first of several, or without it.
  RightLine with(const std::string& parameter, const std::string& value) const;
  // With one value more of a parameter that may be given several times.
  RightLine withOneMore(const std::string& parameter, const std::string& value) const;
  RightLine without(const std::string& parameter) const;

  bool has(const std::string& parameter) const { return values_.count(parameter) != 0; }

  // Options first, and positional arguments behind "--": so that any value is one.
  std::vector<std::string> words() const;

 private:
  const velctl::Command* command_;
  std::map<std::string, std::vector<std::string>> values_;
};

// The line with the parameters that the command needs.
RightLine rightLineOf(const velctl::Command& command);

std::string rightValueOf(const velctl::Parameter& parameter);

// Not numbers, too large, negative, empty, not UTF-8, too long: whatever a parameter of this kind
// does not take.
std::vector<std::string> wrongValuesOf(const velctl::Parameter& parameter);

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_RIGHT_LINES_H
