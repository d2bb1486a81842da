#include "vel/apps/local/velsim/presence.h"

#include <stdexcept>
#include <utility>

namespace velsim {

Presence::Presence(Simulator& simulator, std::function<std::unique_ptr<BusService>()> serve)
    : simulator_(simulator), serve_(std::move(serve)) {}

Presence::~Presence() {
  const base::Result<void> left = leave();
  platform::MutexLock lock(mutex_);
  // A handler may be leaving at this moment.
  while (!left && state_ != State::kAway) {
    changed_.wait(lock);
  }
}

base::Result<std::string> Presence::arrive() {
  {
    const platform::MutexLock lock(mutex_);
    if (state_ != State::kAway) {
      return base::Failed{"the service is on the bus, or on its way"};
    }
    state_ = State::kArriving;
  }
  std::unique_ptr<BusService> service;
  std::string reason;
  try {
    service = serve_();
  } catch (const std::runtime_error& error) {
    reason = error.what();
  }
  const platform::MutexLock lock(mutex_);
  state_ = service ? State::kHere : State::kAway;
  changed_.notifyAll();
  service_ = std::move(service);
  return service_ ? base::Result<std::string>(service_->place()) : base::Failed{reason};
}

base::Result<void> Presence::leave() {
  std::unique_ptr<BusService> leaving;
  {
    const platform::MutexLock lock(mutex_);
    if (state_ != State::kHere) {
      return base::Failed{"the service is away from the bus, or on its way"};
    }
    state_ = State::kLeaving;
    leaving = std::move(service_);
  }
  // Waits for a running handler, which may call here.
  leaving.reset();
  simulator_.setEventSink([](const BusEvent&) {});
  const platform::MutexLock lock(mutex_);
  state_ = State::kAway;
  changed_.notifyAll();
  return {};
}

}  // namespace velsim
