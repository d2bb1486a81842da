// The commands, their options, and which one the user has chosen.

#ifndef VEL_APPS_LOCAL_VELCTL_COMMAND_LINE_H
#define VEL_APPS_LOCAL_VELCTL_COMMAND_LINE_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/output.h"
#include "vel/apps/local/velctl/parser.h"

namespace velctl {

class CommandLine {
 public:
  // Does the work of a command; throws Failure.
  using Run = std::function<void(const Output&)>;

  CommandLine();
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Commands that share their first word.
  ParserCommand group(const std::string& name, const std::string& help);
  // A command, by itself or in a group. Options are added to what is returned.
  ParserCommand command(const std::string& name, const std::string& help, Run run);
  ParserCommand command(const ParserCommand& group, const std::string& name,
                        const std::string& help, Run run);

  // Empty when a command was chosen. Otherwise there is nothing left to do (--help) or to be done
  // (a mistake, which has been reported), and this is the exit status.
  std::optional<ExitCode> parse(int argc, char** argv);

  bool isJson() const { return isJson_; }
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
