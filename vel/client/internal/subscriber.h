// A callback with its executor, and whether it may still run.

#ifndef VEL_CLIENT_INTERNAL_SUBSCRIBER_H
#define VEL_CLIENT_INTERNAL_SUBSCRIBER_H

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include "platform/mutex.h"
#include "vel/client/error.h"
#include "vel/client/executor.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// How many deliveries and callbacks run on this thread, one inside the other.
inline thread_local std::size_t callbackDepth = 0;

// Marks this thread as being inside a callback.
class InsideCallback {
 public:
  InsideCallback() { ++callbackDepth; }
  ~InsideCallback() { --callbackDepth; }
  InsideCallback(const InsideCallback&) = delete;
  InsideCallback& operator=(const InsideCallback&) = delete;
};

class SubscriberBase {
 public:
  SubscriberBase(const SubscriberBase&) = delete;
  SubscriberBase& operator=(const SubscriberBase&) = delete;

  // The callback never begins again.
  void stop() {
    std::function<Result<void>()> stopped;
    {
      const platform::MutexLock lock(mutex_);
      isActive_ = false;
      stopped = std::exchange(stopped_, nullptr);
    }
    if (stopped) {
      const Result<void> outcome = stopped();
      const platform::MutexLock lock(mutex_);
      outcome_ = outcome;
    }
  }

  // The same, and waits for a callback that runs. Returns whether none runs.
  bool end() {
    stop();
    // What the callback has captured ends here, outside the lock.
    std::shared_ptr<const void> dropped;
    platform::MutexLock lock(mutex_);
    if (callbackDepth == 0) {
      while (running_ != 0) {
        idle_.wait(lock);
      }
    }
    if (running_ == 0) {
      dropped = std::exchange(callback_, nullptr);
    }
    return running_ == 0;
  }

  bool isActive() const {
    const platform::MutexLock lock(mutex_);
    return isActive_;
  }

  // What the function of whenStopped() has returned; success before.
  Result<void> outcome() const {
    const platform::MutexLock lock(mutex_);
    return outcome_;
  }

  // Before the first event. stopped is called once, when the callback has been stopped.
  void whenStopped(std::function<Result<void>()> stopped) {
    const platform::MutexLock lock(mutex_);
    stopped_ = std::move(stopped);
  }

 protected:
  explicit SubscriberBase(std::shared_ptr<const void> callback) : callback_(std::move(callback)) {}
  ~SubscriberBase() = default;

  // One call of the callback, from its beginning to its end.
  class Run {
   public:
    explicit Run(SubscriberBase& subscriber) : subscriber_(subscriber) {
      const platform::MutexLock lock(subscriber_.mutex_);
      if (subscriber_.isActive_) {
        ++subscriber_.running_;
        callback_ = subscriber_.callback_.get();
      }
    }
    ~Run() {
      if (!callback_) {
        return;
      }
      platform::MutexLock lock(subscriber_.mutex_);
      if (!subscriber_.isActive_ && subscriber_.running_ == 1) {
        // What the callback has captured ends before the run does, which end() waits for.
        std::shared_ptr<const void> dropped = std::exchange(subscriber_.callback_, nullptr);
        lock.unlock();
        dropped.reset();
        lock.lock();
      }
      --subscriber_.running_;
      subscriber_.idle_.notifyAll();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    // Null: the subscription has ended.
    const void* callback() const { return callback_; }

   private:
    SubscriberBase& subscriber_;
    const void* callback_ = nullptr;
  };

 private:
  mutable platform::Mutex mutex_;
  platform::Condition idle_;
  std::function<Result<void>()> stopped_ QX_GUARDED_BY(mutex_);
  Result<void> outcome_ QX_GUARDED_BY(mutex_);
  bool isActive_ QX_GUARDED_BY(mutex_) = true;
  std::size_t running_ QX_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<const void> callback_ QX_GUARDED_BY(mutex_);
};

template <typename Event>
class Subscriber final : public SubscriberBase,
                         public std::enable_shared_from_this<Subscriber<Event>> {
 public:
  using Callback = std::function<void(const Event&)>;

  Subscriber(Callback callback, Executor executor)
      : SubscriberBase(std::make_shared<const Callback>(std::move(callback))),
        executor_(std::move(executor)) {}

  // Calls the callback here, or leaves that to the executor.
  void deliver(const std::shared_ptr<const Event>& event) {
    if (executor_) {
      executor_([self = this->shared_from_this(), event] { self->run(*event); });
    } else {
      run(*event);
    }
  }

 private:
  void run(const Event& event) {
    // Also while that ends what the callback has captured: other subscriptions, for instance.
    const InsideCallback inside;
    const Run run(*this);
    const auto* const callback = static_cast<const Callback*>(run.callback());
    if (callback && *callback) {
      (*callback)(event);
    }
  }

  const Executor executor_;
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_SUBSCRIBER_H
