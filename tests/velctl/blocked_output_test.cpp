// Commands whose output is blocked.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "tests/processes/output_pipe.h"
#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

using processes::OutputPipe;

// Seconds that a program needs to end, with room for a busy machine.
constexpr std::chrono::seconds kPromptly{15};

// Less than a queue of events takes.
constexpr int kAtOnce = 500;

class BlockedOutputTest : public FakeServiceTest {
 protected:
  Process::Options intoPipe(const std::string& line) const {
    Process::Options into = options(line);
    into.out = output.writeEnd();
    return into;
  }

  static qxbus::Values printerEvent(int number) {
    return {std::int32_t{0}, std::int32_t{1}, printerBlock(number, 0, 0, "Laser")};
  }
  static std::string printerLine(int number) {
    return "printer     printer changed (1): " + std::to_string(number) + " \"Laser\", gone (0)\n";
  }
  // Events 0 to count - 1.
  void emitPrinters(int count) {
    for (int number = 0; number < count; ++number) {
      service().emit(printerEvent(number));
    }
  }

  // Whether the output has this text, within a time that is long enough.
  bool prints(const std::string& text) {
    return comesTrue([&] {
      read_ += output.read();
      return read_.find(text) != std::string::npos;
    });
  }

  static Finished endPromptly(Process& process, int signalNumber) {
    const auto begin = std::chrono::steady_clock::now();
    const Finished finished = process.end(signalNumber);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kPromptly);
    return finished;
  }

  OutputPipe output;
  std::string read_;
};

// The bus may bring the events to a blocked watch a little later than to the witness, so the signal
// may come before them.
TEST_F(BlockedOutputTest, AWatchEndsOnASignalAndReportsTheEventsThatItHasNotWritten) {
  constexpr int kMostTries = 10;
  for (const int signalNumber : {SIGTERM, SIGINT}) {
    bool isReported = false;
    for (int i = 0; i < kMostTries && !isReported; ++i) {
      Process watch(intoPipe("watch"));
      Process witness(options("watch"));
      ASSERT_TRUE(isWatching(watch) && isWatching(witness)) << watch.err();
      output.fill();
      emitPrinters(3);
      ASSERT_TRUE(
          comesTrue([&] { return witness.out().find(printerLine(2)) != std::string::npos; }));

      const Finished finished = endPromptly(watch, signalNumber);

      EXPECT_EQ(finished.status, velctl::kExitDone);
      isReported =
          finished.err.find(" dropped: standard output was blocked\n") != std::string::npos;
      output.read();
    }
    EXPECT_TRUE(isReported) << "signal " << signalNumber;
  }
}

TEST_F(BlockedOutputTest, AWatchEndsOnASignalAlsoWhenItsMessagesAreBlocked) {
  Process::Options both = intoPipe("watch");
  both.err = output.writeEnd();
  Process watch(both);
  ASSERT_TRUE(prints("velctl: watching "));
  output.fill();
  emitPrinters(3);

  EXPECT_EQ(endPromptly(watch, SIGTERM).status, velctl::kExitDone);
}

// A program that shares the output may have made it non-blocking.
TEST_F(BlockedOutputTest, AWatchWaitsForAnOutputThatDoesNotBlock) {
  for (const bool isRead : {true, false}) {
    SCOPED_TRACE(isRead);
    Process watch(intoPipe("watch"));
    Process witness(options("watch"));
    ASSERT_TRUE(isWatching(watch) && isWatching(witness)) << watch.err();
    output.fill();
    output.setBlocking(false);
    emitPrinters(3);
    ASSERT_TRUE(comesTrue([&] { return witness.out().find(printerLine(2)) != std::string::npos; }));

    if (isRead) {
      EXPECT_TRUE(prints(printerLine(2))) << watch.err();
    }

    EXPECT_EQ(endPromptly(watch, SIGTERM).status, velctl::kExitDone);
    output.read();
  }
}

// The sum of the numbers in notes such as "velctl: 12 events dropped: ...". There may be several:
// each stands before the next line that is written.
long dropped(const std::string& notes, const std::string& what) {
  const std::regex note("velctl: ([0-9]+) " + what + "s? dropped: standard output was blocked\n");
  long sum = 0;
  for (std::sregex_iterator match(notes.begin(), notes.end(), note), end; match != end; ++match) {
    sum += std::stol((*match)[1]);
  }
  return sum;
}

TEST_F(BlockedOutputTest, EventsThatDoNotFitInTheQueueAreCountedAndReported) {
  constexpr int kEvents = 3000;
  Process watch(intoPipe("watch"));
  Process witness(options("watch"));
  ASSERT_TRUE(isWatching(watch) && isWatching(witness)) << watch.err();
  output.fill();
  // As many at once as the queue of the witness takes. It has as many events as the watch that is
  // blocked, or nearly so.
  for (int number = 0; number < kEvents; ++number) {
    service().emit(printerEvent(number));
    const bool isPause = number % kAtOnce == kAtOnce - 1;
    ASSERT_TRUE(!isPause || comesTrue([&] {
      return witness.out().find(printerLine(number)) != std::string::npos;
    }));
  }

  // The line behind the gap comes with the report of the gap. The queue of a slow watch may be full
  // again when the event arrives, which is then one more in the gap.
  ASSERT_TRUE(prints(printerLine(0)));
  int sent = kEvents;
  ASSERT_TRUE(comesTrue([&] {
    service().emit(printerEvent(sent++));
    read_ += output.read();
    for (int number = kEvents; number < sent; ++number) {
      if (read_.find(printerLine(number)) != std::string::npos) {
        return true;
      }
    }
    return false;
  }));

  const std::string firstLine = printerLine(0);
  const auto shown = [&] {
    read_ += output.read();
    const auto first = static_cast<std::ptrdiff_t>(read_.find(firstLine));
    return std::count(read_.begin() + first, read_.end(), '\n');
  };
  EXPECT_LT(shown(), kEvents);
  EXPECT_TRUE(comesTrue([&] { return dropped(watch.err(), "event") + shown() == sent; }))
      << watch.err();
  EXPECT_EQ(watch.end(SIGINT).status, velctl::kExitDone);
}

TEST_F(BlockedOutputTest, ProgressOfADiagnosisThatDoesNotFitInTheQueueIsReported) {
  constexpr int kReports = 2000;
  service().answer("diagnose", qxbus::Values{std::string("well")});
  service().hold("diagnose");
  const auto emitProgress = [this](int status) {
    service().emit({std::int32_t{0}, std::int32_t{9},
                    diagnosisBlock(7, static_cast<unsigned int>(status), 0, "step")});
  };
  const auto begun = [this](std::size_t before) {
    return comesTrue([&] {
      const std::vector<std::string> requests = service().requests();
      return requests.size() > before && requests.back().find("diagnose(") == 0;
    });
  };

  // The answer has ten seconds, which a busy machine may need for the reports before it.
  constexpr std::chrono::seconds kInTime{5};
  constexpr int kMostTries = 5;
  std::unique_ptr<Process> diagnose;
  for (int count = 1; !diagnose; ++count) {
    Process witness(options("watch"));
    ASSERT_TRUE(isWatching(witness)) << witness.err();
    const std::size_t before = service().requests().size();
    const auto start = std::chrono::steady_clock::now();
    diagnose = std::make_unique<Process>(
        intoPipe("device diagnose --source 7 --vm win11 --follow 600 --until 2001"));
    ASSERT_TRUE(begun(before)) << diagnose->err();
    output.fill();
    // The diagnosis has as many reports as the watch, or nearly so.
    for (int status = 1; status <= kReports; ++status) {
      emitProgress(status);
      const std::string shown = ": id 7, " + (status == 1 ? "running (1)" : std::to_string(status));
      const bool isPause = status % kAtOnce == 0;
      ASSERT_TRUE(!isPause ||
                  comesTrue([&] { return witness.out().find(shown + ':') != std::string::npos; }));
    }
    if (std::chrono::steady_clock::now() - start > kInTime && count < kMostTries) {
      diagnose->end(SIGTERM);
      diagnose.reset();
      output.read();
    }
  }

  ASSERT_TRUE(prints("running (1): step\n"));
  service().release();
  ASSERT_TRUE(prints("well\n"));
  // Ends the diagnosis, behind all other reports.
  emitProgress(kReports + 1);
  ASSERT_TRUE(prints("2001: step\n"));

  const Finished finished = diagnose->wait();
  EXPECT_EQ(finished.status, velctl::kExitDone);
  const auto lines = std::count(read_.begin(), read_.end(), '\n');
  EXPECT_LT(lines, kReports);
  // All lines but the answer are reports.
  EXPECT_EQ(lines - 1 + dropped(finished.err, "progress report"), kReports + 1) << finished.err;
}

TEST_F(BlockedOutputTest, AJoystickWatchEndsItsSubscriptionAllTheSame) {
  Process watch(intoPipe("joystick watch"));
  ASSERT_TRUE(prints("subscribed to joystick results; interrupt to end\n"));
  output.fill();
  stopService();
  startService();
  // It subscribes again, and its line about that is blocked.
  ASSERT_TRUE(comesTrue([&] { return !service().requests().empty(); }));

  EXPECT_EQ(endPromptly(watch, SIGTERM).status, velctl::kExitDone);
  EXPECT_THAT(service().requests(),
              testing::ElementsAre(testing::StartsWith("registerJoystickCallback("),
                                   testing::StartsWith("unregisterJoystickCallback(")));
}

}  // namespace
}  // namespace velctl_tests
