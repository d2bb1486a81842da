// Threads that use sessions, one simulated minute after the other.

#ifndef TESTS_SOAK_CREW_H
#define TESTS_SOAK_CREW_H

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "platform/mutex.h"
#include "tests/wire/random.h"

namespace soak {

// THREADS   Use it from one thread.
class Crew {
 public:
  // Begins every session: a connected VM with a callback of its own.
  Crew(int threads, int sessions, int activePerMinute, std::uint64_t seed);
  ~Crew();

  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  // Returns when every thread has used its share of the active sessions: an attached device that is
  // listed and detached again, the focus that comes and goes, and two reports on quality.
  void workForAMinute();

  // How long each call has taken, in microseconds, since this was asked before.
  std::vector<std::uint32_t> takeTimes();
  // Calls that the service did not carry out.
  std::uint64_t failures() const;

 private:
  struct Member;
  void run(Member& member);
  void use(Member& member, int session);
  template <typename Call>
  void timed(Member& member, const Call& call);

  const int sessions_;
  const int perMember_;
  std::vector<Member> members_;

  mutable platform::Mutex mutex_;
  platform::Condition changed_;
  std::uint64_t minute_ QX_GUARDED_BY(mutex_) = 0;
  std::size_t working_ QX_GUARDED_BY(mutex_) = 0;
  bool hasEnded_ QX_GUARDED_BY(mutex_) = false;
};

}  // namespace soak

#endif  // TESTS_SOAK_CREW_H
