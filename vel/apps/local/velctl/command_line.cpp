#include "vel/apps/local/velctl/command_line.h"

#include <cctype>
#include <iostream>
#include <utility>

#include <CLI/CLI.hpp>

namespace velctl {
namespace {

// The command that the user has named, as far as it exists: velctl, its vm, or the connect of that.
const CLI::App& named(const CLI::App& app) {
  const std::vector<CLI::App*> inner = app.get_subcommands();
  return inner.empty() ? app : named(*inner.front());
}

// "velctl vm"
std::string wordsBefore(const CLI::App& command) {
  const CLI::App* const outer = command.get_parent();
  return outer ? wordsBefore(*outer) + (outer->get_parent() ? " " : "") + outer->get_name() : "";
}

std::string uncapitalized(std::string text) {
  if (!text.empty()) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return text;
}

// What is wrong with the command line. The parser notices that a command is missing before it
// notices what stands in its place.
std::string mistake(const CLI::App& command, const std::vector<std::string>& unknown,
                    const CLI::ParseError& error) {
  if (command.get_require_subcommand_min() == 0) {
    return uncapitalized(error.what());
  }
  if (unknown.empty()) {
    return "a command is missing";
  }
  const bool isOption = unknown.front().substr(0, 1) == "-";
  return (isOption ? "no option " : "no command ") + unknown.front();
}

}  // namespace

CommandLine::CommandLine()
    : app_(std::make_unique<CLI::App>(
          "Looks at and works with the peripheral-device service of this machine.", "velctl")) {
  // Options that every command has may stand before or after its name.
  app_->fallthrough();
  app_->require_subcommand(1);
  app_->set_version_flag("--version", "velctl " VELCTL_VERSION);
  app_->add_flag("--json", isJson_, "Write data as JSON, one object per line");
  app_->add_flag("-v,--verbose", isVerbose_,
                 "Have the library log everything, not only errors (as QX_LOG_LEVEL=debug)");
  app_->footer(
      "Data goes to standard output, everything else to standard error.\n"
      "Environment: QXBUS_ADDRESS (the bus; default: the session bus), QX_APP_DATA (folder of the\n"
      "log), QX_LOG_LEVEL.\n"
      "Exit status: 0 done, 1 internal error, 2 bad usage, 3 no bus, 4 no service, 5 no answer,\n"
      "6 refused by the service, 7 unknown VM, 8 standard output cannot be written to,\n"
      "130 interrupted.");
}

CommandLine::~CommandLine() = default;

ParserCommand CommandLine::group(const std::string& name, const std::string& help) {
  return ParserCommand(app_.get()).addGroup(name, help);
}

ParserCommand CommandLine::command(const std::string& name, const std::string& help, Run run) {
  return command(ParserCommand(app_.get()), name, help, std::move(run));
}

ParserCommand CommandLine::command(const ParserCommand& group, const std::string& name,
                                   const std::string& help, Run run) {
  // Only remembered: a mistake later on the command line must still be found before anything runs.
  return group.addCommand(name, help, [this, run = std::move(run)] { chosen_ = run; });
}

std::optional<ExitCode> CommandLine::parse(int argc, char** argv) {
  try {
    app_->parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::CallForVersion& version) {
    std::cout << version.what() << std::endl;
  } catch (const CLI::Success&) {  // --help
    const CLI::App& command = named(*app_);
    std::cout << command.help(wordsBefore(command)) << std::flush;
  } catch (const CLI::ParseError& error) {
    const CLI::App& command = named(*app_);
    const std::string before = wordsBefore(command);
    const std::string name = before + (before.empty() ? "" : " ") + command.get_name();
    std::cerr << name << ": " << mistake(command, app_->remaining(true), error) << "; see " << name
              << " --help\n";
    return kExitUsage;
  }
  return std::cout ? kExitOk : kExitOutputFailed;
}

}  // namespace velctl
