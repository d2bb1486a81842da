#include "tests/velctl/right_lines.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "tests/velctl/words.h"
#include "vel/apps/local/velctl/line/command_line.h"

namespace velctl_tests {
namespace {

using velctl::Kind;
using velctl::Parameter;

// One more than a number.
std::string above(std::uint64_t number) {
  return number == std::numeric_limits<std::uint64_t>::max() ? "18446744073709551616"
                                                             : std::to_string(number + 1);
}

// One less than a negative number.
std::string below(std::int64_t number) {
  return number == std::numeric_limits<std::int64_t>::min() ? "-9223372036854775809"
                                                            : std::to_string(number - 1);
}

constexpr char kHuge[] = "99999999999999999999999999999999999999";

}  // namespace

RightLine RightLine::with(const std::string& parameter, const std::string& value) const {
  RightLine changed = *this;
  std::vector<std::string>& values = changed.values_[parameter];
  values.resize(std::max(values.size(), std::size_t{1}));
  values.front() = value;
  return changed;
}

RightLine RightLine::withOneMore(const std::string& parameter, const std::string& value) const {
  RightLine changed = *this;
  changed.values_[parameter].push_back(value);
  return changed;
}

RightLine RightLine::without(const std::string& parameter) const {
  RightLine changed = *this;
  changed.values_.erase(parameter);
  return changed;
}

std::vector<std::string> RightLine::words() const {
  std::vector<std::string> words = wordsOf(command_->path);
  std::vector<std::string> positional;
  for (const Parameter& parameter : command_->parameters) {
    const auto value = values_.find(parameter.name);
    if (value == values_.end()) {
      continue;
    }
    if (parameter.kind == Kind::kFlag) {
      words.push_back(parameter.name);
    } else if (parameter.isOption()) {
      for (const std::string& text : value->second) {
        words.push_back(parameter.name + '=' + text);
      }
    } else {
      positional.insert(positional.end(), value->second.begin(), value->second.end());
    }
  }
  if (!positional.empty()) {
    words.emplace_back("--");
    words.insert(words.end(), positional.begin(), positional.end());
  }
  return words;
}

RightLine rightLineOf(const velctl::Command& command) {
  RightLine line(command);
  for (const Parameter& parameter : command.parameters) {
    if (parameter.isRequired) {
      line = line.with(parameter.name, rightValueOf(parameter));
    }
  }
  // Commands with a rule may need more.
  for (const Parameter& parameter : command.parameters) {
    if (velctl::parseLine(line.words()).mistake.empty()) {
      break;
    }
    for (int i = 0; parameter.isRequired && parameter.isRepeated && i < 2; ++i) {
      line = line.withOneMore(parameter.name, rightValueOf(parameter));
    }
    if (!parameter.isRequired && parameter.kind != Kind::kFlag) {
      const RightLine longer = line.with(parameter.name, rightValueOf(parameter));
      if (velctl::parseLine(longer.words()).mistake.empty()) {
        return longer;
      }
    }
  }
  return line;
}

std::string rightValueOf(const Parameter& parameter) {
  switch (parameter.kind) {
    case Kind::kUsbId:
      return "046d:0825";
    case Kind::kUsbBytes:
      return "0102030405060708";
    case Kind::kAddress:
      return "10.0.0.7";
    case Kind::kChoice:
      return parameter.choices.front();
    case Kind::kVm:
      return "win11";
    default:
      return "1";
  }
}

std::vector<std::string> wrongValuesOf(const Parameter& parameter) {
  std::vector<std::string> values;
  switch (parameter.kind) {
    case Kind::kUnsigned:
    case Kind::kSigned:
      values = {"",
                " ",
                "-",
                "x",
                "1x",
                "0x",
                "0xg",
                "1.5",
                "1e3",
                "+1",
                " 1",
                "1 ",
                "--1",
                "\xff",
                "1\xff",
                "\xD9\xA1",
                "\x1b[2J",
                kHuge,
                "-" + std::string(kHuge),
                above(parameter.most),
                below(parameter.least)};
      break;
    case Kind::kDevice:
    case Kind::kPrinter:
    case Kind::kSource:
    case Kind::kJoystick:
    case Kind::kMapping:
      // Anything else may be a name.
      values = {"", "-1", kHuge, "-" + std::string(kHuge), above(parameter.most)};
      break;
    case Kind::kSeconds:
      values = {"", " ", "x", "-1", "1e3", "nan", "inf", "0x1", "1..2", ".", "1s", "\xff", kHuge};
      break;
    case Kind::kUsbId:
      values = {"",          ":",          "046d",      "046d:",      "46d:0825",
                "046g:0825", "046d:08255", "-46d:0825", "046d:0825 ", "0x46d:825",
                "046d;0825", "\xff",       kHuge};
      break;
    case Kind::kUsbBytes:
      values = {"",
                "01020304050607",
                "010203040506070g",
                "010203040506070809",
                "-102030405060708",
                "0x02030405060708",
                "\xff",
                kHuge};
      break;
    case Kind::kPath:
      values = {""};
      break;
    case Kind::kChoice:
      values = {"", "nosuch", "-1", "\xff", kHuge, parameter.choices.front() + "x"};
      break;
    case Kind::kAddress:
      values = {"",          "10.0.0",         "10.0.0.7.1", "10.0.0.256", "-1.0.0.0",
                "10.0.0.7:", "10.0.0.7:65536", "localhost",  "\xff",       kHuge};
      break;
    case Kind::kText:
    case Kind::kNetworkPrinter:
      if (!parameter.mayBeEmpty) {
        values.emplace_back("");
      }
      if (parameter.longest != std::numeric_limits<std::size_t>::max()) {
        values.emplace_back(parameter.longest + 1, 'x');
        values.emplace_back(parameter.longest + 1, '\xff');
      }
      break;
    case Kind::kVm:
    case Kind::kCommand:
    case Kind::kFlag:
      break;
  }
  return values;
}

}  // namespace velctl_tests
