#include "vel/apps/local/velsim/faults/distortion.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <variant>

namespace velsim {
namespace {

constexpr char kNotUtf8[] = "\xFF\xC0\xAF velsim \xED\xA0\x80";
constexpr unsigned char kFiller = 0xA5;
constexpr std::size_t kLongestRandomBlock = 2048;

std::string withNul(std::string text) {
  text.insert(text.size() / 2, 1, '\0');
  return text;
}

// Another type than the value has, and no text or number that reads as nothing.
qxbus::Value ofAnotherType(const qxbus::Value& value) {
  const bool isNumber =
      !std::holds_alternative<std::string>(value) && !std::holds_alternative<qxbus::Bytes>(value);
  return isNumber ? qxbus::Value(std::string("velsim")) : qxbus::Value(std::int32_t{7});
}

// Fills the text fields of a record, without a NUL at their ends.
void spoilTexts(qxbus::Bytes& bytes, const velprotocol::Layout& record, FaultKind kind) {
  for (const velprotocol::Field& field : record) {
    if (field.type != velprotocol::FieldType::kText || field.offset >= bytes.size()) {
      continue;
    }
    const std::size_t left = bytes.size() - field.offset;
    const std::size_t size =
        field.size == velprotocol::kToTheEnd ? left : std::min(left, field.size);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(field.offset);
    if (kind == FaultKind::kNotUtf8) {
      std::fill_n(begin, size, static_cast<unsigned char>(kNotUtf8[0]));
    } else {
      std::fill_n(begin, size, static_cast<unsigned char>('x'));
      *(begin + static_cast<std::ptrdiff_t>(size / 2)) = 0;
    }
  }
}

}  // namespace

Distortion::Distortion(FaultKind kind, std::uint64_t number, std::uint64_t call)
    : kind_(kind), number_(number), random_(number + call) {}

qxbus::Bytes Distortion::block(qxbus::Bytes bytes, const velprotocol::Layout* record) {
  switch (kind_) {
    case FaultKind::kTruncatedBlocks:
      bytes.resize(bytes.size() / 2);
      break;
    case FaultKind::kEmptyBlocks:
      bytes.clear();
      break;
    case FaultKind::kOversizedBlocks:
      bytes.resize(static_cast<std::size_t>(number_), kFiller);
      break;
    case FaultKind::kRandomBlocks:
      bytes.resize(random_() % kLongestRandomBlock);
      std::generate(bytes.begin(), bytes.end(),
                    [this] { return static_cast<unsigned char>(random_()); });
      break;
    case FaultKind::kNotUtf8:
    case FaultKind::kEmbeddedNul:
      if (record) {
        spoilTexts(bytes, *record, kind_);
      }
      break;
    default:
      break;
  }
  return bytes;
}

qxbus::Value Distortion::value(qxbus::Value given, const velprotocol::Layout* record) {
  if (kind_ == FaultKind::kWrongArgumentTypes) {
    return ofAnotherType(given);
  }
  if (auto* const bytes = std::get_if<qxbus::Bytes>(&given)) {
    return block(std::move(*bytes), record);
  }
  if (auto* const text = std::get_if<std::string>(&given)) {
    if (kind_ == FaultKind::kNotUtf8) {
      return std::string(kNotUtf8);
    }
    if (kind_ == FaultKind::kEmbeddedNul) {
      return withNul(std::move(*text));
    }
  }
  return given;
}

qxbus::Values Distortion::reply(qxbus::Values values, const velprotocol::ArgumentList& arguments) {
  const std::size_t once = arguments.repeatedFrom();
  const std::size_t repeated = arguments.size() - once;
  if (kind_ == FaultKind::kMissingArguments) {
    values.resize(std::min(values.size(), static_cast<std::size_t>(number_)));
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    const bool isStated = i < once || repeated > 0;
    const velprotocol::Layout* const record =
        isStated ? arguments[i < once ? i : once + (i - once) % repeated].record : nullptr;
    values[i] = value(std::move(values[i]), record);
  }
  // The count stands before the list.
  if (repeated > 0 && once <= values.size()) {
    if (kind_ == FaultKind::kNegativeCount) {
      values[once - 1] = std::int32_t{-1};
    } else if (kind_ == FaultKind::kHugeCount) {
      values[once - 1] = std::numeric_limits<std::int32_t>::max();
    }
  }
  return values;
}

}  // namespace velsim
