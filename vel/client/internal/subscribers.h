// The subscribers to one kind of event.

#ifndef VEL_CLIENT_INTERNAL_SUBSCRIBERS_H
#define VEL_CLIENT_INTERNAL_SUBSCRIBERS_H

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "platform/mutex.h"
#include "vel/client/internal/subscriber.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// Events are delivered to a snapshot, and the mutex is never held while a callback runs: so
// subscriptions begin and end on any thread, also inside callbacks.
template <typename Event>
class Subscribers {
 public:
  using Pointer = std::shared_ptr<Subscriber<Event>>;

  // Those that have begun before an event receive it, in the order in which they began.
  void add(Pointer subscriber) {
    const platform::MutexLock lock(mutex_);
    auto changed = std::make_shared<List>(*list_);
    changed->push_back(std::move(subscriber));
    list_ = std::move(changed);
  }

  void remove(const SubscriberBase* subscriber) {
    const platform::MutexLock lock(mutex_);
    auto changed = std::make_shared<List>(*list_);
    changed->erase(
        std::remove_if(changed->begin(), changed->end(),
                       [subscriber](const Pointer& other) { return other.get() == subscriber; }),
        changed->end());
    list_ = std::move(changed);
  }

  bool empty() const { return snapshot()->empty(); }

  // Makes the event only when there is a subscriber. An exception of a callback is thrown again
  // when all have been called.
  template <typename MakeEvent>
  void deliver(const MakeEvent& makeEvent) const {
    // The snapshot may be the last to hold a subscriber, and ends here.
    const InsideCallback inside;
    const std::shared_ptr<const List> subscribers = snapshot();
    if (subscribers->empty()) {
      return;
    }
    const auto event = std::make_shared<const Event>(makeEvent());
    std::exception_ptr thrown;
    for (const Pointer& subscriber : *subscribers) {
      try {
        subscriber->deliver(event);
      } catch (...) {
        thrown = thrown ? thrown : std::current_exception();
      }
    }
    if (thrown) {
      std::rethrow_exception(thrown);
    }
  }

 private:
  using List = std::vector<Pointer>;

  std::shared_ptr<const List> snapshot() const {
    const platform::MutexLock lock(mutex_);
    return list_;
  }

  mutable platform::Mutex mutex_;
  std::shared_ptr<const List> list_ QX_GUARDED_BY(mutex_) = std::make_shared<const List>();
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_SUBSCRIBERS_H
