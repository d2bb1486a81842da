// Conversions between text and numbers, hexadecimal digits, counts and lists of names.

#ifndef BASE_TEXT_H
#define BASE_TEXT_H

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace base {

// The number in a text that consists of decimal digits.
//
// returns    nullopt: the text has another character, or the number is larger than most
std::optional<unsigned long long> parseDecimal(std::string_view text, unsigned long long most);

// The same, or a hexadecimal number when the text begins with 0x.
std::optional<unsigned long long> parseNumber(std::string_view text, unsigned long long most);

template <typename Unsigned>
std::optional<Unsigned> parseDecimalAs(std::string_view text) {
  static_assert(std::is_unsigned_v<Unsigned>, "negative numbers are not parsed");
  const auto number = parseDecimal(text, std::numeric_limits<Unsigned>::max());
  return number ? std::optional(static_cast<Unsigned>(*number)) : std::nullopt;
}

// Two lower-case digits for each byte: "0aff".
std::string hexOf(std::string_view bytes);
void appendHex(std::string* text, unsigned char byte);
// The bytes of a text that consists of pairs of digits, in either case; nullopt for other texts.
std::optional<std::string> parseHex(std::string_view digits);

// "1 frame", "2 frames".
std::string counted(std::size_t count, std::string_view noun);

// Whether one of the texts is this one.
bool contains(const std::vector<std::string>& texts, const std::string& text);

// "camera, tablet, printer".
std::string joined(const std::vector<std::string>& names, std::string_view separator = ", ");

// "win11" in quotation marks.
std::string quoted(std::string_view text);

}  // namespace base

#endif  // BASE_TEXT_H
