// Texts and bytes from the service, in forms that can be shown.

#ifndef VEL_APPS_LOCAL_VELCTL_TEXT_H
#define VEL_APPS_LOCAL_VELCTL_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "vel/apps/local/velctl/output.h"

namespace velctl {

// As a terminal can be given it: each byte of a control character, and each that is not UTF-8,
// becomes \x and two digits.
std::string printable(std::string_view text);

// The same for a text of several lines, which keeps its newlines and tabs. One newline at the end
// goes away: data is written in lines.
std::string printableLines(std::string_view text);

// The text itself, for JSON. What JSON leaves to the terminal as it is, control characters above
// ASCII and DEL, becomes U+FFFD, and so does what is not UTF-8.
Json jsonText(std::string_view text);

// "text", printable.
std::string inQuotes(std::string_view text);

// Two digits for each byte.
std::string hex(std::string_view bytes);

// Lines of 16 bytes: offset, digits, and what is printable. A * stands for lines like the one
// before it.
std::string hexDump(std::string_view bytes);

// Rows under headings, in columns of equal width. The cells are printable already.
class Table {
 public:
  using Row = std::vector<std::string>;

  explicit Table(Row headings) : rows_{std::move(headings)} {}

  void add(Row row) { rows_.push_back(std::move(row)); }
  // Without a newline at the end.
  std::string text() const;

 private:
  std::vector<Row> rows_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_TEXT_H
