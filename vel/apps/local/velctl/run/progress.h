// The progress line of a command that takes long.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_PROGRESS_H
#define VEL_APPS_LOCAL_VELCTL_RUN_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace velctl {

// A line such as "velctl: searching for printers, 3 s of at most 30" on the terminal, from the
// first second on. Nothing is shown when standard error is no terminal.
//
// THREADS   One.
class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  // limit 0: there is none. Without an activity nothing is shown.
  Progress(std::string activity, std::chrono::seconds limit, bool isQuiet);
  ~Progress() { erase(); }

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // When the line changes next; nullopt: nothing is shown.
  std::optional<Clock::time_point> nextChange() const;
  // Shows the line if it is time.
  void update();
  // Removes the line until the next second, so that a line of data can be written.
  void erase();

 private:
  const std::string activity_;
  const std::chrono::seconds limit_;
  const bool isShown_;
  const Clock::time_point start_ = Clock::now();
  std::chrono::seconds elapsed_{0};
  std::size_t shownColumns_ = 0;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_PROGRESS_H
