// Texts and bytes from the service, in forms for people and for JSON.

#ifndef VEL_APPS_LOCAL_VELCTL_DISPLAY_H
#define VEL_APPS_LOCAL_VELCTL_DISPLAY_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vel/apps/local/velctl/output.h"

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

// Rows, under headings if there are any, in columns as wide as their cells. The cells are printable
// already.
class Table {
 public:
  using Row = std::vector<std::string>;

  Table() = default;
  explicit Table(Row headings) : rows_{std::move(headings)} {}

  void add(Row row) { rows_.push_back(std::move(row)); }
  // Without a newline at the end.
  std::string text() const;

 private:
  std::vector<Row> rows_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_DISPLAY_H
