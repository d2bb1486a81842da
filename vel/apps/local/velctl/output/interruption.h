// SIGINT and SIGTERM as requests to stop.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_INTERRUPTION_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_INTERRUPTION_H

#include <csignal>
#include <functional>
#include <string_view>
#include <thread>

#include <pthread.h>

#include "platform/mutex.h"

namespace velctl {

// Thrown where a request to stop ends a wait.
class Interrupted {};

// While it lives, the first SIGINT or SIGTERM asks the program to stop instead of ending it. The
// next one ends it as usual. A signal that the process was started to ignore stays ignored.
//
// The signals are blocked in the thread that constructs it, so no call of the library is
// interrupted; other threads block all signals anyway. Construct one at a time.
class Interruption {
 public:
  // onStop runs once, on a thread of its own. Throws Failure when there is no thread.
  explicit Interruption(std::function<void()> onStop);
  ~Interruption();

  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

 private:
  void run();
  // Whether another signal has come.
  bool isStopPending() const;

  const std::function<void()> onStop_;
  const pthread_t owner_;
  sigset_t stopSignals_ = {};  // without those that are ignored
  sigset_t maskBefore_ = {};
  struct sigaction wakeUpBefore_ = {};
  platform::Mutex mutex_;
  platform::Condition changed_;
  bool isOver_ QX_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

// Writes everything. Throws Interrupted when it has to wait after a request to stop.
//
// returns    0, or errno
int writeInterruptibly(int descriptor, std::string_view data);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_INTERRUPTION_H
