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
class SubscriberList {
 public:
  // Those that have begun before an event receive it, in the order in which they began.
  void add(std::shared_ptr<Subscriber> subscriber) {
    const platform::MutexLock lock(mutex_);
    auto changed = std::make_shared<List>(*list_);
    changed->push_back(std::move(subscriber));
    list_ = std::move(changed);
  }

  void remove(const Subscriber* subscriber) {
    const platform::MutexLock lock(mutex_);
    auto changed = std::make_shared<List>(*list_);
    const auto isIt = [subscriber](const auto& other) { return other.get() == subscriber; };
    changed->erase(std::remove_if(changed->begin(), changed->end(), isIt), changed->end());
    list_ = std::move(changed);
  }

  bool empty() const { return snapshot()->empty(); }

 protected:
  using List = std::vector<std::shared_ptr<Subscriber>>;

  std::shared_ptr<const List> snapshot() const {
    const platform::MutexLock lock(mutex_);
    return list_;
  }

  // An exception of a callback is thrown again when all have been called.
  static void deliverTo(const List& subscribers, const std::shared_ptr<const void>& event) {
    std::exception_ptr thrown;
    for (const std::shared_ptr<Subscriber>& subscriber : subscribers) {
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
  mutable platform::Mutex mutex_;
  std::shared_ptr<const List> list_ QX_GUARDED_BY(mutex_) = std::make_shared<const List>();
};

// All its subscribers have callbacks for this kind of event.
template <typename Event>
class Subscribers : public SubscriberList {
 public:
  // Makes the event only when there is a subscriber.
  template <typename MakeEvent>
  void deliver(const MakeEvent& makeEvent) const {
    // The snapshot may be the last to hold a subscriber, and ends here.
    const InsideCallback inside;
    const std::shared_ptr<const List> subscribers = snapshot();
    if (!subscribers->empty()) {
      deliverTo(*subscribers, std::make_shared<const Event>(makeEvent()));
    }
  }
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_SUBSCRIBERS_H
