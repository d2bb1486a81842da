// Mutexes that the compiler checks: clang's -Wthread-safety refuses an access to a guarded variable
// without its mutex, a mutex that is not released, and a wrong order of two.
//
//   class Counter {
//    public:
//     void add() { const platform::MutexLock lock(mutex_); ++count_; }
//    private:
//     platform::Mutex mutex_;
//     int count_ QX_GUARDED_BY(mutex_) = 0;
//   };
//
// Other compilers ignore the annotations. A Mutex has the size and the cost of a std::mutex.

#ifndef PLATFORM_MUTEX_H
#define PLATFORM_MUTEX_H

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/monotonic_wait.h"

#if defined(__clang__)
#define QX_THREAD_SAFETY_(annotation) __attribute__((annotation))
#else
#define QX_THREAD_SAFETY_(annotation)
#endif

// Classes whose objects hold a mutex for their scope.
#define QX_SCOPED_LOCK QX_THREAD_SAFETY_(scoped_lockable)
// Variables: the mutex guards the variable; the mutex guards the object behind the pointer.
#define QX_GUARDED_BY(mutex) QX_THREAD_SAFETY_(guarded_by(mutex))
#define QX_PT_GUARDED_BY(mutex) QX_THREAD_SAFETY_(pt_guarded_by(mutex))
// Mutexes: the order in which two are locked.
#define QX_ACQUIRED_BEFORE(...) QX_THREAD_SAFETY_(acquired_before(__VA_ARGS__))
#define QX_ACQUIRED_AFTER(...) QX_THREAD_SAFETY_(acquired_after(__VA_ARGS__))
// Functions: the caller holds the mutex; the caller does not hold it; the function locks it; tries
// to lock it; unlocks it; returns it.
#define QX_REQUIRES(...) QX_THREAD_SAFETY_(requires_capability(__VA_ARGS__))
#define QX_EXCLUDES(...) QX_THREAD_SAFETY_(locks_excluded(__VA_ARGS__))
#define QX_ACQUIRE(...) QX_THREAD_SAFETY_(acquire_capability(__VA_ARGS__))
#define QX_TRY_ACQUIRE(...) QX_THREAD_SAFETY_(try_acquire_capability(__VA_ARGS__))
#define QX_RELEASE(...) QX_THREAD_SAFETY_(release_capability(__VA_ARGS__))
#define QX_RETURN_CAPABILITY(mutex) QX_THREAD_SAFETY_(lock_returned(mutex))
// No check of this function. A comment gives the reason why the compiler cannot follow.
#define QX_NO_THREAD_SAFETY_ANALYSIS QX_THREAD_SAFETY_(no_thread_safety_analysis)

namespace platform {

class QX_THREAD_SAFETY_(capability("mutex")) Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() QX_ACQUIRE() { mutex_.lock(); }
  bool try_lock() QX_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
  void unlock() QX_RELEASE() { mutex_.unlock(); }

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

// Holds a mutex for its scope, apart from the lines between unlock() and lock().
class QX_SCOPED_LOCK MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) QX_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() QX_RELEASE() = default;

  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void lock() QX_ACQUIRE() { lock_.lock(); }
  void unlock() QX_RELEASE() { lock_.unlock(); }

 private:
  friend class Condition;
  std::unique_lock<std::mutex> lock_;
};

// A condition variable. A wait may end without a notification, so it stands in a loop that tests
// the condition:
//
//   while (tasks_.empty()) { changed_.wait(lock); }
class Condition {
 public:
  using Clock = MonotonicClock;

  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void wait(MutexLock& lock) { condition_.wait(lock.lock_); }
  // False when the deadline has passed. Clock::time_point::max() waits forever.
  bool waitUntil(MutexLock& lock, Clock::time_point deadline) {
    if (deadline == Clock::time_point::max()) {
      wait(lock);
      return true;
    }
#if defined(__APPLE__)
    return platform::waitUntil(condition_.native_handle(), lock.lock_.mutex()->native_handle(),
                               deadline);
#else
    return condition_.wait_until(lock.lock_, deadline) == std::cv_status::no_timeout;
#endif
  }
  void notifyOne() {
    condition_.notify_one();
  }
  void notifyAll() {
    condition_.notify_all();
  }

 private:
  std::condition_variable condition_;
};

}  // namespace platform

#endif  // PLATFORM_MUTEX_H
