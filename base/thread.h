// Threads that leave the process's signals alone.

#ifndef BASE_THREAD_H
#define BASE_THREAD_H

#include <functional>
#include <thread>

#include "base/result.h"

namespace base {

// Starts a thread that blocks every signal, so that a signal reaches the thread that waits for it,
// and that debuggers and `top` show under the name. Systems cut names: 15 characters on Linux.
//
// returns    the thread; a failure, never an exception, when the system cannot start one
Result<std::thread> startThread(const char* name, std::function<void()> task);

}  // namespace base

#endif  // BASE_THREAD_H
