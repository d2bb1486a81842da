#include "vel/apps/local/velsim/recording/value_json.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "base/text.h"

namespace velsim {
namespace {

using nlohmann::json;

// In the order of qxbus::Value.
constexpr const char* kTypes[] = {"n", "i", "t", "x", "d", "s", "ay", "q", "u"};
static_assert(std::size(kTypes) == std::variant_size_v<qxbus::Value>);
constexpr char kMasked[] = "masked";
constexpr char kTypeList[] = "n, i, t, x, d, s, ay, q, u or masked";

std::string_view bytesOf(const qxbus::Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

OrderedJson contentOf(const qxbus::Value& value) {
  return std::visit(
      [](const auto& each) -> OrderedJson {
        using Type = std::decay_t<decltype(each)>;
        if constexpr (std::is_same_v<Type, qxbus::Bytes>) {
          return base::hexOf(bytesOf(each));
        } else if constexpr (std::is_same_v<Type, double>) {
          // JSON has no infinity and no NaN: their bits.
          std::uint64_t bits = 0;
          std::memcpy(&bits, &each, sizeof bits);
          return std::isfinite(each) ? OrderedJson(each) : OrderedJson(bits);
        } else {
          return each;
        }
      },
      value);
}

template <typename Integer>
base::Result<MaskableValue> integerOf(const json& content, const char* type) {
  const auto failed = base::Failed{"\"" + std::string(type) + "\" must hold a number from " +
                                   std::to_string(std::numeric_limits<Integer>::min()) + " to " +
                                   std::to_string(std::numeric_limits<Integer>::max())};
  if (content.is_number_unsigned()) {
    const auto number = content.get<std::uint64_t>();
    if (number <= static_cast<std::uint64_t>(std::numeric_limits<Integer>::max())) {
      return MaskableValue(qxbus::Value(static_cast<Integer>(number)));
    }
  } else if (content.is_number_integer() && std::is_signed_v<Integer>) {
    const auto number = content.get<std::int64_t>();
    if (number >= static_cast<std::int64_t>(std::numeric_limits<Integer>::min())) {
      return MaskableValue(qxbus::Value(static_cast<Integer>(number)));
    }
  }
  return failed;
}

base::Result<MaskableValue> doubleOf(const json& content) {
  if (content.is_number_unsigned()) {
    const auto bits = content.get<std::uint64_t>();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return MaskableValue(qxbus::Value(value));
  }
  if (!content.is_number_float()) {
    return base::Failed{"\"d\" must hold a number with a fraction, or 64 bits as an integer"};
  }
  return MaskableValue(qxbus::Value(content.get<double>()));
}

base::Result<MaskableValue> textOf(const json& content) {
  if (!content.is_string() || !qxbus::isText(content.get<std::string>())) {
    return base::Failed{"\"s\" must hold a text without a NUL"};
  }
  return MaskableValue(qxbus::Value(content.get<std::string>()));
}

base::Result<MaskableValue> blockOf(const json& content) {
  const auto bytes =
      content.is_string() ? base::parseHex(content.get<std::string>()) : std::nullopt;
  if (!bytes) {
    return base::Failed{"\"ay\" must hold pairs of hexadecimal digits"};
  }
  return MaskableValue(qxbus::Value(qxbus::Bytes(bytes->begin(), bytes->end())));
}

}  // namespace

OrderedJson jsonOf(const qxbus::Value& value) {
  return {{kTypes[value.index()], contentOf(value)}};
}

OrderedJson maskedJsonOf(const qxbus::Value& value) {
  return {{kMasked, kTypes[value.index()]}};
}

base::Result<MaskableValue> maskableValueOf(const json& json) {
  if (!json.is_object() || json.size() != 1) {
    return base::Failed{std::string("a value must be an object with one member: ") + kTypeList};
  }
  const std::string type = json.begin().key();
  const auto& content = json.begin().value();
  if (type == kMasked) {
    return MaskableValue();
  }
  if (type == "n") {
    return integerOf<std::int16_t>(content, "n");
  }
  if (type == "i") {
    return integerOf<std::int32_t>(content, "i");
  }
  if (type == "t") {
    return integerOf<std::uint64_t>(content, "t");
  }
  if (type == "x") {
    return integerOf<std::int64_t>(content, "x");
  }
  if (type == "q") {
    return integerOf<std::uint16_t>(content, "q");
  }
  if (type == "u") {
    return integerOf<std::uint32_t>(content, "u");
  }
  if (type == "d") {
    return doubleOf(content);
  }
  if (type == "s") {
    return textOf(content);
  }
  if (type == "ay") {
    return blockOf(content);
  }
  return base::Failed{"unknown type " + base::quoted(type) + " of a value; the types are " +
                      kTypeList};
}

std::string lineOf(const OrderedJson& json) {
  return json.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

}  // namespace velsim
