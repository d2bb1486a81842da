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

class Subscriber final : public std::enable_shared_from_this<Subscriber> {
 public:
  // Calls a callback with an event. Both are as their kind of event has them: one class serves all
  // kinds, so that a program is compiled quickly.
  using Call = void (*)(const void* callback, const void* event);

  Subscriber(std::shared_ptr<const void> callback, Call call, Executor executor)
      : callback_(std::move(callback)), call_(call), executor_(std::move(executor)) {}
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

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

  // Calls the callback here, or leaves that to the executor.
  void deliver(const std::shared_ptr<const void>& event) {
    if (executor_) {
      executor_([self = shared_from_this(), event] { self->run(event.get()); });
    } else {
      run(event.get());
    }
  }

 private:
  // One call of the callback, from its beginning to its end.
  class Run {
   public:
    explicit Run(Subscriber& subscriber) : subscriber_(subscriber) {
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
    Subscriber& subscriber_;
    const void* callback_ = nullptr;
  };

  void run(const void* event) {
    // Also while that ends what the callback has captured: other subscriptions, for instance.
    const InsideCallback inside;
    const Run run(*this);
    if (run.callback()) {
      call_(run.callback(), event);
    }
  }

  mutable platform::Mutex mutex_;
  platform::Condition idle_;
  std::function<Result<void>()> stopped_ QX_GUARDED_BY(mutex_);
  Result<void> outcome_ QX_GUARDED_BY(mutex_);
  bool isActive_ QX_GUARDED_BY(mutex_) = true;
  std::size_t running_ QX_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<const void> callback_ QX_GUARDED_BY(mutex_);
  const Call call_;
  const Executor executor_;
};

// callback   may be empty
template <typename Event>
std::shared_ptr<Subscriber> makeSubscriber(std::function<void(const Event&)> callback,
                                           Executor executor) {
  using Callback = std::function<void(const Event&)>;
  const auto call = [](const void* function, const void* event) {
    const Callback& typed = *static_cast<const Callback*>(function);
    if (typed) {
      typed(*static_cast<const Event*>(event));
    }
  };
  return std::make_shared<Subscriber>(std::make_shared<const Callback>(std::move(callback)), call,
                                      std::move(executor));
}

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_SUBSCRIBER_H
