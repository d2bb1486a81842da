#include "vel/apps/local/velctl/run/session.h"

#include "vel/apps/local/velctl/failure.h"

namespace velctl {

Session::Session(const Output& output, std::optional<std::chrono::milliseconds> timeout)
    : output_(output),
      timeout_(timeout),
      deadline_(timeout ? Clock::now() + *timeout : Clock::time_point::max()),
      interruption_([this] { stop(Stop::kInterrupted); }) {}

Session::StopListener::StopListener(Session& session, std::function<void()> onStop)
    : session_(session), entry_(session.addListener(std::move(onStop))) {}

Session::StopListener::~StopListener() {
  session_.removeListener(entry_);
}

Session::Listeners::iterator Session::addListener(std::function<void()> onStop) {
  const platform::MutexLock lock(mutex_);
  if (stopped_ != Stop::kNone) {
    onStop();
  }
  return listeners_.insert(listeners_.end(), std::move(onStop));
}

void Session::removeListener(Listeners::iterator entry) {
  const platform::MutexLock lock(mutex_);
  listeners_.erase(entry);
}

vel::Result<void> Session::awaitEnd(const Activity& activity, std::function<void()> function) {
  const auto call = [function = std::move(function)]() -> vel::Result<void> {
    function();
    return {};
  };
  const auto ends = std::make_shared<Inbox<Ended>>();
  const Background<void> background(
      vel::Task<void>(call, {}, [ends](const vel::Result<void>&) { ends->addAlways({}); }, {}));
  Progress progress(activity.text, activity.limit, output_.isQuiet());
  static_cast<void>(next(*ends, progress));
  return background.task().get();
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
