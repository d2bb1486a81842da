#include "vel/apps/local/velctl/text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace velctl {
namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr char kReplacement[] = "\xEF\xBF\xBD";

// A character at the beginning of a text. One that cannot be shown has the length of the bytes
// that make it up, at least 1.
struct Character {
  std::size_t length;
  bool isShown;
};

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

Character first(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) {
    return {1, lead >= 0x20 && lead != 0x7F};
  }
  std::size_t length = 0;
  std::uint32_t code = 0;
  std::uint32_t least = 0;  // what needs this length
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    code = lead & 0x1F;
    least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    code = lead & 0x0F;
    least = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    code = lead & 0x07;
    least = 0x10000;
  }
  if (length == 0 || text.size() < length) {
    return {1, false};
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (!isContinuation(text[i])) {
      return {1, false};
    }
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  }
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < least || code > 0x10FFFF || isSurrogate) {
    return {1, false};
  }
  // U+0080 to U+009F are control characters too; U+2028 and U+2029 end a line; U+202A to U+202E
  // and U+2066 to U+2069 turn the direction of what follows.
  const bool isControl =
      code < 0xA0 || (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return {length, !isControl};
}

void appendByte(std::string* to, char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  *to += kDigits[value >> 4];
  *to += kDigits[value & 0x0F];
}

// Calls show for each character that can be shown, and hide for each that cannot.
template <typename Show, typename Hide>
void forEachCharacter(std::string_view text, Show show, Hide hide) {
  while (!text.empty()) {
    const Character character = first(text);
    const std::string_view bytes = text.substr(0, character.length);
    if (character.isShown) {
      show(bytes);
    } else {
      hide(bytes);
    }
    text.remove_prefix(character.length);
  }
}

std::string escaped(std::string_view text, std::string_view kept) {
  std::string shown;
  forEachCharacter(
      text, [&](std::string_view bytes) { shown += bytes; },
      [&](std::string_view bytes) {
        if (kept.find(bytes[0]) != std::string_view::npos) {
          shown += bytes;
          return;
        }
        for (const char byte : bytes) {
          shown += "\\x";
          appendByte(&shown, byte);
        }
      });
  return shown;
}

// In characters, as far as each is one column wide.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

}  // namespace

std::string printable(std::string_view text) {
  return escaped(text, "");
}

std::string printableLines(std::string_view text) {
  if (!text.empty() && text.back() == '\n') {
    text.remove_suffix(1);
  }
  return escaped(text, "\n\t");
}

Json jsonText(std::string_view text) {
  std::string kept;
  forEachCharacter(
      text, [&](std::string_view bytes) { kept += bytes; },
      [&](std::string_view bytes) {
        // Those below are escaped in JSON.
        const bool isAscii = static_cast<unsigned char>(bytes[0]) < 0x20;
        kept += isAscii ? bytes : std::string_view(kReplacement);
      });
  return kept;
}

std::string inQuotes(std::string_view text) {
  return '"' + printable(text) + '"';
}

std::string hex(std::string_view bytes) {
  std::string digits;
  for (const char byte : bytes) {
    appendByte(&digits, byte);
  }
  return digits;
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
      appendByte(&digits, byte);
      shown += byte >= 0x20 && byte < 0x7F ? byte : '.';
    }
    digits.resize(3 * kBytesPerLine, ' ');
    lines += lines.empty() ? "" : "\n";
    appendByte(&lines, static_cast<char>(offset >> 8));
    appendByte(&lines, static_cast<char>(offset & 0xFF));
    lines.append(" ").append(digits).append("  |").append(shown).append("|");
  }
  return lines;
}

std::string Table::text() const {
  std::vector<std::size_t> widths;
  for (const Row& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], width(row[column]));
    }
  }
  std::string text;
  for (const Row& row : rows_) {
    text += text.empty() ? "" : "\n";
    for (std::size_t column = 0; column < row.size(); ++column) {
      const bool isLast = column + 1 == row.size();
      text += row[column];
      text += isLast ? "" : std::string(widths[column] + 2 - width(row[column]), ' ');
    }
  }
  return text;
}

}  // namespace velctl
