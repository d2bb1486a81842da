// Runs tasks later.
//
// THREADS   after() may be called from any thread, also from inside a task. Tasks run one at a
//           time, on no thread that is inside after().

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_SCHEDULER_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_SCHEDULER_H

#include <chrono>
#include <functional>

namespace velsim {

class Scheduler {
 public:
  virtual ~Scheduler() = default;

  // Tasks that are due at the same time run in the order of their calls.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> task) = 0;

  // Drops all tasks, also later ones, and waits for a running one. Not from inside a task.
  virtual void stop() = 0;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_SCHEDULER_H
