#include "vel/apps/local/velctl/checks/process_facts.h"

#include <array>

#include <pwd.h>

#include "base/program_output.h"
#include "base/text.h"

namespace velctl {
namespace {

// A busy machine has taken more than two seconds.
constexpr std::chrono::milliseconds kPsLimit{10000};
constexpr std::string_view kBlank = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

// Removes and returns the number behind the last separator, or the whole text.
std::optional<long> takeLastNumber(std::string_view* text, char separator) {
  const std::size_t at = text->rfind(separator);
  const std::string_view digits = at == std::string_view::npos ? *text : text->substr(at + 1);
  *text = at == std::string_view::npos ? std::string_view() : text->substr(0, at);
  constexpr unsigned long long kMost = 1000000000;
  const auto number = base::parseDecimal(digits, kMost);
  return number ? std::optional(static_cast<long>(*number)) : std::nullopt;
}

// [[days-]hours:]minutes:seconds
std::optional<std::chrono::seconds> parseAge(std::string_view text) {
  const auto seconds = takeLastNumber(&text, ':');
  if (!seconds || text.empty()) {
    return std::nullopt;
  }
  const auto minutes = takeLastNumber(&text, ':');
  const auto hours = text.empty() ? std::optional(0L) : takeLastNumber(&text, '-');
  const auto days = text.empty() ? std::optional(0L) : takeLastNumber(&text, '-');
  if (!minutes || !hours || !days || !text.empty()) {
    return std::nullopt;
  }
  // The ps of Linux takes a process that began a moment ago for one that begins a moment later, and
  // shows the time up to then as 441077234 days.
  constexpr long kMostDays = 1000000;
  if (*days > kMostDays) {
    return std::chrono::seconds(0);
  }
  return std::chrono::seconds(*seconds) + std::chrono::minutes(*minutes) +
         std::chrono::hours(*hours + 24 * *days);
}

}  // namespace

std::optional<ProcessFacts> parseProcessFacts(std::string_view line) {
  line = trimmed(line);
  const std::size_t end = line.find_first_of(kBlank);
  const auto age = parseAge(line.substr(0, end));
  if (!age || end == std::string_view::npos) {
    return std::nullopt;
  }
  return ProcessFacts{std::string(trimmed(line.substr(end))), *age};
}

std::optional<ProcessFacts> processFactsOf(pid_t process) {
  const auto line = base::outputOf(
      {"ps", "-o", "etime=", "-o", "comm=", "-p", std::to_string(process)}, kPsLimit);
  return line ? parseProcessFacts(*line) : std::nullopt;
}

std::optional<std::string> userNameOf(uid_t user) {
  std::array<char, 16384> memory = {};
  struct passwd entry = {};
  struct passwd* found = nullptr;
  if (::getpwuid_r(user, &entry, memory.data(), memory.size(), &found) != 0 || !found) {
    return std::nullopt;
  }
  return std::string(entry.pw_name);
}

}  // namespace velctl
