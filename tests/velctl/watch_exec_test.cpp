// velctl watch --exec: a command for each event.

#include <csignal>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/velctl/process_test.h"
#include "tests/velctl/seen_lines.h"

namespace velctl_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class WatchExecTest : public FakeServiceTest {
 protected:
  Process::Options watching(const std::string& command,
                            const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"watch", "--exec", command};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return options(arguments);
  }
  void emitPrinters(int count) {
    for (int number = 1; number <= count; ++number) {
      service().emit({std::int32_t{0}, std::int32_t{1}, printerBlock(number, 1, 0, "Laser")});
    }
  }
  std::string file(const std::string& name) const { return (directory() / name).string(); }
  std::filesystem::path directory() const { return bus_().directory(); }

 private:
  const processes::PrivateBus& bus_() const {
    return const_cast<WatchExecTest*>(this)->bus();  // NOLINT: only its directory is read
  }
};

std::string printerJsonLine(int number) {
  return R"({"event":"printer","code":1,"codeName":"printer changed","vm":null,"vmNumber":0,)"
         R"("printer":)" +
         std::to_string(number) + R"(,"status":1,"statusName":"available","name":"Laser"})";
}

TEST_F(WatchExecTest, TheCommandReadsTheEventAndWritesToTheStreamsOfTheWatch) {
  Process watch(watching("cat; echo heard >&2", {"--limit", "2"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  emitPrinters(2);

  const Finished finished = watch.wait();
  EXPECT_EQ(finished.status, velctl::kExitDone);
  EXPECT_THAT(seenLines(finished.out), ElementsAre(printerJsonLine(1), printerJsonLine(2)));
  EXPECT_THAT(finished.err, ::testing::EndsWith("interrupt to end\nheard\nheard\n"));
}

TEST_F(WatchExecTest, AHostileNameDoesNotReachTheTerminalRawThroughTheCommand) {
  Process watch(watching("cat", {"--once"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  service().emit({std::int32_t{0}, std::int32_t{1},
                  printerBlock(1, 1, 0, "a\xE2\x80\xAE\xC2\x9B\xE2\x80\x8B")});

  const std::string out = watch.wait().out;
  EXPECT_THAT(out, HasSubstr(R"("name":"a\u202e\u009b\u200b")"));
  EXPECT_THAT(out, Not(HasSubstr("\xE2")));
}

TEST_F(WatchExecTest, CommandsRunOneAfterTheOtherAndASlowOneLosesNoEvent) {
  // Ends only when the test has sent all events.
  const std::string gate = file("gate");
  Process watch(
      watching("while ! [ -e '" + gate + "' ]; do sleep 0.01; done; cat", {"--limit", "20"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  emitPrinters(20);
  std::ofstream(gate) << "open";

  const Finished finished = watch.wait();
  EXPECT_EQ(finished.status, velctl::kExitDone);
  const std::vector<std::string> lines = seenLines(finished.out);
  ASSERT_EQ(lines.size(), 20u);
  for (int number = 1; number <= 20; ++number) {
    EXPECT_EQ(lines[static_cast<std::size_t>(number - 1)], printerJsonLine(number));
  }
  EXPECT_THAT(finished.err, Not(HasSubstr("dropped")));
}

TEST_F(WatchExecTest, ACommandThatFailsIsNotedAndTheNextEventHasItsOwn) {
  struct Row {
    std::string command;
    std::string fault;
  };
  for (const Row& row : {Row{"exit 3", "has ended with exit status 3"},
                         Row{"kill -TERM $$", "was ended by signal 15"},
                         Row{"nosuchcommand 2> /dev/null", "has ended with exit status 127"}}) {
    SCOPED_TRACE(row.command);
    Process watch(watching(row.command, {"--limit", "2", "--quiet"}));
    ASSERT_TRUE(comesTrue([&] {
      emitPrinters(1);
      return watch.hasEnded();
    }));

    const Finished finished = watch.wait();
    EXPECT_EQ(finished.status, velctl::kExitDone);
    const std::string note = "velctl: the command \"" + row.command + "\" " + row.fault + '\n';
    EXPECT_EQ(finished.err, note + note);
  }
}

TEST_F(WatchExecTest, ACommandNeedNotReadItsInput) {
  // More than a pipe holds.
  Process watch(watching("true", {"--once"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  service().emit({std::int32_t{0}, std::int32_t{66}, bytesOf(std::string(200000, 'x'))});

  EXPECT_EQ(watch.wait().status, velctl::kExitDone);
}

TEST_F(WatchExecTest, ACommandReadsALargeEventWhole) {
  Process watch(watching("wc -c", {"--once"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  service().emit({std::int32_t{0}, std::int32_t{66}, bytesOf(std::string(200000, 'x'))});

  // In JSON as digits and as text.
  EXPECT_GT(std::stol(watch.wait().out), 600000L);
}

#if defined(__linux__)
TEST_F(WatchExecTest, ACommandInheritsNoDescriptorAndNoBlockedOrIgnoredSignal) {
  Process::Options ignoring = watching(
      "for each in /proc/$$/fd/*; do echo \"${each##*/} $(readlink \"$each\")\"; done; "
      "grep -E 'Sig(Blk|Ign)' /proc/self/status",
      {"--once", "--quiet"});
  Process watch(ignoring);
  ASSERT_TRUE(comesTrue([&] {
    emitPrinters(1);
    return watch.hasEnded();
  }));

  const std::string out = watch.wait().out;
  EXPECT_THAT(out, HasSubstr("SigBlk:\t0000000000000000\n"));
  const std::size_t at = out.find("SigIgn:\t");
  ASSERT_NE(at, std::string::npos) << out;
  const unsigned long long ignored = std::stoull(out.substr(at + 8, 16), nullptr, 16);
  for (const int number : {SIGINT, SIGTERM, SIGPIPE}) {
    EXPECT_EQ(ignored >> (number - 1) & 1U, 0U) << number;
  }
  EXPECT_THAT(out, Not(HasSubstr("socket:")));
  EXPECT_THAT(out, Not(HasSubstr("velproxy.log")));
}
#endif

TEST_F(WatchExecTest, AnInterruptEndsTheWatchWhileACommandRuns) {
  for (const int signalNumber : {SIGINT, SIGTERM}) {
    const std::string gate = file("gate" + std::to_string(signalNumber));
    // It ends also when the gate is gone again before it looks.
    Process watch(watching("echo running; while [ -d '" + file("") + "' ] && ! [ -e '" + gate +
                           "' ]; do sleep 0.01; done"));
    ASSERT_TRUE(isWatching(watch)) << watch.err();
    emitPrinters(3);
    ASSERT_EQ(watch.readLine(), "running");

    const Finished finished = watch.end(signalNumber);

    EXPECT_EQ(finished.status, velctl::kExitDone);
    // The command that runs is left to itself.
    std::ofstream(gate) << "open";
  }
}

TEST_F(WatchExecTest, EndsOfTheServiceAreEventsToo) {
  Process watch(watching("cat", {"--kind", "service", "--limit", "2"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  stopService();
  startService();

  EXPECT_THAT(seenLines(watch.wait().out),
              ElementsAre(R"({"event":"service","state":"gone","vms":["win11"],"reason":null})",
                          R"({"event":"service","state":"back","vms":["win11"],"reason":null})"));
}

}  // namespace
}  // namespace velctl_tests
