#include "vel/apps/local/velctl/run/session.h"

namespace velctl {

Session::Session(const Output& output, std::optional<std::chrono::milliseconds> timeout)
    : output_(output),
      timeout_(timeout),
      deadline_(timeout ? Clock::now() + *timeout : Clock::time_point::max()),
      interruption_([this] { stop(); }) {}

Session::StopListener::StopListener(Session& session, std::function<void()> onStop)
    : session_(session) {
  const platform::MutexLock lock(session_.mutex_);
  if (session_.isStopped_) {
    onStop();
  }
  entry_ = session_.listeners_.insert(session_.listeners_.end(), std::move(onStop));
}

Session::StopListener::~StopListener() {
  const platform::MutexLock lock(session_.mutex_);
  session_.listeners_.erase(entry_);
}

void Session::stop() {
  const platform::MutexLock lock(mutex_);
  isStopped_ = true;
  for (const auto& onStop : listeners_) {
    onStop();
  }
}

void Session::throwIfStopped() const {
  {
    const platform::MutexLock lock(mutex_);
    if (isStopped_) {
      throw Interrupted();
    }
  }
  if (Clock::now() >= deadline_) {
    throw TimeOver();
  }
}

Session::Clock::time_point Session::wakeTime(const Progress& progress,
                                             Clock::time_point until) const {
  return std::min({until, deadline_, progress.nextChange().value_or(Clock::time_point::max())});
}

}  // namespace velctl
