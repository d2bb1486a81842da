// The notation in which methods.h states arguments and replies.
//
//   "vm:i port:i"                 two arguments, both int32, named vm and port
//   "vm:i count:i (pipe:Pipe)*"   and then count times a block with the layout of that record
//   "vm:i type:t [figure:t]"      the last argument may be left away
//   "result:i [count:i (name:s)*]"
//
// Types: n int16, i int32, t uint64, x int64, d double, s string, ay bytes of any length, ayN
// exactly N bytes, and the name of a record of records.h. ( )* ends the notation and follows as
// often as the int32 before it says; it may hold several arguments. [ ] ends it as well, and is
// there as a whole or not at all. An empty notation stands for no arguments.

#ifndef VEL_PROTOCOL_NOTATION_H
#define VEL_PROTOCOL_NOTATION_H

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "vel/protocol/records.h"

namespace velprotocol {

enum class ValueType { kInt16, kInt32, kUInt64, kInt64, kDouble, kString, kBytes };

struct ValueTypeRow {
  ValueType type;
  std::string_view code;  // on D-Bus, and in the notation
  std::string_view name;  // for people
};

inline constexpr ValueTypeRow kValueTypes[] = {
    {ValueType::kInt16, "n", "int16"},   {ValueType::kInt32, "i", "int32"},
    {ValueType::kUInt64, "t", "uint64"}, {ValueType::kInt64, "x", "int64"},
    {ValueType::kDouble, "d", "double"}, {ValueType::kString, "s", "string"},
    {ValueType::kBytes, "ay", "bytes"},
};

constexpr std::string_view nameOf(ValueType type) {
  return kValueTypes[static_cast<std::size_t>(type)].name;
}

constexpr std::string_view codeOf(ValueType type) {
  return kValueTypes[static_cast<std::size_t>(type)].code;
}

struct Argument {
  std::string_view name;
  ValueType type = ValueType::kInt32;
  std::size_t size = 0;            // of a block whose size is exact; otherwise 0
  const Layout* record = nullptr;  // of a block that is a record
};

// The arguments that a notation states: first those that are always there, then those of [ ], then
// those of ( )*. Either of the two may be missing, and ( )* may stand inside [ ].
class ArgumentList {
 public:
  // Throws std::invalid_argument when the text is not in the notation; the compiler refuses such a
  // text in a constant.
  constexpr explicit ArgumentList(std::string_view notation) {
    while (!notation.empty()) {
      const std::size_t end = notation.find(' ');
      add(notation.substr(0, end));
      if (end == std::string_view::npos) {
        break;
      }
      notation.remove_prefix(end + 1);
      if (notation.empty()) {
        refuse(notation);
      }
    }
    if (isOptionalOpen_ || isRepeatedOpen_) {
      refuse(notation);
    }
  }

  constexpr const Argument* begin() const { return arguments_.data(); }
  constexpr const Argument* end() const { return arguments_.data() + count_; }
  constexpr std::size_t size() const { return count_; }
  constexpr const Argument& operator[](std::size_t index) const { return arguments_[index]; }

  // Index of the first argument of [ ]; size() when there is none.
  constexpr std::size_t optionalFrom() const { return hasOptional_ ? optionalFrom_ : count_; }
  // Index of the first argument of ( )*; size() when there is none. The argument before it is the
  // count.
  constexpr std::size_t repeatedFrom() const { return hasRepeated_ ? repeatedFrom_ : count_; }

 private:
  [[noreturn]] static void refuse(std::string_view notation) {
    throw std::invalid_argument("not in the notation: '" + std::string(notation) + "'");
  }

  static constexpr bool removePrefix(std::string_view& text, std::string_view prefix) {
    const bool is = text.substr(0, prefix.size()) == prefix;
    text.remove_prefix(is ? prefix.size() : 0);
    return is;
  }

  static constexpr bool removeSuffix(std::string_view& text, std::string_view suffix) {
    const bool is =
        text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
    text.remove_suffix(is ? suffix.size() : 0);
    return is;
  }

  static constexpr Argument argumentOf(std::string_view word) {
    const std::size_t colon = word.find(':');
    if (colon == std::string_view::npos || colon == 0) {
      refuse(word);
    }
    Argument argument;
    argument.name = word.substr(0, colon);
    std::string_view code = word.substr(colon + 1);
    for (const ValueTypeRow& row : kValueTypes) {
      if (code == row.code) {
        argument.type = row.type;
        return argument;
      }
    }
    argument.type = ValueType::kBytes;
    argument.record = findRecord(code);
    if (argument.record) {
      argument.size =
          argument.record->blockSize() == BlockSize::kExact ? argument.record->size() : 0;
    } else {
      argument.size = removePrefix(code, codeOf(ValueType::kBytes)) ? sizeOf(code) : 0;
      if (argument.size == 0) {
        refuse(word);
      }
    }
    return argument;
  }

  // 0 when the digits are none.
  static constexpr std::size_t sizeOf(std::string_view digits) {
    constexpr std::size_t kBase = 10;
    constexpr std::size_t kMostDigits = 9;
    std::size_t size = 0;
    for (const char digit : digits) {
      if (digit < '0' || digit > '9' || digits.size() > kMostDigits) {
        return 0;
      }
      size = size * kBase + static_cast<std::size_t>(digit - '0');
    }
    return size;
  }

  constexpr void add(std::string_view word) {
    const bool isEnded = (hasOptional_ && !isOptionalOpen_) || (hasRepeated_ && !isRepeatedOpen_);
    if (isEnded || count_ == arguments_.size()) {
      refuse(word);
    }
    if (!hasOptional_ && !hasRepeated_ && removePrefix(word, "[")) {
      hasOptional_ = isOptionalOpen_ = true;
      optionalFrom_ = count_;
    }
    if (!hasRepeated_ && removePrefix(word, "(")) {
      const bool hasCount = count_ > 0 && arguments_[count_ - 1].type == ValueType::kInt32;
      if (!hasCount || (hasOptional_ && count_ == optionalFrom_)) {
        refuse(word);
      }
      hasRepeated_ = isRepeatedOpen_ = true;
      repeatedFrom_ = count_;
    }
    if (isOptionalOpen_ && removeSuffix(word, "]")) {
      isOptionalOpen_ = false;
    }
    if (isRepeatedOpen_ && removeSuffix(word, ")*")) {
      isRepeatedOpen_ = false;
    }
    arguments_[count_] = argumentOf(word);
    ++count_;
  }

  static constexpr std::size_t kMostArguments = 8;
  std::array<Argument, kMostArguments> arguments_ = {};
  std::size_t count_ = 0;
  std::size_t optionalFrom_ = 0;
  std::size_t repeatedFrom_ = 0;
  bool hasOptional_ = false;
  bool hasRepeated_ = false;
  bool isOptionalOpen_ = false;
  bool isRepeatedOpen_ = false;
};

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_NOTATION_H
