#include "vel/apps/local/velctl/output/terminal.h"

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "base/text.h"

namespace velctl {
namespace {

constexpr unsigned long long kMostColumns = 10000;

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

std::optional<std::size_t> columnsAt(int descriptor) {
  const auto given = base::parseDecimal(variable("COLUMNS"), kMostColumns);
  if (given && *given > 0) {
    return static_cast<std::size_t>(*given);
  }
// POSIX has named another call since 2024, which few systems have.
#ifdef TIOCGWINSZ
  winsize size = {};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
#endif
  return std::nullopt;
}

}  // namespace

Terminal terminalAt(int descriptor) {
  if (::isatty(descriptor) == 0) {
    return {};
  }
  const std::string_view kind = variable("TERM");
  return {columnsAt(descriptor), variable("NO_COLOR").empty() && !kind.empty() && kind != "dumb"};
}

}  // namespace velctl
