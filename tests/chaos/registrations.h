// Registrations of callbacks, and what must hold for each: no call after its end, one code 5 at
// most, and no event of an old session after a new one has begun.
//
// A registration has no memory of its own to be freed: its user data is a number, so that a call
// that comes too late is seen and not a crash.
//
// THREADS   Any thread may call any member.

#ifndef TESTS_CHAOS_REGISTRATIONS_H
#define TESTS_CHAOS_REGISTRATIONS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/mutex.h"

namespace chaos {

class Registrations {
 public:
  // broken  is called with the promise that does not hold
  explicit Registrations(std::function<void(const std::string&)> broken);

  // The user data of a new registration, to be given to the library. Never null.
  void* begin();
  // It has ended: its operation has returned, so no call may begin from now on. Returns how often
  // it was called with code 5.
  int end(void* userData);

  // From callbacks, first of all. False: the call must be ignored.
  bool isCalled(void* userData);
  bool isToldOfDeath(void* userData);
  int codes(void* userData);

  std::uint64_t begun() const { return begun_; }
  std::uint64_t calls() const { return calls_; }
  std::uint64_t deaths() const { return deaths_; }

 private:
  static constexpr std::size_t kPlaces = 4096;
  struct Place {
    std::uint64_t generation = 0;
    bool isLive = false;
    int codes = 0;
  };
  Place* find(void* userData, std::uint64_t* generation) QX_REQUIRES(mutex_);
  bool check(void* userData, const char* what);

  const std::function<void(const std::string&)> broken_;
  platform::Mutex mutex_;
  std::array<Place, kPlaces> places_ QX_GUARDED_BY(mutex_);
  std::size_t next_ QX_GUARDED_BY(mutex_) = 0;
  std::atomic<std::uint64_t> begun_{0};
  std::atomic<std::uint64_t> calls_{0};
  std::atomic<std::uint64_t> deaths_{0};
};

// The order of the sessions of one proxy, from the names of the devices in its events: each
// instance of the service has its number in them ("i12 camera").
class SessionOrder {
 public:
  explicit SessionOrder(std::function<void(const std::string&)> broken);

  // The number of the instance in the name of one of its things; 0: another name.
  static unsigned instanceIn(const char* name, std::size_t size);

  // An event of an instance reaches a callback.
  void event(unsigned instance);
  // An instance of the service has been killed, before it is reported.
  void killed(unsigned instance);
  // The death of the service is reported; what begins next is another session.
  void gone();
  // The end of the session has been reported to all.
  void back();

 private:
  const std::function<void(const std::string&)> broken_;
  platform::Mutex mutex_;
  unsigned latest_ QX_GUARDED_BY(mutex_) = 0;  // seen in an event
  unsigned killed_ QX_GUARDED_BY(mutex_) = 0;
  unsigned dead_ QX_GUARDED_BY(mutex_) = 0;   // the latest when the death was reported
  unsigned ended_ QX_GUARDED_BY(mutex_) = 0;  // events of these instances are over
};

}  // namespace chaos

#endif  // TESTS_CHAOS_REGISTRATIONS_H
