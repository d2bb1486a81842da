// Shows that something is still going on.

#ifndef VEL_APPS_LOCAL_VELCTL_ELAPSED_TIME_H
#define VEL_APPS_LOCAL_VELCTL_ELAPSED_TIME_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace velctl {

// While it lives and standard error is a terminal, that has a line such as
// "velctl: searching for printers, 3 s of at most 30", from the first second on. Ctrl-C ends the
// process, as ever, and leaves the line whole. One at a time.
class ElapsedTime {
 public:
  ElapsedTime(const std::string& what, std::chrono::seconds most);
  ~ElapsedTime();

  ElapsedTime(const ElapsedTime&) = delete;
  ElapsedTime& operator=(const ElapsedTime&) = delete;

  // Removes the line for now, so that something else can be written.
  void erase();

 private:
  void show();
  void eraseLocked();

  const std::string what_;
  const std::chrono::seconds most_;
  std::mutex mutex_;  // guards the rest
  std::condition_variable changed_;
  bool isOver_ = false;
  std::size_t shown_ = 0;  // columns
  std::thread thread_;
};

// Calls, and shows the elapsed time meanwhile.
template <typename Call>
auto withElapsedTime(const std::string& what, std::chrono::seconds most, Call call) {
  const ElapsedTime shown(what, most);
  return call();
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_ELAPSED_TIME_H
