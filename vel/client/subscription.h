// Subscriptions of vel::Client to events.
//
//   vel::Subscription plugged = client.onDevice([&](const vel::DeviceEvent& event) { ... });
//
// A subscription lasts until its object ends: until then the callback may run, on any thread of the
// bus or where its executor runs it. It may outlive the Client.
//
// THREADS   Any thread may call end() and stop(), several at once too, also inside the callback of
//           this subscription and that of another. Moving and destroying need the object alone.
//           Callbacks without an executor run one at a time, except those of onServiceDeath and
//           onServiceReturn, and may call every operation but announce...().
// ERRORS    A callback that throws ends no other: the library logs the exception of a callback that
//           has no executor; with an executor it is the executor's.

#ifndef VEL_CLIENT_SUBSCRIPTION_H
#define VEL_CLIENT_SUBSCRIPTION_H

#include <memory>
#include <utility>

#include "vel/client/internal/subscriber.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

class [[nodiscard]] Subscription {
 public:
  // Ended.
  Subscription() = default;
  Subscription(Subscription&&) noexcept = default;
  // Ends the earlier one, as end() does.
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      end();
      subscriber_ = std::move(other.subscriber_);
    }
    return *this;
  }
  ~Subscription() { end(); }

  // Ends the subscription and waits for a callback of it that is running on another thread: when
  // this returns, the callback does not run, and never will. So what it uses may go.
  //
  // Inside a callback of any subscription it does not wait, because two callbacks could wait for
  // each other. A lock that the callback takes must not be held here; stop() does without.
  //
  // returns    false: called inside a callback while this one is running, here or elsewhere. It
  //            will not be called again.
  bool end() { return !subscriber_ || subscriber_->end(); }

  // Ends the subscription without waiting: the callback never begins again, but may be running.
  void stop() {
    if (subscriber_) {
      subscriber_->stop();
    }
  }

  // Of joystick results, when the last of their subscriptions has ended: whether the service has
  // confirmed that. Success for all others, which end in this process only, and before the end.
  Result<void> outcome() const { return subscriber_ ? subscriber_->outcome() : Result<void>(); }

  // Whether the callback may run.
  explicit operator bool() const { return subscriber_ && subscriber_->isActive(); }

 private:
  friend class Client;

  explicit Subscription(std::shared_ptr<internal::Subscriber> subscriber)
      : subscriber_(std::move(subscriber)) {}

  std::shared_ptr<internal::Subscriber> subscriber_;
};

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_SUBSCRIPTION_H
