// The progress line of a command that takes long.

#ifndef VEL_APPS_LOCAL_VELCTL_ELAPSED_TIME_H
#define VEL_APPS_LOCAL_VELCTL_ELAPSED_TIME_H

#include <chrono>
#include <string>
#include <thread>

#include "platform/mutex.h"

namespace velctl {

// While it lives and standard error is a terminal, the terminal shows a line such as
// "velctl: searching for printers, 3 s of at most 30", from the first second on. Ctrl-C ends the
// process as usual, and ends the line first. Construct one at a time.
class ElapsedTime {
 public:
  ElapsedTime(const std::string& activity, std::chrono::seconds limit);
  ~ElapsedTime();

  ElapsedTime(const ElapsedTime&) = delete;
  ElapsedTime& operator=(const ElapsedTime&) = delete;

  // Removes the line until the next second, so that a line of data can be written.
  void erase() QX_EXCLUDES(mutex_);

 private:
  void run() QX_EXCLUDES(mutex_);
  void show(std::chrono::seconds elapsed) QX_REQUIRES(mutex_);
  void eraseLocked() QX_REQUIRES(mutex_);

  const std::string activity_;
  const std::chrono::seconds limit_;
  platform::Mutex mutex_;
  platform::Condition changed_;
  bool isOver_ QX_GUARDED_BY(mutex_) = false;
  std::size_t shownColumns_ QX_GUARDED_BY(mutex_) = 0;
  std::thread thread_;
};

// Calls a function and shows the elapsed time meanwhile.
template <typename Function>
auto withElapsedTime(const std::string& activity, std::chrono::seconds limit, Function function) {
  const ElapsedTime shown(activity, limit);
  return function();
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_ELAPSED_TIME_H
