// What another program writes.

#include "base/program_output.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/descriptor.h"

namespace {

using base::outputOf;
using testing::HasSubstr;

// For programs that end by themselves.
constexpr std::chrono::milliseconds kLong{60000};

std::string outputOfShell(const std::string& script) {
  const auto output = outputOf({"sh", "-c", script}, kLong);
  EXPECT_TRUE(output) << output.reason();
  return output ? *output : "";
}

TEST(ProgramOutputTest, IsWhatTheProgramWrites) {
  EXPECT_EQ(outputOfShell("echo one; echo two"), "one\ntwo\n");
  EXPECT_EQ(outputOfShell(":"), "");
}

TEST(ProgramOutputTest, IsCompleteHoweverLong) {
  const std::string output = outputOfShell("head -c 300000 /dev/zero | tr '\\0' x");

  EXPECT_EQ(output.size(), 300000u);
  EXPECT_EQ(std::count(output.begin(), output.end(), 'x'), 300000);
}

TEST(ProgramOutputTest, TakesArgumentsAsTheyAre) {
  const auto output = outputOf({"printf", "%s|", "with blank", "$HOME", ""}, kLong);

  ASSERT_TRUE(output);
  EXPECT_EQ(*output, "with blank|$HOME||");
}

TEST(ProgramOutputTest, LeavesOutErrorsAndTheExitStatus) {
  EXPECT_EQ(outputOfShell("echo out; echo wrong >&2; exit 3"), "out\n");
}

TEST(ProgramOutputTest, GivesTheProgramNoInput) {
  EXPECT_EQ(outputOfShell("cat"), "");
}

TEST(ProgramOutputTest, GivesTheProgramNoBlockedSignal) {
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  sigset_t before;
  ::pthread_sigmask(SIG_BLOCK, &terminate, &before);

  const std::string output = outputOfShell("kill -TERM $$; echo survived");

  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(output, "");
}

TEST(ProgramOutputTest, OfAProgramThatHangsIsAFailureAndTheProgramHasEnded) {
  constexpr std::chrono::milliseconds kShort{50};

  const auto output = outputOf({"sleep", "1000"}, kShort);

  EXPECT_FALSE(output);
  EXPECT_THAT(output.reason(), HasSubstr("sleep has not ended in time"));
  EXPECT_LT(::waitpid(-1, nullptr, WNOHANG), 0) << "there is a child still";
}

TEST(ProgramOutputTest, OfAProgramThatIsMissingIsAFailure) {
  const auto output = outputOf({"no-such-program"}, kLong);

  EXPECT_FALSE(output);
  EXPECT_THAT(output.reason(), HasSubstr("cannot start no-such-program"));
}

TEST(ProgramOutputTest, LeavesNoDescriptorOpen) {
  const auto lowestFree = [] { return base::Descriptor(::open("/dev/null", O_RDONLY)).number(); };
  const int before = lowestFree();

  outputOfShell("echo text");
  static_cast<void>(outputOf({"no-such-program"}, kLong));

  EXPECT_EQ(lowestFree(), before);
}

}  // namespace
