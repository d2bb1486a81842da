// A queue between the threads of the bus and the main thread.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_INBOX_H
#define VEL_APPS_LOCAL_VELCTL_RUN_INBOX_H

#include <cstddef>
#include <deque>
#include <optional>
#include <utility>

#include "platform/mutex.h"

namespace velctl {

// Events arrive while the library holds the callback mutex, so they are only queued. The main
// thread may call the library and wait for the terminal.
//
// THREADS   Any.
template <typename Item>
class Inbox {
 public:
  using Clock = platform::Condition::Clock;

  // The queue is no longer, so that memory stays bounded while the output is blocked.
  static constexpr std::size_t kMostItems = 1000;

  // Drops the item when the queue is full.
  void add(Item item) {
    const platform::MutexLock lock(mutex_);
    if (entries_.size() < kMostItems) {
      append(std::move(item));
    } else if (!isStopped_) {
      ++dropped_;
    }
  }

  // For items that must arrive, of which there are few.
  void addAlways(Item item) {
    const platform::MutexLock lock(mutex_);
    append(std::move(item));
  }

  // Takes no further items.
  void stop() {
    const platform::MutexLock lock(mutex_);
    isStopped_ = true;
    changed_.notifyOne();
  }

  bool isStopped() const {
    const platform::MutexLock lock(mutex_);
    return isStopped_;
  }

  // The next item, also one that came before the stop. nullopt: stopped or timed out; without a
  // deadline it waits forever.
  std::optional<Item> next(Clock::time_point deadline = Clock::time_point::max()) {
    platform::MutexLock lock(mutex_);
    while (entries_.empty() && !isStopped_) {
      if (!changed_.waitUntil(lock, deadline)) {
        break;
      }
    }
    if (entries_.empty()) {
      return std::nullopt;
    }
    Entry entry = std::move(entries_.front());
    entries_.pop_front();
    droppedBefore_ = entry.droppedBefore;
    return std::move(entry.item);
  }

  // How many items were dropped between the last two that next() returned.
  std::size_t droppedBefore() const {
    const platform::MutexLock lock(mutex_);
    return droppedBefore_;
  }

  // How many items next() has not returned: dropped since, or still in the queue.
  std::size_t remaining() const {
    const platform::MutexLock lock(mutex_);
    std::size_t count = dropped_;
    for (const Entry& entry : entries_) {
      count += 1 + entry.droppedBefore;
    }
    return count;
  }

 private:
  struct Entry {
    Item item;
    std::size_t droppedBefore;
  };

  void append(Item item) QX_REQUIRES(mutex_) {
    if (!isStopped_) {
      entries_.push_back({std::move(item), std::exchange(dropped_, 0)});
      changed_.notifyOne();
    }
  }

  mutable platform::Mutex mutex_;
  platform::Condition changed_;
  std::deque<Entry> entries_ QX_GUARDED_BY(mutex_);
  std::size_t dropped_ QX_GUARDED_BY(mutex_) = 0;  // behind the last entry
  std::size_t droppedBefore_ QX_GUARDED_BY(mutex_) = 0;
  bool isStopped_ QX_GUARDED_BY(mutex_) = false;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_INBOX_H
