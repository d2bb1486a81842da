// An attempt that several threads may need at once is made once.

#ifndef BUS_DBUS_SHARED_ATTEMPT_H
#define BUS_DBUS_SHARED_ATTEMPT_H

#include <exception>
#include <functional>
#include <future>

#include "bus/dbus/transport/loop.h"
#include "platform/mutex.h"

namespace qxbus {

// Result: false as a bool when the attempt has failed.
template <typename Result>
class SharedAttempt {
 public:
  // Makes the attempt, which takes no longer than the deadline; while another thread makes one,
  // waits for that and takes its result. A failure that came before its deadline may be older than
  // this call, and than the service that this call looks for: the thread shares in the next attempt
  // then, whose result is taken as it is.
  Result join(Clock::time_point deadline, const std::function<Result()>& attempt) {
    std::promise<Outcome> promise;
    platform::MutexLock lock(mutex_);
    if (running_.valid()) {
      const std::shared_future<Outcome> earlier = running_;
      lock.unlock();
      const Outcome& outcome = earlier.get();
      if (outcome.result || outcome.hasUsedItsTime) {
        return outcome.result;
      }
      lock.lock();
      if (running_.valid()) {
        const std::shared_future<Outcome> next = running_;
        lock.unlock();
        const bool isInTime = next.wait_until(deadline) == std::future_status::ready;
        return isInTime ? next.get().result : outcome.result;
      }
    }
    running_ = promise.get_future().share();
    lock.unlock();
    End end(*this);
    try {
      Result result = attempt();
      // First, so that those who wait for the result do not find this attempt again.
      end.now();
      promise.set_value({result, Clock::now() >= deadline});
      return result;
    } catch (...) {
      // Out of memory, which is the outcome for those who wait, too.
      end.now();
      promise.set_exception(std::current_exception());
      throw;
    }
  }

 private:
  struct Outcome {
    Result result;
    bool hasUsedItsTime;
  };

  // Also after an exception, the next thread makes an attempt of its own.
  class End {
   public:
    explicit End(SharedAttempt& shared) : shared_(&shared) {}
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    // Once: the next attempt may have begun when the result finds no memory.
    void now() {
      if (shared_) {
        const platform::MutexLock lock(shared_->mutex_);
        shared_->running_ = {};
        shared_ = nullptr;
      }
    }

   private:
    SharedAttempt* shared_;
  };

  platform::Mutex mutex_;
  std::shared_future<Outcome> running_ QX_GUARDED_BY(mutex_);  // valid while an attempt is made
};

}  // namespace qxbus

#endif  // BUS_DBUS_SHARED_ATTEMPT_H
