#include "vel/apps/local/velctl/line/parameter.h"

#include <cctype>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "base/unix_socket.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl {
namespace {

// Decimal digits behind an optional minus sign, or what parseNumber() takes.
std::optional<std::int64_t> parseSigned(const std::string& text, std::int64_t least,
                                        std::uint64_t most) {
  if (text.empty() || text.front() != '-') {
    const auto number = base::parseNumber(text, most);
    return number ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
  }
  const auto number = base::parseDecimal(std::string_view(text).substr(1),
                                         static_cast<std::uint64_t>(-(least + 1)) + 1);
  // Not -number: the least number has no positive counterpart.
  return number ? std::optional(static_cast<std::int64_t>(~*number + 1)) : std::nullopt;
}

std::optional<std::uint64_t> numberOf(const velprotocol::Legend& legend, std::string_view word) {
  for (const velprotocol::Meaning& meaning : legend) {
    if (meaning.word == word) {
      return static_cast<std::uint64_t>(meaning.number);
    }
  }
  return std::nullopt;
}

std::string rule(const Parameter& parameter) {
  std::string text = "must be a number from " + std::to_string(parameter.least) + " to " +
                     std::to_string(parameter.most) + ", decimal or 0x...";
  if (parameter.legend) {
    std::vector<std::string> words;
    for (const velprotocol::Meaning& meaning : *parameter.legend) {
      words.emplace_back(meaning.word);
    }
    text += ", or one of " + base::joined(words);
  }
  return text;
}

bool isSeconds(const std::string& text) {
  if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos) {
    return false;
  }
  constexpr double kMost = 1e9;
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  return *end == '\0' && seconds <= kMost;
}

bool isUsbId(const std::string& text) {
  return text.size() == 9 && text[4] == ':' && base::parseHex(text.substr(0, 4)) &&
         base::parseHex(text.substr(5));
}

std::string mistakeInText(const Parameter& parameter, const std::string& text) {
  if (text.empty() && !parameter.mayBeEmpty) {
    return "must not be empty";
  }
  if (text.size() > parameter.longest) {
    return printableInQuotes(text) + " is longer than " + std::to_string(parameter.longest) +
           " bytes";
  }
  return {};
}

}  // namespace

std::string Parameter::key() const {
  std::string key;
  bool isCapital = false;
  for (const char c : name) {
    if (c == '-') {
      isCapital = !key.empty();
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    key += static_cast<char>(isCapital ? std::toupper(byte) : std::tolower(byte));
    isCapital = false;
  }
  return key;
}

std::string Parameter::valueName() const {
  if (!isOption()) {
    return name;
  }
  switch (kind) {
    case Kind::kVm:
      return "VM";
    case Kind::kDevice:
      return "DEVICE";
    case Kind::kPrinter:
      return "PRINTER";
    case Kind::kSource:
      return "SOURCE";
    case Kind::kUnsigned:
    case Kind::kSigned:
      return "NUMBER";
    case Kind::kSeconds:
      return "SECONDS";
    case Kind::kPath:
      return "PATH";
    case Kind::kUsbId:
      return "VID:PID";
    default:
      return "TEXT";
  }
}

Parameter Parameter::withLetter(const std::string& itsLetter) const {
  Parameter changed = *this;
  changed.letter = itsLetter;
  return changed;
}

Parameter Parameter::required() const {
  Parameter changed = *this;
  changed.isRequired = true;
  return changed;
}

Parameter Parameter::optional() const {
  Parameter changed = *this;
  changed.isRequired = false;
  return changed;
}

Parameter Parameter::repeated() const {
  Parameter changed = *this;
  changed.isRepeated = true;
  return changed;
}

Parameter Parameter::silent() const {
  Parameter changed = *this;
  changed.isSilent = true;
  return changed;
}

Parameter Parameter::unresolved() const {
  Parameter changed = *this;
  changed.isUnresolved = true;
  return changed;
}

Parameter Parameter::orElse(const std::string& value) const {
  Parameter changed = optional();
  changed.fallback = value;
  return changed;
}

Parameter Parameter::notEmpty() const {
  Parameter changed = *this;
  changed.mayBeEmpty = false;
  return changed;
}

Parameter Parameter::atMost(std::size_t bytes) const {
  Parameter changed = *this;
  changed.longest = bytes;
  return changed;
}

Parameter Parameter::withWords(const velprotocol::Legend& words) const {
  Parameter changed = *this;
  changed.legend.emplace(words);
  return changed;
}

Parameter Parameter::checked(std::string (*rule)(const std::string& text)) const {
  Parameter changed = *this;
  changed.check = rule;
  return changed;
}

Parameter thing(Kind kind, const std::string& name, const std::string& help) {
  Parameter parameter;
  parameter.name = name;
  parameter.kind = kind;
  parameter.help = help;
  parameter.isRequired = !parameter.isOption();
  return parameter;
}

Parameter text(const std::string& name, const std::string& help) {
  return thing(Kind::kText, name, help);
}

Parameter flag(const std::string& name, const std::string& help) {
  return thing(Kind::kFlag, name, help);
}

Parameter seconds(const std::string& name, const std::string& fallback, const std::string& help) {
  return thing(Kind::kSeconds, name, help).orElse(fallback).silent();
}

Parameter path(const std::string& name, const std::string& help) {
  return thing(Kind::kPath, name, help);
}

Parameter choice(const std::string& name, std::vector<std::string> choices,
                 const std::string& help) {
  Parameter parameter = thing(Kind::kChoice, name, help);
  parameter.choices = std::move(choices);
  return parameter;
}

Parameter wholeNumber(const std::string& name, std::int64_t least, std::uint64_t most,
                      const std::string& help) {
  Parameter parameter = thing(least < 0 ? Kind::kSigned : Kind::kUnsigned, name, help);
  parameter.least = least;
  parameter.most = most;
  return parameter;
}

Parameter usbId() {
  return thing(Kind::kUsbId, "USB-ID", "USB vendor and product id, as lsusb shows them: 046d:0825");
}

Parameter vmArgument() {
  return thing(Kind::kVm, "VM", "Name of the VM, or its number; \"\" is this machine");
}

Parameter vmOption() {
  return thing(Kind::kVm, "--vm", "Name of the VM, or its number; \"\" is this machine");
}

Parameter deviceArgument() {
  Parameter parameter = thing(Kind::kDevice, "DEVICE", "Number of the device, or its name");
  parameter.most = std::numeric_limits<std::uint16_t>::max();
  return parameter;
}

Parameter printerArgument() {
  Parameter parameter = thing(Kind::kPrinter, "PRINTER", "Number of the printer, or its name");
  parameter.most = std::numeric_limits<std::uint16_t>::max();
  return parameter;
}

Parameter source(const std::string& name, const std::string& help) {
  Parameter parameter = thing(Kind::kSource, name, help);
  parameter.most = std::numeric_limits<std::uint64_t>::max();
  return parameter;
}

Parameter sourceArgument() {
  return source("SOURCE",
                "Source id of the device, as velctl device show has it, or the name of the device");
}

Parameter joystickArgument() {
  Parameter parameter =
      thing(Kind::kJoystick, "JOYSTICK", "Position of the joystick, from 0, or its name");
  parameter.most = std::numeric_limits<std::uint16_t>::max();
  return parameter;
}

Parameter mappingArgument() {
  Parameter parameter =
      thing(Kind::kMapping, "MAPPING", "Position of the mapping, from 0, or its name");
  parameter.most = std::numeric_limits<std::uint16_t>::max();
  return parameter;
}

std::string mistakeIn(const Parameter& parameter, const std::string& text) {
  std::string mistake = mistakeInText(parameter, text);
  if (!mistake.empty()) {
    return mistake;
  }
  const std::string shown = text.empty() ? "the value" : printableInQuotes(text);
  switch (parameter.kind) {
    case Kind::kUnsigned:
    case Kind::kSigned:
      mistake = numberIn(parameter, text) ? "" : shown + " " + rule(parameter);
      break;
    case Kind::kDevice:
    case Kind::kPrinter:
    case Kind::kSource:
    case Kind::kJoystick:
    case Kind::kMapping: {
      // Anything else is a name, but a number that is too large, or negative, is a slip.
      const std::size_t first = !text.empty() && text.front() == '-' ? 1 : 0;
      const bool isNumber = text.find_first_not_of("0123456789", first) == std::string::npos;
      mistake = text.empty() || (isNumber && !numberIn(parameter, text))
                    ? shown + " must be a number from 0 to " + std::to_string(parameter.most) +
                          ", decimal or 0x..., or a name"
                    : "";
      break;
    }
    case Kind::kSeconds:
      mistake = isSeconds(text) ? "" : shown + " must be a number of seconds, such as 2 or 0.5";
      break;
    case Kind::kUsbId:
      mistake =
          isUsbId(text) ? "" : shown + " must be a USB vendor and product id, such as 046d:0825";
      break;
    case Kind::kUsbBytes:
      mistake =
          text.size() == 16 && base::parseHex(text) ? "" : shown + " must be 16 hexadecimal digits";
      break;
    case Kind::kPath:
      mistake = text.empty() ? "must not be empty" : "";
      break;
    case Kind::kChoice: {
      bool isChoice = false;
      for (const std::string& choice : parameter.choices) {
        isChoice = isChoice || choice == text;
      }
      mistake = isChoice ? "" : shown + " must be one of " + base::joined(parameter.choices);
      break;
    }
    case Kind::kText:
    case Kind::kCommand:
    case Kind::kNetworkPrinter:
    case Kind::kFlag:
    case Kind::kAddress:
    case Kind::kVm:
      break;
  }
  return mistake.empty() && parameter.check ? parameter.check(text) : mistake;
}

std::optional<std::uint64_t> numberIn(const Parameter& parameter, const std::string& text) {
  if (parameter.legend) {
    if (const auto number = numberOf(*parameter.legend, text)) {
      return number;
    }
  }
  if (parameter.kind == Kind::kSigned) {
    const auto number = parseSigned(text, parameter.least, parameter.most);
    return number ? std::optional(static_cast<std::uint64_t>(*number)) : std::nullopt;
  }
  const auto number = base::parseNumber(text, parameter.most);
  return number && *number >= static_cast<std::uint64_t>(parameter.least) ? number : std::nullopt;
}

}  // namespace velctl
