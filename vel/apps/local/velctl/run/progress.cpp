#include "vel/apps/local/velctl/run/progress.h"

#include <cstdio>
#include <utility>

#include <unistd.h>

#include "vel/apps/local/velctl/output/terminal.h"
#include "vel/apps/local/velctl/output/width.h"

namespace velctl {

Progress::Progress(std::string activity, std::chrono::seconds limit, bool isQuiet)
    : activity_(std::move(activity)),
      limit_(limit),
      isShown_(!activity_.empty() && !isQuiet && ::isatty(STDERR_FILENO) == 1) {}

std::optional<Progress::Clock::time_point> Progress::nextChange() const {
  return isShown_ ? std::optional(start_ + elapsed_ + std::chrono::seconds(1)) : std::nullopt;
}

void Progress::update() {
  const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_);
  if (!isShown_ || elapsed <= elapsed_) {
    return;
  }
  elapsed_ = elapsed;
  erase();
  std::string line = "velctl: " + activity_ + ", " + std::to_string(elapsed_.count()) + " s";
  if (limit_.count() > 0) {
    line += " of at most " + std::to_string(limit_.count());
  }
  // A line that reaches the last column would begin another, which erase() does not find.
  const std::optional<std::size_t> columns = terminalAt(STDERR_FILENO).columns;
  if (columns) {
    line = cutToWidth(line, *columns - 1);
  }
  std::fputs(line.c_str(), stderr);
  shownColumns_ = widthOf(line);
}

void Progress::erase() {
  if (shownColumns_ > 0) {
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(shownColumns_), "");
    shownColumns_ = 0;
  }
}

}  // namespace velctl
