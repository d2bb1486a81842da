#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace base {
namespace {

constexpr int kDecimal = 10;
constexpr int kHexadecimal = 16;
constexpr std::string_view kHexadecimalPrefix = "0x";

std::optional<unsigned long long> parse(std::string_view text, int radix, unsigned long long most) {
  unsigned long long number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, radix);
  if (error != std::errc() || stop != end || number > most) {
    return std::nullopt;
  }
  return number;
}

}  // namespace

std::optional<unsigned long long> parseDecimal(std::string_view text, unsigned long long most) {
  return parse(text, kDecimal, most);
}

std::optional<unsigned long long> parseNumber(std::string_view text, unsigned long long most) {
  if (text.substr(0, kHexadecimalPrefix.size()) == kHexadecimalPrefix) {
    return parse(text.substr(kHexadecimalPrefix.size()), kHexadecimal, most);
  }
  return parse(text, kDecimal, most);
}

void appendHex(std::string* text, unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  *text += kDigits[byte >> 4];
  *text += kDigits[byte & 0x0F];
}

std::string hexOf(std::string_view bytes) {
  std::string digits;
  digits.reserve(2 * bytes.size());
  for (const char byte : bytes) {
    appendHex(&digits, static_cast<unsigned char>(byte));
  }
  return digits;
}

std::optional<std::string> parseHex(std::string_view digits) {
  if (digits.size() % 2 != 0) {
    return std::nullopt;
  }
  std::string bytes;
  for (; !digits.empty(); digits.remove_prefix(2)) {
    const auto byte = parse(digits.substr(0, 2), kHexadecimal, 0xFF);
    if (!byte) {
      return std::nullopt;
    }
    bytes += static_cast<char>(static_cast<unsigned char>(*byte));
  }
  return bytes;
}

std::string counted(std::size_t count, std::string_view noun) {
  std::string text = std::to_string(count) + ' ';
  text += noun;
  return count == 1 ? text : text + 's';
}

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::string joined(const std::vector<std::string>& names, std::string_view separator) {
  std::string text;
  for (const std::string& name : names) {
    if (&name != &names.front()) {
      text += separator;
    }
    text += name;
  }
  return text;
}

std::string quoted(std::string_view text) {
  std::string quotation = "\"";
  quotation += text;
  return quotation + '"';
}

}  // namespace base
