// velctl device diagnose: the answer, and the progress before and after the answer.

#include <csignal>
#include <cstdint>
#include <string>

#include "tests/velctl/process_test.h"
#include "tests/velctl/seen_lines.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;

constexpr int kDiagnosis = 9;
constexpr unsigned long long kSource = 0x0102030405060708;

class DiagnoseTest : public FakeServiceTest {
 protected:
  DiagnoseTest() { service().answer("diagnose", qxbus::Values{std::string("well")}); }

  void emitProgress(unsigned long long id, unsigned int status, const std::string& text) {
    service().emit(
        {std::int32_t{0}, std::int32_t{kDiagnosis}, diagnosisBlock(id, status, kVmNumber, text)});
  }

  std::vector<std::string> command(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"device", "diagnose", "--source", std::to_string(kSource),
                                          "--vm",   "win11"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
};

TEST_F(DiagnoseTest, ProgressIsShownBeforeTheAnswer) {
  service().hold("diagnose");
  Process diagnose(options(command({"--follow", "0", "--json"})));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; })) << diagnose.err();

  emitProgress(kSource, 1, "look\x1bing");
  EXPECT_TRUE(comesTrue([&] { return !seenLines(diagnose.out()).empty(); })) << diagnose.out();
  service().release();

  const Finished finished = diagnose.wait();
  EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
  const std::vector<std::string> lines = seenLines(finished.out);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], R"({"event":"diagnosis","code":9,"codeName":"diagnosis","vm":"win11",)"
                      R"("vmNumber":101,"id":"72623859790382856","device":null,"name":null,)"
                      R"("status":1,"statusName":"running","text":"look\u001bing"})");
  EXPECT_THAT(finished.out,
              ::testing::EndsWith(R"({"operation":"diagnose","vm":"win11","vmNumber":101,)"
                                  R"("source":"72623859790382856","text":"well"})"
                                  "\n"));
}

TEST_F(DiagnoseTest, ProgressIsFollowedAfterTheAnswerUntilItIsFinal) {
  // Much longer than it takes.
  Process diagnose(options(command({"--follow", "600", "--until", "100"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  emitProgress(kSource, 50, "half\x1b");
  emitProgress(kSource, 100, "all");

  const Finished finished = diagnose.wait();
  EXPECT_EQ(finished.status, velctl::kExitDone);
  EXPECT_EQ(finished.out, "well\n50: half\\x1b\n100: all\n");
}

TEST_F(DiagnoseTest, FinalProgressMayComeBeforeTheAnswer) {
  service().before("diagnose", [this] { emitProgress(kSource, 100, "all"); });
  service().hold("diagnose");
  Process diagnose(options(command({"--follow", "600", "--until", "100"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "100: all\n"; })) << diagnose.err();

  service().release();

  EXPECT_EQ(diagnose.wait().out, "100: all\nwell\n");
}

TEST_F(DiagnoseTest, ProgressOfOtherDiagnosesIsLeftOut) {
  Process diagnose(options(command({"--follow", "600", "--until", "100"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  emitProgress(kSource + 1, 100, "other");
  emitProgress(kSource, 100, "all");

  EXPECT_EQ(diagnose.wait().out, "well\n100: all\n");
}

TEST_F(DiagnoseTest, ProgressThatNeverBecomesFinalIsAnError) {
  const Finished finished = velctl(command({"--follow", "0", "--until", "100"}));

  EXPECT_EQ(finished.status, velctl::kExitNoReply);
  EXPECT_EQ(finished.out, "well\n");
  EXPECT_THAT(
      finished.err,
      HasSubstr("velctl: diagnose 72623859790382856 for \"win11\": no progress with status 100 "
                "within 0 s of the answer; --follow waits longer\n"));
}

TEST_F(DiagnoseTest, ADeviceIsKnownByItsNumber) {
  service().answer("diagnoseDevice", qxbus::Values{std::string("fine")});
  Process diagnose(options("device diagnose 12 --vm win11 --follow 600 --until 100"));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "fine\n"; })) << diagnose.err();

  emitProgress(12, 100, "all");

  EXPECT_EQ(diagnose.wait().out, "fine\n100: all\n");
}

TEST_F(DiagnoseTest, FollowingCanBeInterrupted) {
  Process diagnose(options(command({"--follow", "600"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  EXPECT_EQ(diagnose.end(SIGINT).status, 128 + SIGINT);
}

TEST_F(DiagnoseTest, AStatusHasAMeaningAndMayBeNamedByIt) {
  Process diagnose(options(command({"--follow", "600", "--until", "fine"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  emitProgress(kSource, 1, "looking");
  emitProgress(kSource, 0, "found nothing");

  EXPECT_EQ(diagnose.wait().out, "well\nrunning (1): looking\nfine (0): found nothing\n");
}

TEST_F(DiagnoseTest, ATimeoutEndsItWhileItWaitsAndWhileItFollows) {
  const Finished following = processes::endedInItsMidst(
      [this](const std::string& seconds) {
        return velctl(command({"--follow", "600", "--timeout", seconds}));
      },
      [](const Finished& finished) { return !finished.out.empty(); });
  service().hold("diagnose");
  const Finished waiting = velctl(command({"--timeout", "0.2"}));

  EXPECT_EQ(following.out, "well\n");
  for (const Finished& finished : {following, waiting}) {
    EXPECT_EQ(finished.status, velctl::kExitNoReply);
    EXPECT_THAT(finished.err, HasSubstr(": not done within the time of --timeout\n"));
  }
}

TEST_F(DiagnoseTest, NeedsAVmAndOneDevice) {
  for (const char* const line :
       {"device diagnose 12", "device diagnose 12 --vm ''", "device diagnose --vm win11",
        "device diagnose 12 --source 7 --vm win11", "device diagnose 12 --vm win11 --until good"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(velctl(line).status, velctl::kExitUsage);
  }
  EXPECT_TRUE(service().requests().empty());
}

TEST_F(DiagnoseTest, FailsWhenItsProgressCannotBeWritten) {
  service().before("diagnose", [this] { emitProgress(kSource, 1, "x"); });
  Process::Options closed = options(command());
  closed.isOutClosed = true;

  EXPECT_EQ(run(closed).status, velctl::kExitOutputLost);
}

}  // namespace
}  // namespace velctl_tests
