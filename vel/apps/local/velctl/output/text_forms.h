// Texts and bytes from the service, in forms for people and for JSON.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_TEXT_FORMS_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_TEXT_FORMS_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "vel/apps/local/velctl/output/json.h"

namespace velctl {

// A text of several lines for a terminal: newlines and tabs stay, other unprintable characters are
// escaped. One newline at the end is removed, because data is written in lines.
std::string printableLines(std::string_view text);

// "text", printable.
std::string printableInQuotes(std::string_view text);

// The text for JSON, with U+FFFD in place of each byte that is not UTF-8.
Json jsonText(std::string_view text);

// Bytes as characters.
template <std::size_t size>
std::string_view textOf(const std::array<unsigned char, size>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), size};
}

// Lines of 16 bytes: offset, digits, and the printable ones as characters. A * stands for lines
// like the one before it.
std::string hexDump(std::string_view bytes);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_TEXT_FORMS_H
