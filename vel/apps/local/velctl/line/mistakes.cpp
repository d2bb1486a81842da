#include "vel/apps/local/velctl/line/mistakes.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "base/spelling.h"
#include "base/text.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/line/command_line.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl {
namespace {

// "; did you mean list or show?"
std::string suggestion(const std::string& word, const std::vector<std::string>& words) {
  const std::vector<std::string> near = nearest(word, words);
  return near.empty() ? "" : "; did you mean " + base::joined(near, " or ") + "?";
}

// The command that was spelled as the line begins, unless another is: "device connect" is now ...
std::string newSpelling(const std::vector<std::string>& arguments, const CLI::App& named) {
  std::string line;
  for (const std::string& argument : arguments) {
    line += argument.rfind('-', 0) == 0 ? "" : argument + ' ';
  }
  const bool isCommand = named.get_require_subcommand_min() == 0 &&
                         ("velctl " + line).rfind(pathOf(named) + ' ', 0) == 0;
  if (isCommand) {
    return {};
  }
  for (const Command& command : commands()) {
    std::string_view rest = command.formerly;
    while (!rest.empty()) {
      const std::string former(rest.substr(0, rest.find(", ")));
      if (line.rfind(former + ' ', 0) == 0) {
        return "velctl: \"" + former + "\" is now \"" + command.path + "\"; see velctl " +
               command.path + " --help";
      }
      rest.remove_prefix(std::min(rest.size(), former.size() + 2));
    }
  }
  return {};
}

// "Could not ..." begins in the middle of a line; names in capitals stay.
std::string uncapitalized(std::string text) {
  const bool isWord = text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])) != 0;
  if (isWord) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return text;
}

std::vector<std::string> namesInside(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const inner : app.get_subcommands({})) {
    names.push_back(inner->get_name());
  }
  return names;
}

std::vector<std::string> optionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* each = &app; each; each = each->get_parent()) {
    for (const CLI::Option* const option : each->get_options()) {
      for (const std::string& name : option->get_lnames()) {
        names.push_back("--" + name);
      }
    }
  }
  return names;
}

std::string reasonOf(const CLI::App& app, std::vector<std::string> unknown,
                     const CLI::ParseError& error) {
  // It marks the end of the options, and was understood.
  unknown.erase(std::remove(unknown.begin(), unknown.end(), "--"), unknown.end());
  const bool isOption = !unknown.empty() && unknown.front().rfind('-', 0) == 0;
  if (isOption && base::contains(optionsOf(app), unknown.front())) {
    return unknown.front() + " must stand behind the command";
  }
  if (isOption) {
    return "unknown option " + printableLines(unknown.front()) +
           suggestion(unknown.front(), optionsOf(app));
  }
  // The parser notices that a command is missing before it notices another word in its place.
  if (app.get_require_subcommand_min() > 0) {
    return unknown.empty() ? "a command is missing"
                           : "unknown command " + printableInQuotes(withoutGuard(unknown.front())) +
                                 suggestion(unknown.front(), namesInside(app));
  }
  return printableLines(uncapitalized(withoutGuard(error.what())));
}

}  // namespace

std::string withoutGuard(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), kGuard), text.end());
  return text;
}

std::string pathOf(const CLI::App& app) {
  const CLI::App* const outer = app.get_parent();
  return outer ? pathOf(*outer) + ' ' + app.get_name() : app.get_name();
}

std::string mistakeOf(const std::vector<std::string>& arguments, const CLI::App& named,
                      std::vector<std::string> unknown, const CLI::ParseError& error) {
  const std::string changed = newSpelling(arguments, named);
  if (!changed.empty()) {
    return changed;
  }
  const std::string path = pathOf(named);
  return path + ": " + reasonOf(named, std::move(unknown), error) + "; see " + path + " --help";
}

std::vector<std::string> nearest(const std::string& word, const std::vector<std::string>& words) {
  // One slip in a short word, two in a longer one.
  const std::size_t most = word.size() <= 4 ? 1 : 2;
  std::vector<std::string> near;
  for (std::size_t slips = 0; slips <= most && near.empty(); ++slips) {
    for (const std::string& each : words) {
      const bool isBeginning = slips == most && word.size() >= 3 && each.rfind(word, 0) == 0;
      if (isBeginning || base::slipsBetween(word, each) == slips) {
        near.push_back(each);
      }
    }
  }
  return near;
}

}  // namespace velctl
