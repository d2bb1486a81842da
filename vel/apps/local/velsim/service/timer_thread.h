// A scheduler with a thread of its own and the clock on the wall.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_TIMER_THREAD_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_TIMER_THREAD_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "vel/apps/local/velsim/service/scheduler.h"

namespace velsim {

class TimerThread : public Scheduler {
 public:
  TimerThread();
  ~TimerThread() override;

  TimerThread(const TimerThread&) = delete;
  TimerThread& operator=(const TimerThread&) = delete;

  void after(std::chrono::milliseconds delay, std::function<void()> task) override;
  void stop() override;

 private:
  using Clock = std::chrono::steady_clock;

  void run();

  std::mutex mutex_;  // guards the next three
  std::condition_variable changed_;
  std::multimap<Clock::time_point, std::function<void()>> tasks_;
  bool isStopped_ = false;
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_TIMER_THREAD_H
