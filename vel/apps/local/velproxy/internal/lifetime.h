#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_LIFETIME_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_LIFETIME_H

#include <chrono>
#include <memory>
#include <thread>

#include "base/chain.h"
#include "platform/mutex.h"

namespace qx {

// The lifetime of a VelProxy. The object shares it with the threads of the bus that work for the
// object, because these threads may outlive the object.
//
//   const Lifetime::Visit visit(lifetime);
//   if (visit) { ... }  // the object exists
class Lifetime {
 public:
  // Work for the object by the thread that constructs the visit.
  class Visit : public base::Chain<Visit>::Place {
   public:
    explicit Visit(std::shared_ptr<Lifetime> lifetime);
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    // False: the object is gone, or being destroyed.
    explicit operator bool() const { return isListed_; }
    // Names a lock of this thread on a mutex of the object. Destroying the object on this thread
    // unlocks it; otherwise the lock ends together with the visit.
    void setLock(platform::MutexLock& lock) { lock_ = &lock; }

   private:
    friend class Lifetime;

    const std::shared_ptr<Lifetime> lifetime_;
    const std::thread::id thread_ = std::this_thread::get_id();
    platform::MutexLock* lock_ = nullptr;
    bool isListed_ = false;
  };

  // For the destructor of the object. Refuses visits and ends pauses from now on, and returns when
  // no other thread is visiting.
  void end();
  bool hasEnded();
  // Returns after the duration, or when end() is called.
  void waitForEnd(std::chrono::seconds duration);

 private:
  static bool isOfThisThread(const Visit* visit);
  bool hasOtherVisitors() QX_REQUIRES(mutex_);
  void releaseLocksOfThisThread() QX_REQUIRES(mutex_);

  platform::Mutex mutex_;
  platform::Condition changed_;
  bool hasEnded_ QX_GUARDED_BY(mutex_) = false;
  base::Chain<Visit> visits_ QX_GUARDED_BY(mutex_);
};

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_LIFETIME_H
