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
  // Makes the attempt; while another thread makes one, waits for that and takes its success. Its
  // failure may be older than this call, and than the service that this call looks for: the thread
  // shares in the next attempt, if there is time for one, and takes the result of that as it is.
  Result join(Clock::time_point deadline, const std::function<Result()>& attempt) {
    std::promise<Result> promise;
    platform::MutexLock lock(mutex_);
    if (running_.valid()) {
      const std::shared_future<Result> earlier = running_;
      lock.unlock();
      Result result = earlier.get();
      if (result || Clock::now() >= deadline) {
        return result;
      }
      lock.lock();
      if (running_.valid()) {
        const std::shared_future<Result> next = running_;
        lock.unlock();
        return next.wait_until(deadline) == std::future_status::ready ? next.get() : result;
      }
    }
    running_ = promise.get_future().share();
    lock.unlock();
    End end(*this);
    try {
      Result result = attempt();
      // First, so that those who wait for the result do not find this attempt again.
      end.now();
      promise.set_value(result);
      return result;
    } catch (...) {
      // Out of memory, which is the outcome for those who wait, too.
      end.now();
      promise.set_exception(std::current_exception());
      throw;
    }
  }

 private:
  // Also after an exception, the next thread makes an attempt of its own.
  class End {
   public:
    explicit End(SharedAttempt& shared) : shared_(&shared) {}
    ~End() { now(); }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    // Once.
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
  std::shared_future<Result> running_ QX_GUARDED_BY(mutex_);  // valid while an attempt is made
};

}  // namespace qxbus

#endif  // BUS_DBUS_SHARED_ATTEMPT_H
