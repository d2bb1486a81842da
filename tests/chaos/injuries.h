// What happens to the service, the bus and this process during a run, and the check that all is
// well again afterwards.
//
// THREADS   Use it from the thread that made the run: it kills and starts processes.

#ifndef TESTS_CHAOS_INJURIES_H
#define TESTS_CHAOS_INJURIES_H

#include <set>
#include <string>
#include <vector>

#include "tests/chaos/run.h"

namespace chaos {

// An injury, and what happens.
struct InjuryName {
  const char* name;
  const char* what;
};
class Injuries {
 public:
  static std::vector<InjuryName> names();

  // names  those to choose from; empty: all that concern this bus
  Injuries(Run& run, const std::set<std::string>& names);
  ~Injuries();

  Injuries(const Injuries&) = delete;
  Injuries& operator=(const Injuries&) = delete;

  // One injury, its end, and the check.
  void next();
  // Kills the service and starts it again, at once.
  void restart();
  // Waits until calls succeed, events arrive, and every registration has had its code 5 if the
  // service has died.
  void settle();
  // Waits until calls succeed.
  void settleCalls();
  // The end: the service dies, so that every call ends.
  void finish();

  std::uint64_t made() const { return made_; }
  Milliseconds longestRecovery() const { return longestRecovery_; }

 private:
  // Whether the service has died during an injury.
  enum class Death { kNo, kYes, kMaybe };
  struct Injury {
    InjuryName name;
    Death (Injuries::*treat)();
    bool needsDaemon;
  };
  static const std::vector<Injury>& all();

  Death kill();
  Death killAgainAndAgain();
  Death end();
  Death dieInACall();
  Death leave();
  Death stop();
  Death answerLate();
  Death answerNever();
  Death lie();
  Death hotPlug();
  Death killBus();
  Death stopBus();
  Death useUpDescriptors();
  Death useUpMemory();
  Death fillDisk();
  Death removeLog();

  void note(const std::string& step);
  void pause(std::size_t mostMs);
  void killService();
  void check(Death death);
  void registerWatched();
  void awaitCalls(Clock::time_point deadline);
  void awaitEvents(Clock::time_point deadline);
  void awaitCodes(Death death, Clock::time_point deadline);

  Run& run_;
  qx::VelProxy& instance_ = *qx::VelProxy::getInstance();
  Random random_;
  std::vector<Injury> chosen_;
  std::vector<void*> watched_;
  void* probe_ = nullptr;
  std::uint64_t deathsBefore_ = 0;
  std::uint64_t made_ = 0;
  Milliseconds longestRecovery_{0};
};

}  // namespace chaos

#endif  // TESTS_CHAOS_INJURIES_H
