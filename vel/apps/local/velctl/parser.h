// Commands and their options, as the command-line parser keeps them. Only the sources of this
// header and of command_line.h know the parser, whose own header takes longer to compile than a
// command.

#ifndef VEL_APPS_LOCAL_VELCTL_PARSER_H
#define VEL_APPS_LOCAL_VELCTL_PARSER_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace velctl {

// An option, or a positional argument. A handle: the parser owns the option.
class ParserOption {
 public:
  // Returns the mistake in a text; empty for a correct one.
  using Check = std::function<std::string(const std::string&)>;

  explicit ParserOption(CLI::Option* option) : option_(option) {}

  const ParserOption& required() const;
  // The word for the value in the help.
  const ParserOption& typeName(const std::string& name) const;
  const ParserOption& check(const Check& check) const;

 private:
  CLI::Option* option_;
};

// A command, or a group of commands. A handle: the parser owns the command.
//
// Names of options begin with hyphens; other names are those of positional arguments. Variables are
// filled in when the command line is parsed, and must live until then.
class ParserCommand {
 public:
  explicit ParserCommand(CLI::App* app) : app_(app) {}

  // A group inside this one. One of its commands must be named.
  ParserCommand addGroup(const std::string& name, const std::string& help) const;
  // A command inside this group. chosen is called when the user has named it.
  ParserCommand addCommand(const std::string& name, const std::string& help,
                           const std::function<void()>& chosen) const;

  ParserOption addOption(const std::string& name, std::string& value,
                         const std::string& help) const;
  ParserOption addOption(const std::string& name, std::optional<std::string>& value,
                         const std::string& help) const;
  // As many as the user gives.
  ParserOption addOption(const std::string& name, std::vector<std::string>& values,
                         const std::string& help) const;
  ParserOption addOption(const std::string& name, int& value, const std::string& help) const;
  ParserOption addOption(const std::string& name, short& value, const std::string& help) const;
  // Read by a function, which returns the mistake in the text.
  ParserOption addOption(const std::string& name, const ParserOption::Check& read,
                         const std::string& help) const;

  ParserOption addFlag(const std::string& name, bool& value, const std::string& help) const;
  ParserOption addFlag(const std::string& name, const std::function<void()>& given,
                       const std::string& help) const;

 private:
  CLI::App* app_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_PARSER_H
