#include "vel/apps/local/velctl/run/session.h"

#include "vel/apps/local/velctl/failure.h"

namespace velctl {

Session::Session(const Output& output, std::optional<std::chrono::milliseconds> timeout)
    : output_(output),
      timeout_(timeout),
      deadline_(timeout ? Clock::now() + *timeout : Clock::time_point::max()),
      interruption_([this] { stop(Stop::kInterrupted); }) {}

Session::StopListener::StopListener(Session& session, std::function<void()> onStop)
    : session_(session) {
  const platform::MutexLock lock(session_.mutex_);
  if (session_.stopped_ != Stop::kNone) {
    onStop();
  }
  entry_ = session_.listeners_.insert(session_.listeners_.end(), std::move(onStop));
}

Session::StopListener::~StopListener() {
  const platform::MutexLock lock(session_.mutex_);
  session_.listeners_.erase(entry_);
}

void Session::stopWithOutput() {
  outputEnd_ =
      std::make_unique<OutputEnd>(output_.descriptor(), [this] { stop(Stop::kOutputClosed); });
}

void Session::stop(Stop reason) {
  const platform::MutexLock lock(mutex_);
  // A request to stop counts more than the end of the output, which it may bring.
  stopped_ = stopped_ == Stop::kInterrupted ? stopped_ : reason;
  for (const auto& onStop : listeners_) {
    onStop();
  }
}

void Session::throwIfStopped() const {
  {
    const platform::MutexLock lock(mutex_);
    if (stopped_ == Stop::kInterrupted) {
      throw Interrupted();
    }
    if (stopped_ == Stop::kOutputClosed) {
      throw OutputClosed();
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
