// The service dies and comes back.

#include <csignal>

#include <nlohmann/json.hpp>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace end_to_end {
namespace {

using processes::withoutWatchTimes;

const std::string kAllVms = "debian, ubuntu, win10, win11";

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

std::string goneAndBack(const std::string& vms) {
  return "service     the service is gone, and with it the sessions of " + vms +
         "\nservice     the service is there, with the VMs " + vms + "\n";
}

class RestartTest : public EndToEndTestWithService {
 protected:
  // Waits until a watch has written so many lines.
  static bool hasPrinted(const Process& watch, std::size_t lines) {
    return comesTrue([&watch, lines] { return occurrences(watch.out(), "\n") >= lines; });
  }
};

TEST_F(RestartTest, AWatchReportsEachDeathOnceWithItsVmsAndTheNextCallWorks) {
  Process watch(velctlOptions({"watch"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  constexpr std::size_t kDeaths = 2;
  constexpr std::size_t kLinesPerDeath = 2;
  for (std::size_t death = 1; death <= kDeaths; ++death) {
    killVelsim();
    EXPECT_EQ(velctl({"vm", "connect", "win11"}).status, velctl::kExitNoService);
    ASSERT_NO_FATAL_FAILURE(startVelsim());
    ASSERT_TRUE(hasPrinted(watch, death * kLinesPerDeath)) << watch.out() << watch.err();
    EXPECT_EQ(velctl({"vm", "connect", "win11"}).out, "win11 connected\n");
  }
  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  EXPECT_EQ(withoutWatchTimes(finished.out), goneAndBack(kAllVms) + goneAndBack(kAllVms));
}

TEST_F(RestartTest, AWatchReportsOnlyItsVmsWithOneObjectPerLineInJson) {
  Process watch(velctlOptions({"watch", "win11", "ubuntu", "win11", "--json"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  killVelsim();
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  ASSERT_TRUE(hasPrinted(watch, 2)) << watch.out() << watch.err();
  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  EXPECT_EQ(withoutWatchTimes(finished.out),
            R"({"event":"service","state":"gone","vms":["ubuntu","win11"],"reason":null})"
            "\n"
            R"({"event":"service","state":"back","vms":["ubuntu","win11"],"reason":null})"
            "\n");
}

TEST_F(RestartTest, AServiceThatIsReplacedAtOnceHasDiedToo) {
  Process watch(velctlOptions({"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  EXPECT_EQ(stopVelsim(SIGTERM).status, 0);
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  ASSERT_TRUE(hasPrinted(watch, 2)) << watch.err();

  EXPECT_EQ(withoutWatchTimes(watch.end(SIGINT).out), goneAndBack("win11"));
}

TEST_F(RestartTest, TheBusMayEndAndComeBackAsWell) {
  Process watch(velctlOptions({"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  bus().kill();
  velsim()->wait();
  bus().start();
  ASSERT_NO_FATAL_FAILURE(startVelsim());
  ASSERT_TRUE(hasPrinted(watch, 2)) << watch.err();

  EXPECT_EQ(withoutWatchTimes(watch.end(SIGINT).out), goneAndBack("win11"));
  EXPECT_EQ(velctl({"vm", "connect", "win11"}).out, "win11 connected\n");
}

TEST_F(RestartTest, AWatchReportsADeathAtOnceAndEndsWithSuccessWhileTheServiceIsAway) {
  Process watch(velctlOptions({"watch", "win11"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  killVelsim();
  ASSERT_TRUE(hasPrinted(watch, 1)) << watch.out() << watch.err();

  const Finished finished = watch.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  EXPECT_EQ(withoutWatchTimes(finished.out),
            "service     the service is gone, and with it the sessions of win11\n");
}

TEST_F(RestartTest, ANewServiceKnowsNothingOfTheOldOne) {
  EXPECT_EQ(velctl({"pipe", "add", "7", "--vm", "win11"}).status, velctl::kExitDone);
  killVelsim();
  ASSERT_NO_FATAL_FAILURE(startVelsim());

  EXPECT_EQ(velctl({"pipe", "remove", "7", "--vm", "win11"}).status, velctl::kExitRefused);
}

}  // namespace
}  // namespace end_to_end
