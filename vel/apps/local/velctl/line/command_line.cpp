#include "vel/apps/local/velctl/line/command_line.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

#include "base/text.h"
#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/line/mistakes.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl {
namespace {

constexpr std::size_t kHelpColumn = 30;

// "device" and "attach"; "status" and "".
std::pair<std::string, std::string> nounAndVerb(const std::string& path) {
  const std::size_t blank = path.find(' ');
  return blank == std::string::npos ? std::pair(path, std::string())
                                    : std::pair(path.substr(0, blank), path.substr(blank + 1));
}

// A noun that is a command by itself has the summary of that.
const std::string& summaryOf(const Noun& noun) {
  for (const Command& command : commands()) {
    if (command.path == noun.name) {
      return command.summary;
    }
  }
  return noun.summary;
}

// A line of a list: a name, and behind it the meaning, in further lines where it needs them.
std::string listed(std::string name, const std::string& meaning, std::size_t column) {
  constexpr std::size_t kWidth = 80;
  std::string text;
  std::string line = "  " + std::move(name);
  line.resize(std::max(line.size() + 1, column), ' ');
  std::istringstream words(meaning);
  for (std::string word; words >> word;) {
    if (line.size() + word.size() > kWidth && line.size() > column) {
      text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
      line.assign(column, ' ');
    }
    line += word + ' ';
  }
  return text + line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
}

std::string footer() {
  std::string text =
      "Data goes to standard output, messages go to standard error.\n\nEnvironment:\n";
  for (const EnvironmentVariable& variable : kEnvironment) {
    text += listed(std::string(variable.name), std::string(variable.meaning), 18);
  }
  text += "\nExit status:\n";
  for (const ExitMeaning& each : kExitMeanings) {
    text += listed(std::to_string(each.code) + ' ' + std::string(each.name),
                   std::string(each.meaning), 20);
  }
  text += "\nvelctl help COMMAND shows a command.\n";
  return text;
}

std::string examplesOf(const Command& command) {
  std::string text;
  if (!command.details.empty()) {
    text += command.details + "\n\n";
  }
  if (!command.examples.empty()) {
    text += "Examples:\n";
    for (const Example& example : command.examples) {
      text += "  velctl " + example.line + "\n      " + example.meaning + '\n';
    }
  }
  return text;
}

// The arguments for the parser, which takes "[a,b]" for two texts and, behind "--name=", the next
// argument for its value.
std::vector<std::string> guarded(const std::vector<std::string>& arguments) {
  std::vector<std::string> prepared;
  bool hasOptions = true;
  for (const std::string& argument : arguments) {
    hasOptions = hasOptions && argument != "--";
    const bool isOption = hasOptions && argument.rfind("--", 0) == 0;
    if (isOption && argument.find('=') == argument.size() - 1) {
      prepared.push_back(argument.substr(0, argument.size() - 1));
      prepared.emplace_back();
    } else if (!argument.empty() && argument.front() == '[') {
      prepared.push_back(argument + kGuard);
    } else {
      prepared.push_back(argument);
    }
  }
  return prepared;
}

// Adds a parameter, whose texts go into the arguments.
void addParameter(CLI::App& app, const Parameter& parameter, Arguments& arguments) {
  const auto take = [&arguments, &parameter](const CLI::results_t& texts) {
    std::vector<std::string>& given = arguments[parameter.name];
    given.clear();
    for (const std::string& text : texts) {
      given.push_back(withoutGuard(text));
    }
    return true;
  };
  const std::string names =
      parameter.letter.empty() ? parameter.name : parameter.letter + ',' + parameter.name;
  if (parameter.kind == Kind::kFlag) {
    app.add_flag_callback(
        names, [&arguments, &parameter] { arguments[parameter.name] = {}; }, parameter.help);
    return;
  }
  CLI::Option* const option = app.add_option(names, take, describedHelp(parameter));
  option->type_name(parameter.isOption() ? parameter.valueName() : "");
  option->required(parameter.isRequired);
  constexpr int kAny = -1;
  option->expected(1, parameter.isRepeated ? kAny : 1);
  // An option is repeated with its values: what stands behind its first value is another argument.
  option->allow_extra_args(parameter.isRepeated && !parameter.isOption());
  option->check(
      [&parameter](const std::string& text) { return mistakeIn(parameter, withoutGuard(text)); });
}

// The commands that a parser knows.
enum class Known {
  // Those whose words occur in the arguments: enough for a line without a mistake, and much less to
  // set up.
  kOccurring,
  // Of the others the names, for help and suggestions.
  kAll,
};

// The parser of the commands, and what it has found.
class Parser {
 public:
  Parser(const std::vector<std::string>& arguments, Known known)
      : known_(known), app_("Controls the peripheral-device service of this machine.", "velctl") {
    app_.fallthrough();
    app_.require_subcommand(1);
    app_.set_version_flag("--version", "velctl " VELCTL_VERSION);
    if (knowsAll()) {
      app_.get_formatter()->column_width(kHelpColumn);
      app_.footer(footer());
    }
    for (const Parameter& option : globalOptions()) {
      addParameter(app_, option, global_);
    }
    for (const Noun& noun : nouns()) {
      if (base::contains(arguments, noun.name)) {
        addNoun(noun, arguments);
      } else if (knowsAll()) {
        app_.add_subcommand(noun.name, summaryOf(noun));
      }
    }
  }

  bool knowsAll() const { return known_ == Known::kAll; }
  const Arguments& global() const { return global_; }
  const Arguments& arguments() const { return arguments_; }
  const Command* chosen() const { return chosen_; }
  CLI::App& app() { return app_; }

  // The innermost command or noun that the user has named.
  const CLI::App& named() const {
    const CLI::App* app = &app_;
    while (!app->get_subcommands().empty()) {
      app = app->get_subcommands().front();
    }
    return *app;
  }

  std::string helpOf(const CLI::App& app) const {
    const CLI::App* const outer = app.get_parent();
    std::string help = app.help(outer ? pathOf(*outer) : "");
    if (outer) {
      help.resize(help.find_last_not_of('\n') + 1);
      help += '\n' + globalHelp();
    }
    return help;
  }

 private:
  void addNoun(const Noun& noun, const std::vector<std::string>& arguments) {
    CLI::App* group = nullptr;
    for (const Command& command : commands()) {
      const auto [first, verb] = nounAndVerb(command.path);
      if (first != noun.name) {
        continue;
      }
      if (verb.empty()) {
        addCommand(*app_.add_subcommand(first, command.summary), command);
        continue;
      }
      if (!group) {
        group = app_.add_subcommand(first, noun.summary)->require_subcommand(1);
        // By itself it has that of velctl.
        group->footer("");
      }
      if (base::contains(arguments, verb)) {
        addCommand(*group->add_subcommand(verb, command.summary), command);
      } else if (knowsAll()) {
        group->add_subcommand(verb, command.summary);
      }
    }
  }

  void addCommand(CLI::App& app, const Command& command) {
    for (const Parameter& parameter : command.parameters) {
      addParameter(app, parameter, arguments_);
    }
    app.footer(examplesOf(command));
    // Only stored: a mistake later on the line must be found before anything runs.
    app.callback([this, &command] { chosen_ = &command; });
  }

  static std::string globalHelp() {
    std::string text = "\nEvery command has:\n";
    for (const Parameter& option : globalOptions()) {
      std::string line = "  " + option.name;
      line += option.kind == Kind::kFlag ? "" : ' ' + option.valueName();
      line.resize(std::max(line.size() + 1, kHelpColumn), ' ');
      text += line + option.help + '\n';
    }
    return text;
  }

  const Known known_;
  CLI::App app_;
  Arguments global_;
  Arguments arguments_;
  const Command* chosen_ = nullptr;
};

}  // namespace

const std::vector<Parameter>& globalOptions() {
  static const auto& options = *new std::vector<Parameter>{
      flag("--json", "Write data as JSON, one object per line"),
      flag("--quiet", "Write data and errors only"),
      thing(Kind::kSeconds, "--timeout", "Give up after so many seconds"),
      thing(Kind::kText, "--bus", "Address of the bus, as in QXBUS_ADDRESS").notEmpty(),
      flag("--verbose", "Log every step of the library, not only errors").withLetter("-v"),
  };
  return options;
}

std::string describedHelp(const Parameter& parameter) {
  std::string text = parameter.help;
  if (parameter.legend) {
    std::vector<std::string> words;
    for (const velprotocol::Meaning& meaning : *parameter.legend) {
      words.push_back(std::string(meaning.word) + " (" + std::to_string(meaning.number) + ")");
    }
    text += ": " + base::joined(words);
  }
  if (!parameter.choices.empty()) {
    text += ": " + base::joined(parameter.choices);
  }
  if (parameter.fallback) {
    text += parameter.fallback->empty() ? " (default: this machine)"
                                        : " (default: " + *parameter.fallback + ")";
  }
  return text;
}

namespace {

// The command and its arguments, or help, or a mistake. False when only a parser that knows all
// commands can say which.
bool parse(Parser& parser, const std::vector<std::string>& arguments, ParsedLine* line) {
  std::vector<std::string> reversed = guarded(arguments);
  std::reverse(reversed.begin(), reversed.end());
  try {
    // The parser takes them from the end.
    parser.app().parse(reversed);
    line->command = parser.chosen();
    line->arguments = parser.arguments();
  } catch (const CLI::CallForVersion& version) {
    line->help = std::string(version.what()) + '\n';
  } catch (const CLI::ParseError& error) {
    if (!parser.knowsAll()) {
      return false;
    }
    const CLI::App& app = parser.named();
    const bool isHelp = dynamic_cast<const CLI::Success*>(&error) != nullptr;
    if (isHelp) {
      line->help = parser.helpOf(app);
      // The parser ends it with empty lines.
      line->help.resize(line->help.find_last_not_of('\n') + 1);
      line->help += '\n';
      return true;
    }
    line->mistake = mistakeOf(arguments, app, parser.app().remaining(true), error);
  }
  return true;
}

}  // namespace

ParsedLine parseLine(const std::vector<std::string>& arguments) {
  ParsedLine line;
  auto parser = std::make_unique<Parser>(arguments, Known::kOccurring);
  if (!parse(*parser, arguments, &line)) {
    parser = std::make_unique<Parser>(arguments, Known::kAll);
    parse(*parser, arguments, &line);
  }
  if (line.command && line.command->rule) {
    const std::string broken = line.command->rule(line.arguments);
    if (!broken.empty()) {
      const std::string path = "velctl " + line.command->path;
      line.mistake = path + ": " + broken + "; see " + path + " --help";
    }
  }
  const Arguments& global = parser->global();
  // A mistake may come before the parser has reached them.
  const auto isGiven = [&](const char* option) {
    return global.count(option) != 0 ||
           (!line.mistake.empty() && base::contains(arguments, option));
  };
  line.isJson = isGiven("--json");
  line.isQuiet = isGiven("--quiet");
  line.isVerbose = global.count("--verbose") != 0;
  if (const auto timeout = global.find("--timeout"); timeout != global.end()) {
    constexpr double kMsPerSecond = 1000;
    line.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(
        std::strtod(timeout->second.front().c_str(), nullptr) * kMsPerSecond));
  }
  if (const auto bus = global.find("--bus"); bus != global.end()) {
    line.bus = bus->second.front();
  }
  for (const auto& [name, texts] : global) {
    line.globalWords.push_back(name);
    line.globalWords.insert(line.globalWords.end(), texts.begin(), texts.end());
  }
  return line;
}

std::string helpOf(const std::string& path) {
  std::vector<std::string> words;
  std::istringstream stream(path);
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  words.emplace_back("--help");
  return parseLine(words).help;
}

const Parameter* Command::parameter(const std::string& name) const {
  for (const Parameter& parameter : parameters) {
    if (parameter.name == name) {
      return &parameter;
    }
  }
  return nullptr;
}

}  // namespace velctl
