#include "vel/apps/local/velctl/output/width.h"

#include <utf8proc.h>

#include "base/utf8.h"

namespace velctl {
namespace {

constexpr char kEllipsis[] = "\xE2\x80\xA6";

std::size_t widthOf(const base::Utf8Character& character) {
  if (!character.isValid) {
    return 1;
  }
  const auto code = static_cast<utf8proc_int32_t>(character.code);
  // Two differences to what most terminals do: the library gives these jamo a column, and marks
  // that stand beside a character none.
  const bool isJoiningJamo =
      (code >= 0x1160 && code <= 0x11FF) || (code >= 0xD7B0 && code <= 0xD7FB);
  if (isJoiningJamo) {
    return 0;
  }
  if (utf8proc_category(code) == UTF8PROC_CATEGORY_MC) {
    return 1;
  }
  return static_cast<std::size_t>(utf8proc_charwidth(code));
}

}  // namespace

std::size_t widthOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    columns += widthOf(character);
    text.remove_prefix(character.length);
  }
  return columns;
}

std::string cutToWidth(std::string_view text, std::size_t columns) {
  if (widthOf(text) <= columns) {
    return std::string(text);
  }
  if (columns == 0) {
    return "";
  }
  std::size_t length = 0;
  std::size_t width = 0;
  while (true) {
    const base::Utf8Character character = base::firstCharacter(text.substr(length));
    width += widthOf(character);
    // One column is for the ellipsis.
    if (width >= columns) {
      return std::string(text.substr(0, length)) + kEllipsis;
    }
    length += character.length;
  }
}

}  // namespace velctl
