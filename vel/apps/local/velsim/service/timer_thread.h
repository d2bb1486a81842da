// A scheduler in real time, with a thread of its own.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_TIMER_THREAD_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_TIMER_THREAD_H

#include <map>
#include <thread>

#include "platform/mutex.h"
#include "vel/apps/local/velsim/service/scheduler.h"

namespace velsim {

class TimerThread : public Scheduler {
 public:
  // Throws std::runtime_error when the system cannot start a thread.
  TimerThread();
  ~TimerThread() override;

  TimerThread(const TimerThread&) = delete;
  TimerThread& operator=(const TimerThread&) = delete;

  void after(std::chrono::milliseconds delay, std::function<void()> task) override;
  void stop() override;

 private:
  using Clock = platform::Condition::Clock;

  void run();

  platform::Mutex mutex_;
  platform::Condition changed_;
  std::multimap<Clock::time_point, std::function<void()>> tasks_ QX_GUARDED_BY(mutex_);
  bool isStopped_ QX_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_TIMER_THREAD_H
