// A scheduler whose time stands still until it is moved, so that nothing waits in real time.
//
// THREADS   Any thread may call, except from inside a task: after() only. Tasks run on the threads
//           that move the time.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_STEPPED_CLOCK_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_STEPPED_CLOCK_H

#include <map>

#include "platform/mutex.h"
#include "vel/apps/local/velsim/service/scheduler.h"

namespace velsim {

class SteppedClock : public Scheduler {
 public:
  void after(std::chrono::milliseconds delay, std::function<void()> task) override;
  void stop() override;

  // Runs the tasks that are due by then, in order.
  void advance(std::chrono::milliseconds time);
  // Moves the time to the next task, and runs it. False when there is none.
  bool runNext();

  std::chrono::milliseconds now() const;

 private:
  // Runs the first task, if it is due by then.
  bool runOne(std::chrono::milliseconds until);

  // Held while a task runs.
  platform::Mutex running_;
  mutable platform::Mutex mutex_;
  std::chrono::milliseconds now_ QX_GUARDED_BY(mutex_){0};
  std::multimap<std::chrono::milliseconds, std::function<void()>> tasks_ QX_GUARDED_BY(mutex_);
  bool isStopped_ QX_GUARDED_BY(mutex_) = false;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_STEPPED_CLOCK_H
