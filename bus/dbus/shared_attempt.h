// An attempt that several threads may need at once is made once.

#ifndef BUS_DBUS_SHARED_ATTEMPT_H
#define BUS_DBUS_SHARED_ATTEMPT_H

#include <exception>
#include <functional>
#include <future>

#include "platform/mutex.h"

namespace qxbus {

template <typename Result>
class SharedAttempt {
 public:
  // Makes the attempt; while another thread makes one, waits for that and returns its result, be it
  // a failure.
  Result join(const std::function<Result()>& attempt) {
    std::promise<Result> promise;
    platform::MutexLock lock(mutex_);
    if (running_.valid()) {
      const std::shared_future<Result> running = running_;
      lock.unlock();
      return running.get();
    }
    running_ = promise.get_future().share();
    lock.unlock();
    const End end(*this);
    try {
      Result result = attempt();
      promise.set_value(result);
      return result;
    } catch (...) {
      // Out of memory, which is the outcome for those who wait, too.
      promise.set_exception(std::current_exception());
      throw;
    }
  }

 private:
  // Also after an exception, the next thread makes an attempt of its own.
  class End {
   public:
    explicit End(SharedAttempt& shared) : shared_(shared) {}
    ~End() {
      const platform::MutexLock lock(shared_.mutex_);
      shared_.running_ = {};
    }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

   private:
    SharedAttempt& shared_;
  };

  platform::Mutex mutex_;
  std::shared_future<Result> running_ QX_GUARDED_BY(mutex_);  // valid while an attempt is made
};

}  // namespace qxbus

#endif  // BUS_DBUS_SHARED_ATTEMPT_H
