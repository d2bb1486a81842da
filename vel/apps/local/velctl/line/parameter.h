// The parameters of a command: what its positional arguments and options mean. The command line,
// its help, its completion, the manual page and the JSON form all follow from them.

#ifndef VEL_APPS_LOCAL_VELCTL_LINE_PARAMETER_H
#define VEL_APPS_LOCAL_VELCTL_LINE_PARAMETER_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "vel/protocol/meanings.h"

namespace velctl {

enum class Kind {
  kText,
  kFlag,
  kUnsigned,
  kSigned,
  kSeconds,   // decimals allowed
  kUsbId,     // 046d:0825
  kUsbBytes,  // 16 hexadecimal digits
  kAddress,   // of another machine
  kPath,
  kChoice,
  kCommand,         // words of a command of velctl
  kNetworkPrinter,  // by its name only
  // Things of the service, by name or number:
  kVm,
  kDevice,
  kPrinter,
  kSource,
  kJoystick,
  kMapping,
};

struct Parameter {
  // "DEVICE" for a positional argument, "--vm" for an option, which has a value unless it is a
  // flag.
  std::string name;
  Kind kind = Kind::kText;
  std::string help;
  // A letter for the option: "-v"; empty: none.
  std::string letter = {};

  bool isRequired = false;
  // May be given several times.
  bool isRepeated = false;
  // Steers velctl and is no part of the request, or must not be shown: it stands neither in the
  // JSON form nor in messages.
  bool isSilent = false;
  // The command itself finds out what the text names.
  bool isUnresolved = false;
  // The value when none is given.
  std::optional<std::string> fallback;
  // Of numbers.
  std::int64_t least = 0;
  std::uint64_t most = 0;
  // Of texts, in bytes.
  std::size_t longest = std::numeric_limits<std::size_t>::max();
  bool mayBeEmpty = true;
  // Words that may stand for numbers.
  std::optional<velprotocol::Legend> legend;
  // Of kChoice.
  std::vector<std::string> choices;
  // A rule of this parameter alone: returns the mistake in a text, empty for a correct one.
  std::string (*check)(const std::string& text) = nullptr;

  bool isOption() const { return name.front() == '-'; }
  bool isNumber() const { return kind == Kind::kUnsigned || kind == Kind::kSigned; }
  // Numbers that do not fit into a double, which most JSON readers use: JSON has them as text.
  bool isLong() const {
    return kind == Kind::kSource ||
           (isNumber() && most > std::numeric_limits<std::uint32_t>::max());
  }
  // The member of the JSON form: "device", "autoConnect".
  std::string key() const;
  // The word for the value in the help: "DEVICE", "SECONDS".
  std::string valueName() const;

  // The same parameter, changed.
  Parameter withLetter(const std::string& itsLetter) const;
  Parameter required() const;
  Parameter optional() const;
  Parameter repeated() const;
  Parameter silent() const;
  Parameter unresolved() const;
  Parameter orElse(const std::string& value) const;
  Parameter notEmpty() const;
  Parameter atMost(std::size_t bytes) const;
  Parameter withWords(const velprotocol::Legend& words) const;
  Parameter checked(std::string (*rule)(const std::string& text)) const;
};

// Positional arguments are required and options are optional, unless changed.
Parameter text(const std::string& name, const std::string& help);
Parameter flag(const std::string& name, const std::string& help);
Parameter seconds(const std::string& name, const std::string& fallback, const std::string& help);
Parameter path(const std::string& name, const std::string& help);
Parameter choice(const std::string& name, std::vector<std::string> choices,
                 const std::string& help);
Parameter wholeNumber(const std::string& name, std::int64_t least, std::uint64_t most,
                      const std::string& help);

// A number that a type can hold.
template <typename Number>
Parameter number(const std::string& name, const std::string& help) {
  using Limits = std::numeric_limits<Number>;
  return wholeNumber(name, std::int64_t{std::is_signed_v<Number> ? Limits::min() : Number()},
                     static_cast<std::uint64_t>(Limits::max()), help);
}

Parameter usbId();
Parameter thing(Kind kind, const std::string& name, const std::string& help);
Parameter vmArgument();  // VM
Parameter vmOption();    // --vm VM
Parameter deviceArgument();
Parameter printerArgument();
Parameter sourceArgument();
Parameter source(const std::string& name, const std::string& help);
Parameter joystickArgument();
Parameter mappingArgument();

// The mistake in a text for a parameter; empty for a correct one.
std::string mistakeIn(const Parameter& parameter, const std::string& text);

// The number in a text that has no mistake: also a word of the legend. A negative one as its two's
// complement. nullopt: it is the name of a thing.
std::optional<std::uint64_t> numberIn(const Parameter& parameter, const std::string& text);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LINE_PARAMETER_H
