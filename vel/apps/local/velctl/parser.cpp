#include "vel/apps/local/velctl/parser.h"

#include <CLI/CLI.hpp>

namespace velctl {

const ParserOption& ParserOption::required() const {
  option_->required();
  return *this;
}

const ParserOption& ParserOption::typeName(const std::string& name) const {
  option_->type_name(name);
  return *this;
}

const ParserOption& ParserOption::check(const Check& check) const {
  option_->check(check);
  return *this;
}

ParserCommand ParserCommand::addGroup(const std::string& name, const std::string& help) const {
  return ParserCommand(app_->add_subcommand(name, help)->require_subcommand(1));
}

ParserCommand ParserCommand::addCommand(const std::string& name, const std::string& help,
                                        const std::function<void()>& chosen) const {
  return ParserCommand(app_->add_subcommand(name, help)->callback(chosen));
}

ParserOption ParserCommand::addOption(const std::string& name, std::string& value,
                                      const std::string& help) const {
  return ParserOption(app_->add_option(name, value, help));
}

ParserOption ParserCommand::addOption(const std::string& name, std::optional<std::string>& value,
                                      const std::string& help) const {
  return ParserOption(app_->add_option(name, value, help));
}

ParserOption ParserCommand::addOption(const std::string& name, std::vector<std::string>& values,
                                      const std::string& help) const {
  return ParserOption(app_->add_option(name, values, help));
}

ParserOption ParserCommand::addOption(const std::string& name, int& value,
                                      const std::string& help) const {
  return ParserOption(app_->add_option(name, value, help));
}

ParserOption ParserCommand::addOption(const std::string& name, short& value,
                                      const std::string& help) const {
  return ParserOption(app_->add_option(name, value, help));
}

ParserOption ParserCommand::addOption(const std::string& name, const ParserOption::Check& read,
                                      const std::string& help) const {
  return ParserOption(app_->add_option_function<std::string>(
      name,
      [name, read](const std::string& text) {
        const std::string fault = read(text);
        if (!fault.empty()) {
          throw CLI::ValidationError(name, fault);
        }
      },
      help));
}

ParserOption ParserCommand::addFlag(const std::string& name, bool& value,
                                    const std::string& help) const {
  return ParserOption(app_->add_flag(name, value, help));
}

ParserOption ParserCommand::addFlag(const std::string& name, const std::function<void()>& given,
                                    const std::string& help) const {
  return ParserOption(app_->add_flag_callback(name, given, help));
}

}  // namespace velctl
