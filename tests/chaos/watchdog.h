// Watches that every operation ends within its own limit.
//
// An operation may also wait for those of other threads, because calls are made one at a time: its
// limit grows by the limit of each operation that has run beside it.

#ifndef TESTS_CHAOS_WATCHDOG_H
#define TESTS_CHAOS_WATCHDOG_H

#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "platform/mutex.h"
#include "tests/chaos/journal.h"

namespace chaos {

// THREADS   Any thread may call any member.
class Watchdog {
 public:
  // slack: on top of each limit, for a machine that is busy with other work
  explicit Watchdog(Milliseconds slack);
  ~Watchdog();

  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Watches an operation of this thread while it lives.
  class Watch {
   public:
    // kind  for people; lives as long as the process
    Watch(Watchdog& watchdog, const char* kind, Milliseconds limit);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

   private:
    Watchdog& watchdog_;
    std::size_t place_;
  };

  // The longest operation so far, and the largest part of its limit that one has used.
  Milliseconds longest() const;
  double largestShare() const;
  std::size_t operations() const;

 private:
  static constexpr std::size_t kPlaces = 96;
  struct Place {
    const char* kind = nullptr;  // null: free
    Clock::time_point begin;
    Milliseconds limit{0};
    // Of the operations beside it, by their places.
    std::array<Milliseconds, kPlaces> others{};
    Milliseconds allowed() const;
  };

  std::size_t enter(const char* kind, Milliseconds limit);
  void leave(std::size_t place);
  void run();
  void look() QX_REQUIRES(mutex_);

  const Milliseconds slack_;
  mutable platform::Mutex mutex_;
  platform::Condition changed_;
  bool hasEnded_ QX_GUARDED_BY(mutex_) = false;
  std::array<Place, kPlaces> places_ QX_GUARDED_BY(mutex_);
  Milliseconds longest_ QX_GUARDED_BY(mutex_){0};
  double largestShare_ QX_GUARDED_BY(mutex_) = 0;
  std::size_t operations_ QX_GUARDED_BY(mutex_) = 0;
  std::thread thread_;
};

}  // namespace chaos

#endif  // TESTS_CHAOS_WATCHDOG_H
