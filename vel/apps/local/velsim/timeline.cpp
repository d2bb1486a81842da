#include "vel/apps/local/velsim/timeline.h"

#include <utility>

namespace velsim {

Timeline::Timeline(std::vector<TimelineEntry> entries, Scheduler& clock,
                   std::function<void(const std::string& line)> run)
    : entries_(std::move(entries)), clock_(clock), run_(std::move(run)) {}

void Timeline::start() {
  schedule(0);
}

std::size_t Timeline::done() const {
  const platform::MutexLock lock(mutex_);
  return done_;
}

void Timeline::schedule(std::size_t index) {
  if (index == entries_.size()) {
    return;
  }
  clock_.after(entries_[index].after, [this, index] {
    run_(entries_[index].line);
    {
      const platform::MutexLock lock(mutex_);
      done_ = index + 1;
    }
    schedule(index + 1);
  });
}

}  // namespace velsim
