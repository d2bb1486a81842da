#include "vel/apps/local/velctl/run/completion.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <utility>

#include "base/printable.h"
#include "base/utf8.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/line/command_line.h"

namespace velctl {
namespace {

bool beginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

bool isOption(const std::string& word) {
  return word.size() > 1 && word.front() == '-';
}

const Command* commandOf(const std::string& path) {
  for (const Command& command : commands()) {
    if (command.path == path) {
      return &command;
    }
  }
  return nullptr;
}

// The words in front of the one that is typed, as far as they lead.
class Reader {
 public:
  explicit Reader(const std::vector<std::string>& words) {
    for (std::size_t i = 0; i + 1 < words.size() && !isLost_; ++i) {
      read(words[i]);
    }
  }

  // They begin no command.
  bool isLost() const { return isLost_; }
  // "", "device", "device attach": of the words so far.
  const std::string& path() const { return path_; }
  const Command* command() const { return command_; }
  // Whose value is typed.
  const Parameter* pending() const { return pending_; }
  bool takesOptions() const { return !hasEnded_; }
  bool has(const std::string& option) const { return given_.count(option) != 0; }

  // An option that may stand here; null: there is none of this name.
  const Parameter* option(const std::string& name) const {
    for (const Parameter* const each : options()) {
      if (each->name == name || each->letter == name) {
        return each;
      }
    }
    return nullptr;
  }
  std::vector<const Parameter*> options() const {
    std::vector<const Parameter*> all;
    if (command_) {
      for (const Parameter& parameter : command_->parameters) {
        if (parameter.isOption()) {
          all.push_back(&parameter);
        }
      }
    }
    for (const Parameter& parameter : globalOptions()) {
      all.push_back(&parameter);
    }
    return all;
  }

  // The positional arguments so far, in one text.
  const std::string& argumentWords() const { return argumentWords_; }
  // The positional argument that is typed; null: there is none left.
  const Parameter* positional() const {
    std::size_t left = positionals_;
    for (const Parameter& parameter : command_->parameters) {
      if (parameter.isOption()) {
        continue;
      }
      if (left == 0 || parameter.isRepeated) {
        return &parameter;
      }
      --left;
    }
    return nullptr;
  }

 private:
  void read(const std::string& word) {
    if (pending_) {
      pending_ = nullptr;
    } else if (!hasEnded_ && word == "--") {
      hasEnded_ = true;
    } else if (!hasEnded_ && isOption(word)) {
      const Parameter* const found = option(word.substr(0, word.find('=')));
      given_.insert(found ? found->name : word);
      const bool hasValue = word.find('=') != std::string::npos;
      pending_ = found && found->kind != Kind::kFlag && !hasValue ? found : nullptr;
    } else if (command_) {
      ++positionals_;
      argumentWords_ += (argumentWords_.empty() ? "" : " ") + word;
    } else {
      path_ += (path_.empty() ? "" : " ") + word;
      command_ = commandOf(path_);
      const auto leads = [this](const Command& command) {
        return beginsWith(command.path, path_ + ' ');
      };
      isLost_ = !command_ && std::none_of(commands().begin(), commands().end(), leads);
    }
  }

  std::string path_;
  const Command* command_ = nullptr;
  const Parameter* pending_ = nullptr;
  std::size_t positionals_ = 0;
  std::string argumentWords_;
  bool hasEnded_ = false;
  bool isLost_ = false;
  std::set<std::string> given_;
};

// Collects those that begin with the word, once each.
class Candidates {
 public:
  // prefix: stands in front of each: "--vm=".
  Candidates(std::string word, std::string prefix)
      : word_(std::move(word)), prefix_(std::move(prefix)) {}

  const std::string& word() const { return word_; }

  void add(const std::string& value, const std::string& description) {
    const std::string whole = prefix_ + value;
    const bool isNew = beginsWith(value, word_) && known_.insert(whole).second;
    if (isNew && base::printable(whole) == whole) {
      found_.push_back({whole, base::printable(description)});
    }
  }

  std::vector<Candidate> take() { return std::move(found_); }

 private:
  const std::string word_;
  const std::string prefix_;
  std::set<std::string> known_;
  std::vector<Candidate> found_;
};

// The words of a path behind the given ones, one at a time: nouns, then verbs.
void addPathWords(const std::string& path, Candidates* candidates) {
  if (path.empty()) {
    for (const Noun& noun : nouns()) {
      const Command* const alone = commandOf(noun.name);
      candidates->add(noun.name, alone ? alone->summary : noun.summary);
    }
    return;
  }
  for (const Command& command : commands()) {
    if (beginsWith(command.path, path + ' ')) {
      candidates->add(command.path.substr(path.size() + 1), command.summary);
    }
  }
}

void addThings(const Parameter& parameter, const ThingSource& things, Candidates* candidates) {
  const std::vector<Thing> all = things(parameter.kind);
  for (const Thing& thing : all) {
    const std::string number = std::to_string(thing.number);
    const bool isUnique = std::count_if(all.begin(), all.end(), [&thing](const Thing& other) {
                            return other.name == thing.name;
                          }) == 1;
    // Another name would be taken for a number, an option, or several things, or a terminal would
    // obey it.
    const bool isUsable = isUnique && !thing.name.empty() && thing.name.front() != '-' &&
                          base::printable(thing.name) == thing.name &&
                          !numberIn(parameter, thing.name);
    if (isUsable) {
      candidates->add(thing.name, nounOf(parameter.kind) + ' ' + number);
    }
    // A number that has been begun fits; any other word is another's beginning.
    if (!isUsable || !candidates->word().empty()) {
      candidates->add(number, thing.name);
    }
  }
}

// The values of a parameter. Returns whether it is the name of a file.
bool addValues(const Parameter& parameter, const ThingSource& things, Candidates* candidates) {
  for (const std::string& choice : parameter.choices) {
    candidates->add(choice, "");
  }
  if (parameter.legend) {
    for (const velprotocol::Meaning& meaning : *parameter.legend) {
      candidates->add(std::string(meaning.word), std::to_string(meaning.number));
    }
  }
  if (isThing(parameter.kind)) {
    addThings(parameter, things, candidates);
  } else if (parameter.kind == Kind::kNetworkPrinter) {
    for (const Thing& printer : things(parameter.kind)) {
      candidates->add(printer.name, "");
    }
  }
  return parameter.kind == Kind::kPath;
}

void addOptions(const Reader& reader, Candidates* candidates) {
  for (const Parameter* const option : reader.options()) {
    if (option->isRepeated || !reader.has(option->name)) {
      candidates->add(option->name, option->help);
    }
  }
  candidates->add("--help", "Show the help");
}

}  // namespace

Completion completionOf(const std::vector<std::string>& words, const ThingSource& things) {
  const std::string typed = words.empty() ? std::string() : words.back();
  const Reader reader(words);
  if (reader.isLost()) {
    return {};
  }
  if (reader.pending()) {
    Candidates candidates(typed, "");
    const bool takesFile = addValues(*reader.pending(), things, &candidates);
    return {candidates.take(), takesFile};
  }
  const std::size_t equals = typed.find('=');
  if (reader.takesOptions() && beginsWith(typed, "--") && equals != std::string::npos) {
    const Parameter* const option = reader.option(typed.substr(0, equals));
    if (!option) {
      return {};
    }
    Candidates candidates(typed.substr(equals + 1), typed.substr(0, equals + 1));
    addValues(*option, things, &candidates);
    return {candidates.take(), false};
  }
  Candidates candidates(typed, "");
  if (reader.takesOptions() && beginsWith(typed, "-")) {
    addOptions(reader, &candidates);
    return {candidates.take(), false};
  }
  if (!reader.command()) {
    addPathWords(reader.path(), &candidates);
    return {candidates.take(), false};
  }
  const Parameter* const positional = reader.positional();
  bool takesFile = false;
  if (positional && positional->kind == Kind::kCommand) {
    addPathWords(reader.argumentWords(), &candidates);
  } else if (positional) {
    takesFile = addValues(*positional, things, &candidates);
  }
  return {candidates.take(), takesFile};
}

}  // namespace velctl
