#include "vel/apps/local/velsim/scenario/json_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "base/spelling.h"
#include "base/text.h"

namespace velsim {
namespace {

using Kind = JsonNode::Kind;

constexpr std::chrono::milliseconds kLongestDuration = std::chrono::hours(24);

void addUnexpected(const JsonNode& node, Mistakes& mistakes, const std::string& expected) {
  mistakes.add(node, "expected " + expected + ", found " + node.shown());
}

template <typename Number>
std::string range(Number least, Number most) {
  return "from " + std::to_string(least) + " to " + std::to_string(most);
}

}  // namespace

ObjectReader::ObjectReader(const JsonNode& node, Mistakes& mistakes)
    : node_(node), mistakes_(mistakes) {
  if (node.kind() != Kind::kObject) {
    addUnexpected(node, mistakes, "an object");
  }
}

ObjectReader::~ObjectReader() {
  if (node_.kind() != Kind::kObject) {
    return;
  }
  for (const auto& member : node_.children()) {
    if (mistakes_.isFull()) {
      return;
    }
    if (std::find(names_.begin(), names_.end(), member->key()) == names_.end()) {
      mistakes_.add(*member, "unknown member; " + suggestion(member->key(), names_, "members"));
    }
  }
}

const JsonNode* ObjectReader::find(std::string_view name) {
  names_.emplace_back(name);
  return node_.member(name);
}

const JsonNode* ObjectReader::need(std::string_view name) {
  const JsonNode* const member = find(name);
  if (!member && node_.kind() == Kind::kObject) {
    mistakes_.addMember(node_, name, "missing");
  }
  return member;
}

std::optional<std::string> readText(const JsonNode* node, Mistakes& mistakes, std::size_t least,
                                    std::size_t most) {
  if (!node) {
    return std::nullopt;
  }
  // The parser refuses texts that are not UTF-8.
  const auto* const text = std::get_if<std::string>(&node->value());
  const std::string expected =
      "a text of " + std::to_string(least) + " to " + std::to_string(most) + " bytes";
  if (!text) {
    addUnexpected(*node, mistakes, expected);
    return std::nullopt;
  }
  if (text->size() < least || text->size() > most) {
    mistakes.add(*node, "expected " + expected + ", found " + base::counted(text->size(), "byte"));
    return std::nullopt;
  }
  if (text->find('\0') != std::string::npos) {
    addUnexpected(*node, mistakes, "a text without a NUL");
    return std::nullopt;
  }
  return *text;
}

std::optional<bool> readBoolean(const JsonNode* node, Mistakes& mistakes) {
  if (!node) {
    return std::nullopt;
  }
  const bool* const value = std::get_if<bool>(&node->value());
  if (!value) {
    addUnexpected(*node, mistakes, "true or false");
    return std::nullopt;
  }
  return *value;
}

std::optional<double> readDouble(const JsonNode* node, Mistakes& mistakes, double least,
                                 double most) {
  if (!node) {
    return std::nullopt;
  }
  std::optional<double> number;
  if (const auto* const whole = std::get_if<std::uint64_t>(&node->value())) {
    number = static_cast<double>(*whole);
  } else if (const auto* const negative = std::get_if<std::int64_t>(&node->value())) {
    number = static_cast<double>(*negative);
  } else if (const auto* const real = std::get_if<double>(&node->value())) {
    number = *real;
  }
  if (!number || !(*number >= least && *number <= most)) {
    char limits[64];
    std::snprintf(limits, sizeof limits, "a number from %g to %g", least, most);
    addUnexpected(*node, mistakes, limits);
    return std::nullopt;
  }
  return number;
}

std::optional<std::uint64_t> readUnsigned(const JsonNode* node, Mistakes& mistakes,
                                          std::uint64_t least, std::uint64_t most) {
  if (!node) {
    return std::nullopt;
  }
  const auto* const number = std::get_if<std::uint64_t>(&node->value());
  if (!number || *number < least || *number > most) {
    addUnexpected(*node, mistakes, "a whole number " + range(least, most));
    return std::nullopt;
  }
  return *number;
}

std::optional<std::int64_t> readSigned(const JsonNode* node, Mistakes& mistakes, std::int64_t least,
                                       std::int64_t most) {
  if (!node) {
    return std::nullopt;
  }
  std::optional<std::int64_t> number;
  if (const auto* const whole = std::get_if<std::uint64_t>(&node->value())) {
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (*whole <= kMost) {
      number = static_cast<std::int64_t>(*whole);
    }
  } else if (const auto* const negative = std::get_if<std::int64_t>(&node->value())) {
    number = *negative;
  }
  if (!number || *number < least || *number > most) {
    addUnexpected(*node, mistakes, "a whole number " + range(least, most));
    return std::nullopt;
  }
  return number;
}

std::optional<std::uint64_t> readHexadecimal(const JsonNode* node, Mistakes& mistakes,
                                             std::uint64_t most) {
  if (!node) {
    return std::nullopt;
  }
  std::optional<unsigned long long> number;
  if (const auto* const text = std::get_if<std::string>(&node->value())) {
    number = base::parseNumber(*text, most);
  } else if (const auto* const whole = std::get_if<std::uint64_t>(&node->value())) {
    number = *whole <= most ? std::optional<unsigned long long>(*whole) : std::nullopt;
  }
  if (!number) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "a number up to \"0x%llx\", such as \"0x1f\"",
                  static_cast<unsigned long long>(most));
    addUnexpected(*node, mistakes, expected);
    return std::nullopt;
  }
  return *number;
}

std::optional<std::chrono::milliseconds> parseDuration(std::string_view text) {
  constexpr std::pair<std::string_view, double> kUnits[] = {
      {"ms", 1}, {"min", 60'000}, {"s", 1000}, {"h", 3'600'000}};
  constexpr std::size_t kMostDigits = 9;
  for (const auto& [unit, milliseconds] : kUnits) {
    if (text.size() <= unit.size() || text.substr(text.size() - unit.size()) != unit) {
      continue;
    }
    const std::string_view number = text.substr(0, text.size() - unit.size());
    const std::size_t point = std::min(number.find('.'), number.size());
    const bool hasFraction = point != number.size();
    const std::string_view fraction = hasFraction ? number.substr(point + 1) : "0";
    if (point > kMostDigits || fraction.size() > kMostDigits) {
      return std::nullopt;
    }
    const auto whole = base::parseDecimalAs<std::uint64_t>(number.substr(0, point));
    const auto parts = base::parseDecimalAs<std::uint64_t>(fraction);
    if (!whole || !parts) {
      return std::nullopt;
    }
    const double value = static_cast<double>(*whole) +
                         static_cast<double>(*parts) / std::pow(10.0, double(fraction.size()));
    const double total = std::round(value * milliseconds);
    if (total > static_cast<double>(kLongestDuration.count())) {
      return std::nullopt;
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(total));
  }
  return std::nullopt;
}

std::optional<std::chrono::milliseconds> readDuration(const JsonNode* node, Mistakes& mistakes) {
  if (!node) {
    return std::nullopt;
  }
  if (const auto* const whole = std::get_if<std::uint64_t>(&node->value())) {
    if (*whole <= static_cast<std::uint64_t>(kLongestDuration.count())) {
      return std::chrono::milliseconds(static_cast<std::int64_t>(*whole));
    }
  } else if (const auto* const text = std::get_if<std::string>(&node->value())) {
    if (const auto duration = parseDuration(*text)) {
      return duration;
    }
  }
  addUnexpected(*node, mistakes,
                "a time of at most a day, such as \"1.5s\", \"250ms\", \"2min\", or a whole number "
                "of milliseconds");
  return std::nullopt;
}

std::optional<std::string> readWord(const JsonNode* node, Mistakes& mistakes,
                                    const std::vector<std::string>& words) {
  if (!node) {
    return std::nullopt;
  }
  const auto* const text = std::get_if<std::string>(&node->value());
  if (text && std::find(words.begin(), words.end(), *text) != words.end()) {
    return *text;
  }
  const auto nearest = text ? nearestName(*text, words) : std::nullopt;
  addUnexpected(*node, mistakes,
                nearest ? base::quoted(*nearest) : "one of the words " + base::joined(words));
  return std::nullopt;
}

const JsonNode::Children& readArray(const JsonNode* node, Mistakes& mistakes, std::size_t most) {
  static const JsonNode::Children none;
  if (!node) {
    return none;
  }
  if (node->kind() != Kind::kArray) {
    addUnexpected(*node, mistakes, "an array");
    return none;
  }
  if (node->children().size() > most) {
    mistakes.add(*node, "expected at most " + std::to_string(most) + " elements, found " +
                            std::to_string(node->children().size()));
    return none;
  }
  return node->children();
}

std::optional<std::string> nearestName(std::string_view text,
                                       const std::vector<std::string>& names) {
  constexpr std::size_t kLongest = 64;
  std::optional<std::string> nearest;
  std::size_t least = std::min(text.size(), kLongest) / 3 + 1;
  for (const std::string& name : names) {
    const std::size_t difference =
        std::max(text.size(), name.size()) - std::min(text.size(), name.size());
    if (text.size() > kLongest || name.size() > kLongest || difference > least) {
      continue;
    }
    const std::size_t steps = base::slipsBetween(text, name);
    if (steps < least || (steps == least && !nearest)) {
      nearest = name;
      least = steps;
    }
  }
  return nearest;
}

std::string suggestion(std::string_view text, const std::vector<std::string>& names,
                       std::string_view nouns) {
  if (const std::optional<std::string> nearest = nearestName(text, names)) {
    return "did you mean " + base::quoted(*nearest) + "?";
  }
  constexpr std::size_t kMostNames = 30;
  if (names.empty()) {
    return "there are no " + std::string(nouns);
  }
  const bool isShort = names.size() <= kMostNames;
  const std::vector<std::string> first(
      names.begin(), isShort ? names.end() : names.begin() + std::ptrdiff_t{kMostNames});
  return "the " + std::string(nouns) + " are " + base::joined(first) + (isShort ? "" : ", ...");
}

}  // namespace velsim
