#include "vel/apps/local/velctl/command_line.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include <CLI/CLI.hpp>

#include "vel/apps/local/velctl/display.h"

namespace velctl {
namespace {

// The innermost command or group that the user has named: velctl, velctl vm or velctl vm connect.
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

// The parser notices that a command is missing before it notices another word in its place.
std::string mistakeIn(const CLI::App& command, const std::vector<std::string>& unknown,
                      const CLI::ParseError& error) {
  if (command.get_require_subcommand_min() == 0) {
    return uncapitalized(error.what());
  }
  if (unknown.empty()) {
    return "a command is missing";
  }
  const bool isOption = unknown.front().substr(0, 1) == "-";
  return isOption ? "unknown option " + unknown.front()
                  : "unknown command " + printableInQuotes(unknown.front());
}

void appendNames(const CLI::App& app, const std::string& before, std::vector<std::string>* names) {
  for (const CLI::App* const inner : app.get_subcommands({})) {
    const std::string name = before + inner->get_name();
    if (inner->get_require_subcommand_min() == 0) {
      names->push_back(name);
    } else {
      appendNames(*inner, name + ' ', names);
    }
  }
}

}  // namespace

CommandLine::CommandLine()
    : app_(std::make_unique<CLI::App>("Controls the peripheral-device service of this machine.",
                                      "velctl")) {
  // Options that every command has may stand before or behind its name.
  app_->fallthrough();
  app_->require_subcommand(1);
  app_->set_version_flag("--version", "velctl " VELCTL_VERSION);
  app_->add_flag("--json", isJson_, "Write data as JSON, one object per line");
  app_->add_flag("-v,--verbose", isVerbose_,
                 "Log every step of the library, not only errors (as QX_LOG_LEVEL=debug)");
  app_->footer(
      "Data goes to standard output, messages go to standard error.\n"
      "Environment: QXBUS_ADDRESS (address of the bus, or direct:PATH, the socket of the service;\n"
      "default: the session bus, without one direct:), QX_APP_DATA (folder of the log),\n"
      "QX_LOG_LEVEL (debug, info, error or off; default: error).\n"
      "Exit status: 0 success, 1 internal error, 2 wrong usage, 3 no bus, 4 no service or no pen\n"
      "port, 5 no usable answer, 6 refused, 7 unknown VM, 8 cannot write to standard output,\n"
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
  // Only stored: a mistake later on the command line must be found before anything runs.
  return group.addCommand(name, help, [this, run = std::move(run)] { chosen_ = run; });
}

std::vector<std::string> CommandLine::commandNames() const {
  std::vector<std::string> names;
  appendNames(*app_, "", &names);
  return names;
}

CommandLine::Parsed CommandLine::parse(std::vector<std::string> arguments) {
  // The parser takes them from the end.
  std::reverse(arguments.begin(), arguments.end());
  try {
    app_->parse(arguments);
    return {};
  } catch (const CLI::CallForVersion& version) {
    return {std::string(version.what()) + '\n', ""};
  } catch (const CLI::Success&) {  // --help
    const CLI::App& command = named(*app_);
    return {command.help(wordsBefore(command)), ""};
  } catch (const CLI::ParseError& error) {
    const CLI::App& command = named(*app_);
    const std::string before = wordsBefore(command);
    const std::string name = before + (before.empty() ? "" : " ") + command.get_name();
    return {"", name + ": " + mistakeIn(command, app_->remaining(true), error) + "; see " + name +
                    " --help"};
  }
}

}  // namespace velctl
