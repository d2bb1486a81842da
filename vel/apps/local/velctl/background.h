// A call of the library beside the main thread.

#ifndef VEL_APPS_LOCAL_VELCTL_BACKGROUND_H
#define VEL_APPS_LOCAL_VELCTL_BACKGROUND_H

#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "base/thread.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {

// Runs a function on a thread of its own. The thread may outlive this object, so that an abandoned
// call does not delay the end of the program; the function must own everything it uses.
template <typename Result>
class Background {
 public:
  // onEnd runs on that thread, after the function. Throws Failure when the thread cannot start.
  Background(const char* name, std::function<Result()> function, std::function<void()> onEnd) {
    const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(function));
    result_ = task->get_future();
    base::Result<std::thread> thread = base::startThread(name, [task, onEnd = std::move(onEnd)] {
      (*task)();
      onEnd();
    });
    if (!thread) {
      throw Failure(kExitFailed, thread.reason());
    }
    thread->detach();
  }

  // Waits for the result, or throws the function's exception. Call it once.
  Result get() { return result_.get(); }

 private:
  std::future<Result> result_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_BACKGROUND_H
