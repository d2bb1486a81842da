// What a descriptor can show.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_TERMINAL_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_TERMINAL_H

#include <cstddef>
#include <optional>

namespace velctl {

// The default is a file or a pipe.
struct Terminal {
  std::optional<std::size_t> columns;  // nullopt: no terminal, or one that does not know
  bool hasColour = false;
};

// The environment decides, too: COLUMNS overrides the columns of a terminal; NO_COLOR that is not
// empty, and a TERM that is missing or "dumb", take its colour.
Terminal terminalAt(int descriptor);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_TERMINAL_H
