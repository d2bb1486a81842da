// SIGINT and SIGTERM as the end of the program.

#ifndef VEL_APPS_LOCAL_VELSIM_STOP_SIGNALS_H
#define VEL_APPS_LOCAL_VELSIM_STOP_SIGNALS_H

#include <csignal>

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

  // Ends the wait from another thread.
  static void raise() { ::kill(::getpid(), SIGTERM); }

 private:
  sigset_t signals_ = {};
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_STOP_SIGNALS_H
