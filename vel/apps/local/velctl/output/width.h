// Texts in columns of a terminal.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_WIDTH_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_WIDTH_H

#include <cstddef>
#include <string>
#include <string_view>

namespace velctl {

// The columns that a terminal needs for a printable text: 2 for a wide character of East Asia and
// for most emoji, 0 for a mark that joins the character before it. Terminals that join several
// emoji or jamo in another way differ.
std::size_t widthOf(std::string_view text);

// The text if it fits into so many columns, else its beginning with "…" behind it.
std::string cutToWidth(std::string_view text, std::size_t columns);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_WIDTH_H
