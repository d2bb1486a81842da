// What must happen although the system has no memory at the moment.
//
// Header-only, because the library uses it.

#ifndef BASE_MEMORY_H
#define BASE_MEMORY_H

#include <chrono>
#include <new>
#include <thread>

namespace base {

// Runs an action, and again after a moment for as long as it ends in std::bad_alloc. The action
// must bear to be repeated after a part of it. For threads that may wait.
template <typename Action>
auto onceThereIsMemory(const Action& action) {
  constexpr std::chrono::milliseconds kRetry{2};
  for (;;) {
    try {
      return action();
    } catch (const std::bad_alloc&) {
      std::this_thread::sleep_for(kRetry);
    }
  }
}

}  // namespace base

#endif  // BASE_MEMORY_H
