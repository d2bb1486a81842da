#include "tests/chaos/journal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <sys/resource.h>

#include "tests/chaos/allocation.h"

namespace chaos {
namespace {

constexpr std::size_t kKeptSteps = 40;

[[noreturn]] void onTerminate() {
  std::string what = "an exception has left a thread";
  if (const std::exception_ptr thrown = std::current_exception()) {
    try {
      std::rethrow_exception(thrown);
    } catch (const std::exception& error) {
      what += std::string(": ") + error.what();
    } catch (...) {
    }
  }
  std::fprintf(stderr, "chaos: %s\n", what.c_str());
  std::abort();
}

// Not safe in a signal handler in general, but the process is lost anyway, and its steps are not.
extern "C" void onAbort(int /*signal*/) {
  std::signal(SIGABRT, SIG_DFL);
  Journal::get().fail("no crash");
}

}  // namespace

Journal& Journal::get() {
  static auto* const journal = new Journal;
  return *journal;
}

void Journal::begin(std::uint64_t seed, const std::string& command) {
  std::set_terminate(onTerminate);
  std::signal(SIGABRT, onAbort);
  const platform::MutexLock lock(mutex_);
  seed_ = seed;
  command_ = command;
  // Here too, for a crash that no handler sees.
  std::fprintf(stderr, "chaos: seed %llu: %s\n", static_cast<unsigned long long>(seed),
               command.c_str());
}

void Journal::note(const std::string& actor, const std::string& step) {
  const OutsideLibrary outside;
  const std::string line = std::to_string(sinceBegin().count()) + " ms: " + step;
  const platform::MutexLock lock(mutex_);
  Steps& steps = steps_[actor];
  ++steps.count;
  steps.latest.push_back(line);
  if (steps.latest.size() > kKeptSteps) {
    steps.latest.pop_front();
  }
}

void Journal::fail(const std::string& promise) {
  const OutsideLibrary outside;
  // The report may go to a file.
  rlimit files = {};
  ::getrlimit(RLIMIT_FSIZE, &files);
  files.rlim_cur = files.rlim_max;
  ::setrlimit(RLIMIT_FSIZE, &files);
  const platform::MutexLock lock(mutex_);
  std::fprintf(stderr, "chaos: BROKEN after %lld ms with seed %llu: %s\n",
               static_cast<long long>(sinceBegin().count()), static_cast<unsigned long long>(seed_),
               promise.c_str());
  for (const auto& [actor, steps] : steps_) {
    std::fprintf(stderr, "  %s, the latest of %llu steps:\n", actor.c_str(),
                 static_cast<unsigned long long>(steps.count));
    for (const std::string& line : steps.latest) {
      std::fprintf(stderr, "    %s\n", line.c_str());
    }
  }
  std::fprintf(stderr, "  the same choices again: %s\n", command_.c_str());
  std::fflush(stderr);
  for (const pid_t program : stopped_) {
    ::kill(program, SIGCONT);
  }
  if (std::getenv("CHAOS_ABORT")) {
    std::signal(SIGABRT, SIG_DFL);
    std::abort();
  }
  std::_Exit(1);
}

void Journal::stopped(pid_t program) {
  const OutsideLibrary outside;
  const platform::MutexLock lock(mutex_);
  stopped_.insert(program);
}

void Journal::continued(pid_t program) {
  const OutsideLibrary outside;
  const platform::MutexLock lock(mutex_);
  stopped_.erase(program);
}

Milliseconds Journal::sinceBegin() const {
  return std::chrono::duration_cast<Milliseconds>(Clock::now() - begin_);
}

std::map<std::string, std::uint64_t> Journal::counts() const {
  const platform::MutexLock lock(mutex_);
  std::map<std::string, std::uint64_t> counts;
  for (const auto& [actor, steps] : steps_) {
    counts[actor] = steps.count;
  }
  return counts;
}

}  // namespace chaos
