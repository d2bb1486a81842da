// velctl diagnose: the answer, and the progress before and after the answer.

#include <csignal>
#include <cstdint>
#include <string>

#include "tests/velctl/process_test.h"

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
    std::vector<std::string> arguments = {"diagnose", "source", std::to_string(kSource), "--vm",
                                          "win11"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
};

TEST_F(DiagnoseTest, ProgressIsShownBeforeTheAnswer) {
  service().hold("diagnose");
  Process diagnose(options(command({"--follow", "0", "--json"})));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; })) << diagnose.err();

  emitProgress(kSource, 1, "look\x1bing");
  const std::string progress =
      R"({"event":"diagnosis","vm":"win11","id":72623859790382856,"status":1,)"
      R"("text":"look\u001bing"})"
      "\n";
  EXPECT_TRUE(comesTrue([&] { return diagnose.out() == progress; })) << diagnose.out();
  service().release();

  const Finished finished = diagnose.wait();
  EXPECT_EQ(finished.status, velctl::kExitOk) << finished.err;
  EXPECT_EQ(finished.out, progress + R"({"operation":"diagnose","vm":"win11","number":101,)"
                                     R"("source":72623859790382856,"text":"well"})"
                                     "\n");
}

TEST_F(DiagnoseTest, ProgressIsFollowedAfterTheAnswerUntilItIsFinal) {
  // Much longer than it takes.
  Process diagnose(options(command({"--follow", "600", "--until", "100"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  emitProgress(kSource, 50, "half\x1b");
  emitProgress(kSource, 100, "all");

  const Finished finished = diagnose.wait();
  EXPECT_EQ(finished.status, velctl::kExitOk);
  EXPECT_EQ(finished.out, "well\nstatus 50: half\\x1b\nstatus 100: all\n");
}

TEST_F(DiagnoseTest, FinalProgressMayComeBeforeTheAnswer) {
  service().before("diagnose", [this] { emitProgress(kSource, 100, "all"); });
  service().hold("diagnose");
  Process diagnose(options(command({"--follow", "600", "--until", "100"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "status 100: all\n"; })) << diagnose.err();

  service().release();

  EXPECT_EQ(diagnose.wait().out, "status 100: all\nwell\n");
}

TEST_F(DiagnoseTest, ProgressOfOtherDiagnosesIsLeftOut) {
  Process diagnose(options(command({"--follow", "600", "--until", "100"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  emitProgress(kSource + 1, 100, "other");
  emitProgress(kSource, 100, "all");

  EXPECT_EQ(diagnose.wait().out, "well\nstatus 100: all\n");
}

TEST_F(DiagnoseTest, ProgressThatNeverBecomesFinalIsAnError) {
  const Finished finished = velctl(command({"--follow", "0", "--until", "100"}));

  EXPECT_EQ(finished.status, velctl::kExitNoAnswer);
  EXPECT_EQ(finished.out, "well\n");
  EXPECT_THAT(finished.err, HasSubstr("velctl: diagnose for \"win11\": no progress with status 100 "
                                      "within 0 s of the answer; --follow waits longer\n"));
}

TEST_F(DiagnoseTest, ADeviceIsKnownByItsNumber) {
  service().answer("diagnoseDevice", qxbus::Values{std::string("fine")});
  Process diagnose(options("diagnose device 12 --vm win11 --follow 600 --until 100"));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "fine\n"; })) << diagnose.err();

  emitProgress(12, 100, "all");

  EXPECT_EQ(diagnose.wait().out, "fine\nstatus 100: all\n");
}

TEST_F(DiagnoseTest, FollowingCanBeInterrupted) {
  Process diagnose(options(command({"--follow", "600"})));
  ASSERT_TRUE(comesTrue([&] { return diagnose.out() == "well\n"; })) << diagnose.err();

  EXPECT_EQ(diagnose.end(SIGINT).status, 128 + SIGINT);
}

TEST_F(DiagnoseTest, FailsWhenItsProgressCannotBeWritten) {
  service().before("diagnose", [this] { emitProgress(kSource, 1, "x"); });
  Process::Options closed = options(command());
  closed.isOutClosed = true;

  EXPECT_EQ(run(closed).status, velctl::kExitOutputFailed);
}

}  // namespace
}  // namespace velctl_tests
