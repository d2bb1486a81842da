#include "vel/apps/local/velproxy/internal/lifetime.h"

#include <utility>

namespace qx {

Lifetime::Visit::Visit(std::shared_ptr<Lifetime> lifetime) : lifetime_(std::move(lifetime)) {
  const platform::MutexLock lock(lifetime_->mutex_);
  if (!lifetime_->hasEnded_) {
    lifetime_->visits_.append(*this);
    isListed_ = true;
  }
}

Lifetime::Visit::~Visit() {
  if (isListed_) {
    const platform::MutexLock lock(lifetime_->mutex_);
    lifetime_->visits_.remove(*this);
    lifetime_->changed_.notifyAll();
  }
}

void Lifetime::end() {
  platform::MutexLock lock(mutex_);
  hasEnded_ = true;
  changed_.notifyAll();
  // Before the wait: another visitor may be waiting for such a lock.
  releaseLocksOfThisThread();
  while (hasOtherVisitors()) {
    changed_.wait(lock);
  }
}

bool Lifetime::hasEnded() {
  const platform::MutexLock lock(mutex_);
  return hasEnded_;
}

void Lifetime::waitForEnd(std::chrono::seconds duration) {
  const auto deadline = platform::Condition::Clock::now() + duration;
  platform::MutexLock lock(mutex_);
  while (!hasEnded_ && changed_.waitUntil(lock, deadline)) {
  }
}

bool Lifetime::hasOtherVisitors() {
  for (const Visit* visit = visits_.first(); visit; visit = visits_.behind(*visit)) {
    if (!isOfThisThread(visit)) {
      return true;
    }
  }
  return false;
}

bool Lifetime::isOfThisThread(const Visit* visit) {
  return visit->thread_ == std::this_thread::get_id();
}

// The analysis cannot follow a lock that another function has constructed.
void Lifetime::releaseLocksOfThisThread() QX_NO_THREAD_SAFETY_ANALYSIS {
  for (Visit* visit = visits_.first(); visit; visit = visits_.behind(*visit)) {
    if (isOfThisThread(visit) && visit->lock_) {
      std::exchange(visit->lock_, nullptr)->unlock();
    }
  }
}

}  // namespace qx
