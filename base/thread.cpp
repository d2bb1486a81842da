#include "base/thread.h"

#include <csignal>
#include <system_error>
#include <utility>

#include <pthread.h>

namespace base {
namespace {

void nameThisThread(const char* name) {
#if defined(__APPLE__)
  pthread_setname_np(name);
#elif defined(__GLIBC__)
  // glibc refuses a longer name.
  char cut[16] = {};
  for (std::size_t i = 0; i + 1 < sizeof cut && name[i] != '\0'; ++i) {
    cut[i] = name[i];
  }
  pthread_setname_np(pthread_self(), cut);
#else
  static_cast<void>(name);
#endif
}

// Blocks every signal in its scope. A thread that starts there inherits the mask.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_ = {};
};

}  // namespace

Result<std::thread> startThread(const char* name, std::function<void()> task) {
  const BlockedSignals blocked;
  try {
    return std::thread([name, task = std::move(task)] {
      nameThisThread(name);
      task();
    });
  } catch (const std::system_error& error) {
    return Failed{"the system cannot start another thread: " + error.code().message()};
  }
}

}  // namespace base
