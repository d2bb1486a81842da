#include "vel/apps/local/velsim/service/signature.h"

#include <charconv>
#include <stdexcept>

#include "bus/dbus/wire.h"

namespace velsim {
namespace {

// Indexed as the alternatives of qxbus::Value.
struct Type {
  std::string_view code;
  std::string_view name;
};
constexpr Type kTypes[] = {{"n", "int16"},  {"i", "int32"},  {"t", "uint64"}, {"x", "int64"},
                           {"d", "double"}, {"s", "string"}, {"ay", "bytes"}};
static_assert(std::size(kTypes) == std::variant_size_v<qxbus::Value>, "every type has a name");

constexpr std::size_t kInt32 = 1;
constexpr std::size_t kString = 5;
constexpr std::size_t kBytes = 6;
static_assert(std::is_same_v<std::variant_alternative_t<kInt32, qxbus::Value>, std::int32_t>);
static_assert(std::is_same_v<std::variant_alternative_t<kString, qxbus::Value>, std::string>);
static_assert(std::is_same_v<std::variant_alternative_t<kBytes, qxbus::Value>, qxbus::Bytes>);

constexpr std::string_view kRepeatedBegin = "(";
constexpr std::string_view kRepeatedEnd = ")*";

[[noreturn]] void refuse(std::string_view notation) {
  throw std::invalid_argument("not a parameter: '" + std::string(notation) + "'");
}

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> found;
  while (!text.empty()) {
    const std::size_t end = text.find(' ');
    found.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return found;
}

bool beginsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

std::string nameOf(const qxbus::Value& value) {
  return std::string(kTypes[value.index()].name);
}

// A text that D-Bus cannot carry as a string, because it holds a NUL or is not UTF-8, comes as
// bytes.
bool isTextAsBytes(const qxbus::Value& value) {
  const auto* const bytes = std::get_if<qxbus::Bytes>(&value);
  return bytes && !qxbus::isText(std::string(bytes->begin(), bytes->end()));
}

std::string ordinal(std::size_t index, const std::string& name) {
  return "argument " + std::to_string(index + 1) + " (" + name + ") must be ";
}

}  // namespace

Signature::Signature(std::string_view notation) {
  std::vector<Parameter>* to = &once_;
  bool isComplete = false;
  for (std::string_view word : words(notation)) {
    if (isComplete) {
      refuse(word);
    }
    if (to == &once_ && beginsWith(word, kRepeatedBegin)) {
      if (once_.empty() || once_.back().type != kInt32) {
        refuse(word);
      }
      to = &repeated_;
      word.remove_prefix(kRepeatedBegin.size());
    }
    if (to == &repeated_ && endsWith(word, kRepeatedEnd)) {
      isComplete = true;
      word.remove_suffix(kRepeatedEnd.size());
    }
    to->push_back(parameter(word));
  }
  if (to == &repeated_ && !isComplete) {
    refuse(notation);
  }
}

Signature::Parameter Signature::parameter(std::string_view notation) {
  const std::size_t colon = notation.find(':');
  if (colon == std::string_view::npos || colon == 0) {
    refuse(notation);
  }
  Parameter made;
  made.name = notation.substr(0, colon);
  const std::string_view code = notation.substr(colon + 1);
  for (std::size_t type = 0; type < std::size(kTypes); ++type) {
    if (code == kTypes[type].code) {
      made.type = type;
      return made;
    }
  }
  const std::string_view blockCode = kTypes[kBytes].code;
  if (!beginsWith(code, blockCode)) {
    refuse(notation);
  }
  const char* const end = code.data() + code.size();
  const auto [stop, error] = std::from_chars(code.data() + blockCode.size(), end, made.size);
  if (error != std::errc() || stop != end) {
    refuse(notation);
  }
  made.type = kBytes;
  made.isFixedSize = true;
  return made;
}

std::optional<std::string> Signature::mismatch(const qxbus::Values& arguments) const {
  std::size_t next = 0;
  for (const Parameter& parameter : once_) {
    if (std::optional<std::string> wrong = mismatch(parameter, arguments, next)) {
      return wrong;
    }
    ++next;
  }
  if (!repeated_.empty()) {
    const std::int32_t count = std::get<std::int32_t>(arguments[next - 1]);
    if (count < 0) {
      return ordinal(next - 1, once_.back().name) + "0 or more, got " + std::to_string(count);
    }
    // A count that is too large ends at the first argument that is missing.
    for (std::int32_t round = 0; round < count; ++round) {
      for (const Parameter& parameter : repeated_) {
        if (std::optional<std::string> wrong = mismatch(parameter, arguments, next)) {
          return wrong;
        }
        ++next;
      }
    }
  }
  if (next < arguments.size()) {
    return "argument " + std::to_string(next + 1) + " is one too many, got " +
           nameOf(arguments[next]);
  }
  return std::nullopt;
}

std::optional<std::string> Signature::mismatch(const Parameter& parameter,
                                               const qxbus::Values& arguments, std::size_t index) {
  const std::string expected = ordinal(index, parameter.name);
  const std::string type(kTypes[parameter.type].name);
  if (index >= arguments.size()) {
    return expected + type + ", got nothing";
  }
  const qxbus::Value& value = arguments[index];
  const bool isType =
      value.index() == parameter.type || (parameter.type == kString && isTextAsBytes(value));
  if (!isType) {
    return expected + type + ", got " + nameOf(value);
  }
  if (parameter.isFixedSize) {
    const std::size_t size = std::get<qxbus::Bytes>(value).size();
    if (size != parameter.size) {
      return expected + std::to_string(parameter.size) + " bytes, got " + std::to_string(size);
    }
  }
  return std::nullopt;
}

}  // namespace velsim
