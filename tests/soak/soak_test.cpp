// A short run of the program soak. docs/chaos.md has a whole day.

#include <gmock/gmock.h>

#include "tests/processes/process.h"

namespace {

TEST(SoakTest, NothingGrowsInThreeSimulatedHoursWithAThousandSessions) {
  processes::Process::Options options;
  options.command = {SOAK_PATH, "--hours", "3", "--active", "4"};

  const processes::Finished finished = processes::run(options);

  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_THAT(finished.err, testing::HasSubstr("1000 sessions, "));
  EXPECT_THAT(finished.err, testing::HasSubstr(" 0 calls without success\n"));
}

TEST(SoakTest, WantsASessionForEachThread) {
  processes::Process::Options options;
  options.command = {SOAK_PATH, "--hours", "1", "--threads", "2", "--active", "1"};

  const processes::Finished finished = processes::run(options);

  EXPECT_EQ(finished.status, 1);
  EXPECT_THAT(finished.err, testing::StartsWith("soak: --active must be at least --threads"));
}

}  // namespace
