// The commands with their options, and the choice of the user.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMAND_LINE_H
#define VEL_APPS_LOCAL_VELCTL_COMMAND_LINE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/output.h"
#include "vel/apps/local/velctl/parser.h"

namespace velctl {

class CommandLine {
 public:
  // Runs a command; throws Failure and Interrupted.
  using Run = std::function<void(const Output&)>;

  // Both empty: a command was chosen. help: the text that the user has asked for. mistake: one line
  // on a wrong command line.
  struct Parsed {
    std::string help;
    std::string mistake;
  };

  CommandLine();
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Adds a group: commands with the same first word.
  ParserCommand group(const std::string& name, const std::string& help);
  // Adds a command, by itself or to a group. Options are added to the result.
  ParserCommand command(const std::string& name, const std::string& help, Run run);
  ParserCommand command(const ParserCommand& group, const std::string& name,
                        const std::string& help, Run run);

  // Of all commands: "status", "vm list", "printer shared search".
  std::vector<std::string> commandNames() const;

  // Arguments without the name of the program.
  Parsed parse(std::vector<std::string> arguments);

  // After parse(): options and command.
  Form form() const { return isJson_ ? Form::kJson : Form::kText; }
  bool isVerbose() const { return isVerbose_; }
  void run(const Output& output) const { chosen_(output); }

 private:
  std::unique_ptr<CLI::App> app_;
  bool isJson_ = false;
  bool isVerbose_ = false;
  Run chosen_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMAND_LINE_H
