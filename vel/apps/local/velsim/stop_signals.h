// SIGINT and SIGTERM as the end of the program.

#ifndef VEL_APPS_LOCAL_VELSIM_STOP_SIGNALS_H
#define VEL_APPS_LOCAL_VELSIM_STOP_SIGNALS_H

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include <unistd.h>

namespace velsim {

// Blocks SIGINT and SIGTERM, here and in every thread that starts later.
class StopSignals {
 public:
  StopSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  }

  void wait() const {
    int signal = 0;
    sigwait(&signals_, &signal);
  }

  // Whether one comes before the time is over. (Not every system has sigtimedwait.)
  bool comeWithin(std::chrono::milliseconds time) const {
    constexpr std::chrono::milliseconds kStep{10};
    const auto end = std::chrono::steady_clock::now() + time;
    for (;;) {
      sigset_t pending = {};
      sigpending(&pending);
      if (sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1) {
        return true;
      }
      const auto left = end - std::chrono::steady_clock::now();
      if (left <= left.zero()) {
        return false;
      }
      std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(left, kStep));
    }
  }

  // Ends the wait from another thread.
  static void raise() { ::kill(::getpid(), SIGTERM); }

 private:
  sigset_t signals_ = {};
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_STOP_SIGNALS_H
