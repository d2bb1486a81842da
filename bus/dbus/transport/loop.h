// Who reads the sockets: the thread that waits for what will be read, and a thread of the loop's
// own when there is none.
//
// A caller that waits for its reply reads it itself, when no other thread reads: that saves the hop
// from a reading thread to the caller, which costs more than the reading. Callers that come
// meanwhile wait; the one that reads hands them their replies, and with its own reply hands the
// turn to one of them. The loop's thread takes the turn when it has been free for a moment (kRest):
// by then no caller is about to call again, and events must not wait for one.
//
// When events come in a stream, the loop's thread reads only every kGathering, with the turn free
// meanwhile: what has gathered costs one wake-up of each thread instead of one for each event.
//
// THREADS   Any thread may call any member. Sources are called by one thread at a time, the one
// that
//           has the turn, with no lock held.

#ifndef BUS_DBUS_TRANSPORT_LOOP_H
#define BUS_DBUS_TRANSPORT_LOOP_H

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <poll.h>

#include "base/chain.h"
#include "base/result.h"
#include "base/self_pipe.h"
#include "platform/mutex.h"

namespace qxbus {

using Clock = std::chrono::steady_clock;

class Loop : public std::enable_shared_from_this<Loop> {
 public:
  // Something that has a descriptor to poll.
  class Source {
   public:
    virtual ~Source() = default;
    // -1: none any more; the loop forgets the source.
    virtual int descriptor() const = 0;
    // POLLIN, POLLOUT or both, as it is now.
    virtual short events() const = 0;
    virtual void onReady(short events) = 0;
    // When onTime() is due; Clock::time_point::max() for never.
    virtual Clock::time_point due() const { return Clock::time_point::max(); }
    virtual void onTime() {}
    // One of the two has ended in std::bad_alloc, and the source is not what it was. Must not
    // throw.
    virtual void abandon() {}
  };

  // What a thread waits for: finish() ends the wait.
  class Wait : public base::Chain<Wait>::Place {
   public:
    Wait() = default;
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

   private:
    friend class Loop;
    bool isDone_ = false;  // under the mutex of the loop
    platform::Condition changed_;
  };

  // A loop whose thread is named so.
  static base::Result<std::shared_ptr<Loop>> start(const char* threadName);
  ~Loop() = default;

  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  void add(std::shared_ptr<Source> source);
  // The answers of a source (events, due, descriptor) have changed.
  void wake() { wake_.wake(); }
  // For a source: it has read so many events. More of them may wait until some have gathered.
  void letEventsGather(std::size_t events) { eventsRead_ += events; }
  // Ends the thread, as soon as it has no work; callers may still wait.
  void stop();
  // The same, as soon as no source is left.
  void stopWithLastSource();

  // Reads, or waits while another thread does, until finish(wait) or the deadline.
  //
  // returns    whether it was finished
  bool runUntilFinished(Wait* wait, Clock::time_point deadline);
  void finish(Wait* wait);

 private:
  Loop() = default;

  void runWhenIdle();
  void gather(std::size_t events, platform::MutexLock& lock) QX_REQUIRES(mutex_);
  void takeTurn() QX_REQUIRES(mutex_);
  void step(Clock::time_point deadline);
  Clock::time_point collect();
  void passOn() QX_REQUIRES(mutex_);

  base::SelfPipe wake_;
  // Used by the thread that has the turn.
  std::vector<pollfd> polled_;
  std::vector<std::shared_ptr<Source>> polledSources_;
  std::size_t eventsRead_ = 0;
  // Used by the loop's own thread.
  Clock::time_point lastEvents_ = {};
  bool hasGathered_ = false;
  int turnsToGather_ = 0;

  mutable platform::Mutex mutex_;
  std::vector<std::shared_ptr<Source>> sources_ QX_GUARDED_BY(mutex_);
  base::Chain<Wait> waiting_ QX_GUARDED_BY(mutex_);  // without the turn
  bool isTaken_ QX_GUARDED_BY(mutex_) = false;
  std::thread::id reader_ QX_GUARDED_BY(mutex_);  // while the turn is taken
  Clock::time_point lastTurn_ QX_GUARDED_BY(mutex_) = {};
  unsigned long turns_ QX_GUARDED_BY(mutex_) = 0;
  bool isStopped_ QX_GUARDED_BY(mutex_) = false;
  bool isEnding_ QX_GUARDED_BY(mutex_) = false;
  // The loop's own thread waits without a time-out.
  bool isAsleep_ QX_GUARDED_BY(mutex_) = false;
  platform::Condition free_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_TRANSPORT_LOOP_H
