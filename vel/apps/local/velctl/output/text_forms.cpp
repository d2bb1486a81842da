#include "vel/apps/local/velctl/output/text_forms.h"

#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "base/utf8.h"

namespace velctl {
namespace {

constexpr std::size_t kBytesPerLine = 16;

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

}  // namespace velctl
