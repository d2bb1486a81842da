// The service dies and comes back.

#include <csignal>

#include <nlohmann/json.hpp>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace end_to_end {
namespace {

const char* const kVms[] = {"debian", "ubuntu", "win10", "win11"};
const std::string kGone = "the service has died\n";
const std::string kBack = "the service is back\n";

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

std::string ended(const std::string& vm) {
  return vm + ": session ended, the service has died (code 5)\n";
}

class RestartTest : public EndToEndTestWithService {
 protected:
  // Waits until a watch has written so many lines.
  static bool hasPrinted(const Process& watch, std::size_t lines) {
    return comesTrue([&watch, lines] { return occurrences(watch.out(), "\n") >= lines; });
  }
};

TEST_F(RestartTest, AWatchReportsEachDeathOncePerVmAndTheNextCallWorks) {
  Process watch(velctlOptions({"watch"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  constexpr std::size_t kDeaths = 2;
  constexpr std::size_t kLinesPerDeath = 1 + std::size(kVms) + 1;
  for (std::size_t death = 1; death <= kDeaths; ++death) {
    killVelsim();
    EXPECT_EQ(velctl({"vm", "connect", "win11"}).status, velctl::kExitNoService);
    ASSERT_NO_FATAL_FAILURE(startVelsim());
    ASSERT_TRUE(hasPrinted(watch, death * kLinesPerDeath)) << watch.out() << watch.err();
    EXPECT_EQ(velctl({"vm", "connect", "win11"}).out, "win11 connected\n");
  }
  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  for (const char* const vm : kVms) {
    EXPECT_EQ(occurrences(finished.out, ended(vm)), kDeaths) << finished.out;
  }
  EXPECT_EQ(occurrences(finished.out, kGone), kDeaths) << finished.out;
  EXPECT_EQ(occurrences(finished.out, kBack), kDeaths) << finished.out;
  EXPECT_EQ(occurrences(finished.out, "\n"), kDeaths * kLinesPerDeath) << finished.out;
}

TEST_F(RestartTest, AWatchReportsOnlyItsVmsWithOneObjectPerLineInJson) {
  Process watch(velctlOptions({"watch", "win11", "ubuntu", "win11", "--json"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  killVelsim();
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  ASSERT_TRUE(hasPrinted(watch, 4)) << watch.out() << watch.err();
  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  EXPECT_EQ(finished.out, R"({"event":"serviceGone"})"
                          "\n"
                          R"({"event":"sessionEnded","vm":"ubuntu","code":5})"
                          "\n"
                          R"({"event":"sessionEnded","vm":"win11","code":5})"
                          "\n"
                          R"({"event":"serviceBack","vms":["ubuntu","win11"]})"
                          "\n");
}

TEST_F(RestartTest, AServiceThatIsReplacedAtOnceHasDiedToo) {
  Process watch(velctlOptions({"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  EXPECT_EQ(stopVelsim(SIGTERM).status, 0);
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  ASSERT_TRUE(hasPrinted(watch, 3)) << watch.err();

  EXPECT_EQ(watch.end(SIGINT).out, kGone + ended("win11") + kBack);
}

TEST_F(RestartTest, TheBusMayEndAndComeBackAsWell) {
  Process watch(velctlOptions({"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  bus().kill();
  velsim()->wait();
  bus().start();
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  ASSERT_TRUE(hasPrinted(watch, 3)) << watch.err();

  EXPECT_EQ(watch.end(SIGINT).out, kGone + ended("win11") + kBack);
  EXPECT_EQ(velctl({"vm", "connect", "win11"}).out, "win11 connected\n");
}

TEST_F(RestartTest, AWatchReportsADeathAtOnceAndEndsWithSuccessWhileTheServiceIsAway) {
  Process watch(velctlOptions({"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  killVelsim();
  ASSERT_TRUE(hasPrinted(watch, 2)) << watch.out() << watch.err();

  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  EXPECT_EQ(finished.out, kGone + ended("win11"));
}

TEST_F(RestartTest, ANewServiceKnowsNothingOfTheOldOne) {
  EXPECT_EQ(velctl({"pipe", "add", "7", "--vm", "win11"}).status, velctl::kExitDone);
  killVelsim();
  ASSERT_NO_FATAL_FAILURE(startVelsim());

  EXPECT_EQ(velctl({"pipe", "remove", "7", "--vm", "win11"}).status, velctl::kExitRefused);
}

}  // namespace
}  // namespace end_to_end
