#ifndef VEL_APPS_LOCAL_VELCTL_INTERRUPTION_H
#define VEL_APPS_LOCAL_VELCTL_INTERRUPTION_H

#include <csignal>
#include <functional>
#include <thread>

namespace velctl {

// Calls stop, on a thread of its own, on SIGINT or SIGTERM, or at its end. The signals are blocked
// in every thread, so that no call of the library is interrupted: construct it before the first
// call.
class Interruption {
 public:
  explicit Interruption(const std::function<void()>& stop) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    thread_ = std::thread([stop, signals] {
      int signal = 0;
      sigwait(&signals, &signal);
      stop();
    });
  }

  ~Interruption() {
    // The thread waits for it; it is blocked everywhere.
    pthread_kill(thread_.native_handle(), SIGTERM);  // NOLINT(bugprone-bad-signal-to-kill-thread)
    thread_.join();
  }

  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

 private:
  std::thread thread_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_INTERRUPTION_H
