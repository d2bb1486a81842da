// Values of messages: what tests state without a bus.

#include <type_traits>

#include "tests/scripted_bus/scripted_bus.h"

namespace scripted {
namespace {

std::string quotedText(const std::string& text) {
  return "\"" + text + "\"";
}

}  // namespace

std::string show(const Argument& argument) {
  return std::visit(
      [](const auto& value) -> std::string {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, std::int16_t>) {
          return "int16 " + std::to_string(value);
        } else if constexpr (std::is_same_v<Value, std::int32_t>) {
          return "int32 " + std::to_string(value);
        } else if constexpr (std::is_same_v<Value, std::uint64_t>) {
          return "uint64 " + std::to_string(value);
        } else if constexpr (std::is_same_v<Value, std::int64_t>) {
          return "int64 " + std::to_string(value);
        } else if constexpr (std::is_same_v<Value, double>) {
          return "double " + std::to_string(value);
        } else if constexpr (std::is_same_v<Value, std::string>) {
          return "string " + quotedText(value);
        } else if constexpr (std::is_same_v<Value, CString>) {
          return "cstring " + quotedText(value.text);
        } else {
          constexpr char kDigits[] = "0123456789abcdef";
          std::string text = "bytes[" + std::to_string(value.size()) + "]";
          text += value.empty() ? "" : " ";
          for (const unsigned char byte : value) {
            text += kDigits[byte >> 4];
            text += kDigits[byte & 15];
          }
          return text;
        }
      },
      argument);
}

std::string show(const std::vector<Argument>& arguments) {
  std::string text;
  for (const Argument& argument : arguments) {
    text += (text.empty() ? "" : ", ") + show(argument);
  }
  return "(" + text + ")";
}

Bytes bytesOf(const void* data, std::size_t length) {
  const auto* const first = static_cast<const unsigned char*>(data);
  return length > 0 ? Bytes(first, first + length) : Bytes();
}

Bytes bytesOf(const std::string& text) {
  return bytesOf(text.data(), text.size());
}

Reply Reply::error(const std::string& text, int type) {
  return Reply().string(text).ofType(type);
}

Reply Reply::missing() {
  Reply none;
  none.isMissing = true;
  return none;
}

Reply& Reply::int16(std::int16_t value) {
  arguments.emplace_back(value);
  return *this;
}

Reply& Reply::int32(std::int32_t value) {
  arguments.emplace_back(value);
  return *this;
}

Reply& Reply::uint64(std::uint64_t value) {
  arguments.emplace_back(value);
  return *this;
}

Reply& Reply::string(const std::string& value) {
  arguments.emplace_back(value);
  return *this;
}

Reply& Reply::bytes(const Bytes& value) {
  arguments.emplace_back(value);
  return *this;
}

Reply& Reply::ofType(int given) {
  type = given;
  return *this;
}

std::string Reply::debugString() const {
  return "type " + std::to_string(type) + " " + show(arguments);
}

}  // namespace scripted
