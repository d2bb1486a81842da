#include "vel/apps/local/velctl/numbers.h"

#include <charconv>
#include <system_error>
#include <utility>

namespace velctl {

std::optional<unsigned long long> readNumber(std::string_view text, unsigned long long most) {
  constexpr std::string_view kHexadecimal = "0x";
  int base = 10;
  if (text.substr(0, kHexadecimal.size()) == kHexadecimal) {
    base = 16;
    text.remove_prefix(kHexadecimal.size());
  }
  unsigned long long number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end || number > most) {
    return std::nullopt;
  }
  return number;
}

std::string notANumber(unsigned long long most) {
  return "must be a number from 0 to " + std::to_string(most) + ", decimal or 0x...";
}

ParserOption addNumber(const ParserCommand& command, const std::string& name,
                       unsigned long long most, const std::string& help,
                       std::function<void(unsigned long long)> take) {
  const auto read = [most, take = std::move(take)](const std::string& text) {
    const std::optional<unsigned long long> number = readNumber(text, most);
    if (!number) {
      return text + ": " + notANumber(most);
    }
    take(*number);
    return std::string();
  };
  return command.addOption(name, read, help).typeName("NUMBER");
}

}  // namespace velctl
