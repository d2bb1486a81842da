#include "vel/apps/local/velctl/completion/entry.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "base/text.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/line/words.h"
#include "vel/apps/local/velctl/run/completion.h"
#include "vel/apps/local/velctl/run/session.h"

namespace velctl {
namespace {

constexpr char kBusOption[] = "--bus";

// The command that is typed may name another bus.
void chooseBus(const std::vector<std::string>& words) {
  const std::string withValue = kBusOption + std::string("=");
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    if (words[i] == kBusOption && i + 2 < words.size()) {
      ::setenv("QXBUS_ADDRESS", words[i + 1].c_str(), 1);
    } else if (words[i].rfind(withValue, 0) == 0) {
      ::setenv("QXBUS_ADDRESS", words[i].c_str() + withValue.size(), 1);
    }
  }
}

Completion completionNow(const std::vector<std::string>& words) {
  chooseBus(words);
  // A service that is away is no error here.
  ::setenv("QX_LOG_LEVEL", "off", 0);
  const Output silent(-1, Form::kText, true);
  return completionOf(words, [&silent](Kind kind) -> std::vector<Thing> {
    try {
      Session session(silent, completionLimit());
      const auto things =
          session.call({}, [kind](const vel::Client& client) { return thingsOf(kind, client); });
      return things ? *things : std::vector<Thing>();
    } catch (const Interrupted&) {
    } catch (const TimeOver&) {
    } catch (const std::exception&) {
    }
    return {};
  });
}

void writeForWords(const std::vector<std::string>& words, const Output& output) {
  const Completion completion = completionNow(words);
  std::string lines = completion.takesFile ? "\t\n" : "";
  for (const Candidate& candidate : completion.candidates) {
    lines += candidate.value + '\t' + candidate.description + '\n';
  }
  output.text(lines);
}

// How many characters of the last word stand in front of the part that bash replaces.
std::size_t keptPart(std::string_view typed, std::string_view breaks) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < typed.size(); ++i) {
    if (typed[i] == '\\') {
      ++i;
    } else if (breaks.find(typed[i]) != std::string_view::npos) {
      kept = unfinishedLine(typed.substr(0, i + 1)).words.back().size();
    }
  }
  return kept;
}

void writeForLine(std::string_view line, std::string_view breaks, const Output& output) {
  UnfinishedLine unfinished = unfinishedLine(line);
  std::vector<std::string> words = std::move(unfinished.words);
  // In front of the name of the program may stand variables.
  while (words.size() > 1 && words.front().find('=') != std::string::npos) {
    words.erase(words.begin());
  }
  if (words.size() < 2) {
    return;
  }
  words.erase(words.begin());
  const std::size_t kept =
      unfinished.quote == '\0' ? keptPart(line.substr(unfinished.lastBegin), breaks) : 0;
  const Completion completion = completionNow(words);
  std::string lines = completion.takesFile ? "\n" : "";
  for (const Candidate& candidate : completion.candidates) {
    const std::string part =
        quotedWord(std::string_view(candidate.value).substr(kept), unfinished.quote);
    lines += part.empty() ? "" : part + '\n';
  }
  output.text(lines);
}

}  // namespace

std::chrono::seconds completionLimit() {
  constexpr unsigned long long kMost = 3600;
  const char* const given = std::getenv("VELCTL_COMPLETION_SECONDS");
  const auto seconds = base::parseDecimal(given ? given : "", kMost);
  return std::chrono::seconds(seconds && *seconds > 0 ? *seconds : 1);
}

bool asksForCandidates(const std::vector<std::string>& arguments) {
  return !arguments.empty() &&
         (arguments.front() == kCompleteCommand || arguments.front() == kCompleteLineCommand);
}

void writeCandidates(const std::vector<std::string>& arguments, const Output& output) {
  try {
    if (arguments.front() == kCompleteCommand) {
      writeForWords({arguments.begin() + 1, arguments.end()}, output);
    } else if (arguments.size() == 3) {
      writeForLine(arguments[1], arguments[2], output);
    }
  } catch (const std::exception&) {
    // The shell has gone away.
  }
}

}  // namespace velctl
