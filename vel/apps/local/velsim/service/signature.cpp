#include "vel/apps/local/velsim/service/signature.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <variant>

#include "bus/dbus/value.h"

namespace velsim {
namespace {

using velprotocol::Argument;
using velprotocol::ValueType;

// A ValueType is the index of its alternative.
template <ValueType type>
using Alternative = std::variant_alternative_t<static_cast<std::size_t>(type), qxbus::Value>;
static_assert(std::is_same_v<Alternative<ValueType::kInt16>, std::int16_t>);
static_assert(std::is_same_v<Alternative<ValueType::kInt32>, std::int32_t>);
static_assert(std::is_same_v<Alternative<ValueType::kUInt64>, std::uint64_t>);
static_assert(std::is_same_v<Alternative<ValueType::kInt64>, std::int64_t>);
static_assert(std::is_same_v<Alternative<ValueType::kDouble>, double>);
static_assert(std::is_same_v<Alternative<ValueType::kString>, std::string>);
static_assert(std::is_same_v<Alternative<ValueType::kBytes>, qxbus::Bytes>);

// Unsigned integers that the protocol does not use stand for the signed ones of their width.
static_assert(std::variant_size_v<qxbus::Value> == std::size(velprotocol::kValueTypes) + 2);
ValueType typeOf(const qxbus::Value& value) {
  if (std::holds_alternative<std::uint16_t>(value)) {
    return ValueType::kInt16;
  }
  if (std::holds_alternative<std::uint32_t>(value)) {
    return ValueType::kInt32;
  }
  return static_cast<ValueType>(value.index());
}

std::string nameOf(const qxbus::Value& value) {
  return std::string(velprotocol::nameOf(typeOf(value)));
}

// A text that D-Bus cannot carry as a string, because it holds a NUL or is not UTF-8, comes as
// bytes.
bool isTextAsBytes(const qxbus::Value& value) {
  const auto* const bytes = std::get_if<qxbus::Bytes>(&value);
  return bytes && !qxbus::isText(std::string(bytes->begin(), bytes->end()));
}

std::string mustBe(std::size_t index, const Argument& argument) {
  return "argument " + std::to_string(index + 1) + " (" + std::string(argument.name) + ") must be ";
}

std::optional<std::string> mismatchAt(std::size_t index, const Argument& expected,
                                      const qxbus::Values& arguments) {
  const std::string begin = mustBe(index, expected);
  const std::string type(velprotocol::nameOf(expected.type));
  if (index >= arguments.size()) {
    return begin + type + ", got nothing";
  }
  const qxbus::Value& value = arguments[index];
  const bool isType = typeOf(value) == expected.type ||
                      (expected.type == ValueType::kString && isTextAsBytes(value));
  if (!isType) {
    return begin + type + ", got " + nameOf(value);
  }
  if (expected.size != 0) {
    const std::size_t size = std::get<qxbus::Bytes>(value).size();
    if (size != expected.size) {
      return begin + std::to_string(expected.size) + " bytes, got " + std::to_string(size);
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> Signature::mismatch(const qxbus::Values& arguments) const {
  const bool hasOptional = arguments.size() > arguments_.optionalFrom();
  const std::size_t once = hasOptional
                               ? arguments_.repeatedFrom()
                               : std::min(arguments_.optionalFrom(), arguments_.repeatedFrom());
  std::size_t next = 0;
  for (; next < once; ++next) {
    if (std::optional<std::string> wrong = mismatchAt(next, arguments_[next], arguments)) {
      return wrong;
    }
  }
  if (once == arguments_.repeatedFrom() && once < arguments_.size()) {
    const std::int32_t count = qxbus::readInt32(arguments, static_cast<int>(next) - 1);
    if (count < 0) {
      return mustBe(next - 1, arguments_[next - 1]) + "0 or more, got " + std::to_string(count);
    }
    // A count that is too large ends at the first argument that is missing.
    for (std::int32_t round = 0; round < count; ++round) {
      for (std::size_t i = once; i < arguments_.size(); ++i, ++next) {
        if (std::optional<std::string> wrong = mismatchAt(next, arguments_[i], arguments)) {
          return wrong;
        }
      }
    }
  }
  if (next < arguments.size()) {
    return "argument " + std::to_string(next + 1) + " is one too many, got " +
           nameOf(arguments[next]);
  }
  return std::nullopt;
}

}  // namespace velsim
