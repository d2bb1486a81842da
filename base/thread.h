// Threads that receive no signals.
//
// Header-only, because headers of clients use it.

#ifndef BASE_THREAD_H
#define BASE_THREAD_H

#include <csignal>
#include <cstddef>
#include <functional>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>

#include "base/result.h"

namespace base {
namespace internal {

inline void nameThisThread(const char* name) {
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

}  // namespace internal

// Starts a thread with every signal blocked, so that a signal of the process reaches the thread
// that waits for it. Debuggers and `top` show the name, of which Linux keeps 15 characters.
//
// returns    the thread; a failure, never an exception, when the system cannot start one
inline Result<std::thread> startThread(const char* name, std::function<void()> task) {
  const internal::BlockedSignals blocked;
  try {
    return std::thread([name, task = std::move(task)] {
      internal::nameThisThread(name);
      task();
    });
  } catch (const std::system_error& error) {
    return Failed{"the system cannot start another thread: " + error.code().message()};
  } catch (const std::bad_alloc&) {
    // As short as a text that takes no memory.
    return Failed{"no memory"};
  }
}

}  // namespace base

#endif  // BASE_THREAD_H
