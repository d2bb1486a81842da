// Threads that receive no signals.

#ifndef BASE_THREAD_H
#define BASE_THREAD_H

#include <functional>
#include <thread>

#include "base/result.h"

namespace base {

// Starts a thread with every signal blocked, so that a signal of the process reaches the thread
// that waits for it. Debuggers and `top` show the name, of which Linux keeps 15 characters.
//
// returns    the thread; a failure, never an exception, when the system cannot start one
Result<std::thread> startThread(const char* name, std::function<void()> task);

}  // namespace base

#endif  // BASE_THREAD_H
