#include "vel/apps/local/velctl/display.h"

#include <algorithm>
#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "base/utf8.h"

namespace velctl {
namespace {

constexpr std::size_t kBytesPerLine = 16;

// In columns, as far as each character has one.
std::size_t widthOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    text.remove_prefix(base::firstCharacter(text).length);
    ++columns;
  }
  return columns;
}

}  // namespace

std::string printableLines(std::string_view text) {
  if (!text.empty() && text.back() == '\n') {
    text.remove_suffix(1);
  }
  return base::printable(text, "\n\t");
}

std::string printableInQuotes(std::string_view text) {
  return base::quoted(base::printable(text));
}

Json jsonText(std::string_view text) {
  return base::replacedUtf8(std::string(text));
}

std::string hexDump(std::string_view bytes) {
  std::string lines;
  std::string_view before;
  bool isRepeating = false;
  for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
    const std::string_view line = bytes.substr(offset, kBytesPerLine);
    // The last one shows where the bytes end.
    const bool isLast = offset + kBytesPerLine >= bytes.size();
    const bool wasRepeating = std::exchange(isRepeating, line == before && !isLast);
    before = line;
    if (isRepeating) {
      lines += wasRepeating ? "" : "\n*";
      continue;
    }
    std::string digits;
    std::string shown;
    for (const char byte : line) {
      digits += ' ';
      base::appendHex(&digits, static_cast<unsigned char>(byte));
      shown += byte >= 0x20 && byte < 0x7F ? byte : '.';
    }
    digits.resize(3 * kBytesPerLine, ' ');
    lines += lines.empty() ? "" : "\n";
    base::appendHex(&lines, static_cast<unsigned char>(offset >> 8));
    base::appendHex(&lines, static_cast<unsigned char>(offset & 0xFF));
    lines.append(" ").append(digits).append("  |").append(shown).append("|");
  }
  return lines;
}

std::string Table::text() const {
  std::vector<std::size_t> widths;
  for (const Row& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], widthOf(row[column]));
    }
  }
  std::string text;
  for (const Row& row : rows_) {
    text += text.empty() ? "" : "\n";
    for (std::size_t column = 0; column < row.size(); ++column) {
      const bool isLast = column + 1 == row.size();
      text += row[column];
      text += isLast ? "" : std::string(widths[column] + 2 - widthOf(row[column]), ' ');
    }
  }
  return text;
}

}  // namespace velctl
