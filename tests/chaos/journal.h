// What a run has done so far, and its end when a promise is broken.
//
// THREADS   Any thread may call any member.

#ifndef TESTS_CHAOS_JOURNAL_H
#define TESTS_CHAOS_JOURNAL_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>

#include <sys/types.h>

#include "platform/mutex.h"

namespace chaos {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

class Journal {
 public:
  // The one journal of the process; never destroyed.
  static Journal& get();

  void begin(std::uint64_t seed, const std::string& command);
  // A step of an actor. Of each actor the latest steps are kept.
  void note(const std::string& actor, const std::string& step);
  // Prints the broken promise, the seed, the time and the latest steps, and ends the process with
  // status 1: the threads of a run with a broken promise may never end.
  [[noreturn]] void fail(const std::string& promise);
  // Programs that are stopped would never notice the end of this process: fail() continues them.
  void stopped(pid_t program);
  void continued(pid_t program);

  Milliseconds sinceBegin() const;
  // How many steps each actor has made.
  std::map<std::string, std::uint64_t> counts() const;

 private:
  struct Steps {
    std::uint64_t count = 0;
    std::deque<std::string> latest;
  };

  Journal() = default;

  const Clock::time_point begin_ = Clock::now();
  mutable platform::Mutex mutex_;
  std::uint64_t seed_ QX_GUARDED_BY(mutex_) = 0;
  std::string command_ QX_GUARDED_BY(mutex_);
  std::map<std::string, Steps> steps_ QX_GUARDED_BY(mutex_);
  std::set<pid_t> stopped_ QX_GUARDED_BY(mutex_);
};

}  // namespace chaos

#endif  // TESTS_CHAOS_JOURNAL_H
