#ifndef VEL_APPS_LOCAL_VELCTL_INBOX_H
#define VEL_APPS_LOCAL_VELCTL_INBOX_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace velctl {

// Takes what arrives on the threads of the bus, which hold a lock of the library meanwhile, to a
// thread that may call the library and wait for the terminal.
template <typename Item>
class Inbox {
 public:
  using Patience = std::optional<std::chrono::milliseconds>;

  void add(Item item) {
    const std::lock_guard<std::mutex> lock(mutex_);
    items_.push_back(std::move(item));
    changed_.notify_one();
  }

  void stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopped_ = true;
    changed_.notify_one();
  }

  bool isStopped() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isStopped_;
  }

  // The next item. Empty when stopped, or when the patience is over; none is without end.
  std::optional<Item> next(Patience patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto isReady = [this] { return isStopped_ || !items_.empty(); };
    if (patience) {
      changed_.wait_for(lock, *patience, isReady);
    } else {
      changed_.wait(lock, isReady);
    }
    if (isStopped_ || items_.empty()) {
      return std::nullopt;
    }
    Item item = std::move(items_.front());
    items_.pop_front();
    return item;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Item> items_;
  bool isStopped_ = false;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_INBOX_H
