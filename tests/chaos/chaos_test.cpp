// Short runs of the program chaos. docs/chaos.md has longer ones.
//
//   CHAOS_SEED    the seed of all runs, in place of 1

#include <csignal>
#include <cstdlib>

#include <sys/wait.h>

#include <gmock/gmock.h>

#include "tests/processes/process.h"

namespace {

using processes::Finished;
using testing::HasSubstr;

Finished chaos(std::vector<std::string> arguments) {
  const char* const seed = std::getenv("CHAOS_SEED");
  arguments.insert(arguments.begin(), {CHAOS_PATH, "--seed", seed ? seed : "1"});
  processes::Process::Options options;
  options.command = std::move(arguments);
  return processes::run(options);
}

// The figures are on standard error, for a run that fails and for a reader of the log.
void expectEveryPromiseKept(const Finished& finished) {
  EXPECT_EQ(finished.status, 0) << finished.err;
  std::fprintf(stderr, "%s", finished.err.c_str());
}

TEST(ChaosDaemon, EveryPromiseIsKeptOverADaemon) {
  expectEveryPromiseKept(
      chaos({"--bus", "daemon", "--seconds", CHAOS_SECONDS, "--slack", CHAOS_SLACK}));
}

TEST(ChaosDirect, EveryPromiseIsKeptOverADirectConnection) {
  expectEveryPromiseKept(
      chaos({"--bus", "direct", "--seconds", CHAOS_SECONDS, "--slack", CHAOS_SLACK}));
}

TEST(ChaosDirect, NothingGrowsOverRestarts) {
  expectEveryPromiseKept(chaos({"--bus", "direct", "--restarts", "40", "--slack", CHAOS_SLACK}));
}

TEST(ChaosDaemon, ThreadsAreBoundedWhileTheServiceCrashesEverySecond) {
  expectEveryPromiseKept(chaos({"--bus", "daemon", "--crashes", "10", "--slack", CHAOS_SLACK}));
}

// An allocation that failed once ended the process, kept the turn to read for ever, or left a proxy
// bound to a service that had died.
TEST(ChaosDaemon, AllocationsOfTheLibraryMayFail) {
  expectEveryPromiseKept(
      chaos({"--bus", "daemon", "--seconds", "5", "--faults", "memory", "--slack", CHAOS_SLACK}));
}

// The program itself: a run that never fails would show nothing.
Finished failingRun() {
  return chaos({"--seconds", "30", "--faults", "stop", "--slack=-100000"});
}

TEST(ChaosReport, AnOperationBeyondItsLimitEndsTheRunWithItsSeedAndItsSteps) {
  const Finished finished = failingRun();

  EXPECT_EQ(finished.status, 1);
  EXPECT_THAT(finished.err, HasSubstr(" with seed "));
  EXPECT_THAT(finished.err, HasSubstr(": no hang: "));
  EXPECT_THAT(finished.err, HasSubstr(", the latest of "));
  EXPECT_THAT(finished.err, HasSubstr("the same choices again: "));
}

// It continues what it has stopped: its service, which has to end with it.
TEST(ChaosReport, ABrokenPromiseContinuesNoProgramOfOthers) {
  processes::Process::Options options;
  options.command = {"sleep", "1000"};
  const processes::Process other(options);
  processes::hang(other.pid());

  EXPECT_EQ(failingRun().status, 1);

  siginfo_t continued = {};
  EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(other.pid()), &continued, WCONTINUED | WNOHANG), 0);
  EXPECT_EQ(continued.si_pid, 0);
}

TEST(ChaosReport, ATypoInAnOptionIsRefused) {
  EXPECT_NE(chaos({"--faults", "kil"}).status, 0);
}

}  // namespace
