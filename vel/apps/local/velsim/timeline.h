// The time line of a scenario: control lines that run by themselves, each some time after the one
// before.
//
// THREADS   Lines run on the clock's thread. Any thread may call.

#ifndef VEL_APPS_LOCAL_VELSIM_TIMELINE_H
#define VEL_APPS_LOCAL_VELSIM_TIMELINE_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/mutex.h"
#include "vel/apps/local/velsim/scenario/scenario.h"
#include "vel/apps/local/velsim/service/scheduler.h"

namespace velsim {

class Timeline {
 public:
  // run   runs a line and reports its outcome
  // The clock must be stopped before the time line ends.
  Timeline(std::vector<TimelineEntry> entries, Scheduler& clock,
           std::function<void(const std::string& line)> run);

  Timeline(const Timeline&) = delete;
  Timeline& operator=(const Timeline&) = delete;

  // The time of the first entry begins. Once.
  void start();

  std::size_t size() const { return entries_.size(); }
  // Number of the entries that have run.
  std::size_t done() const;

 private:
  void schedule(std::size_t index);

  const std::vector<TimelineEntry> entries_;
  Scheduler& clock_;
  const std::function<void(const std::string& line)> run_;
  mutable platform::Mutex mutex_;
  std::size_t done_ QX_GUARDED_BY(mutex_) = 0;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_TIMELINE_H
