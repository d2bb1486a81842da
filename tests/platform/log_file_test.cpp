// The files of the log, and several processes that share them. Where only the files matter, a
// second LogFile stands for another process.

#include "platform/log_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/log_test.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr std::size_t kFullSize = std::size_t{5} * 1024 * 1024;

class LogFileTest : public LogTest {
 protected:
  platform::LogFile open() {
    auto file = platform::LogFile::open(directory.path().string());
    EXPECT_TRUE(file) << file.reason();
    return std::move(*file);
  }
  static void write(platform::LogFile& file, const std::string& line) {
    file.append(line + '\n');
    file.flush();
  }
  static std::string lineThatFills() { return std::string(kFullSize, 'x'); }

  // The lines of all files, the oldest first.
  std::vector<std::string> allLines() const {
    std::vector<std::string> lines;
    for (const char* const name :
         {"velproxy.3.log", "velproxy.2.log", "velproxy.1.log", "velproxy.log"}) {
      for (std::string& line : linesOf(directory / name)) {
        lines.push_back(std::move(line));
      }
    }
    return lines;
  }

  TemporaryDirectory directory;
};

// --- Buffering ----------------------------------------------------------------------------------

TEST_F(LogFileTest, LinesAreWrittenTogether) {
  platform::LogFile file = open();
  file.append("one\n");
  file.append("two\n");
  EXPECT_THAT(allLines(), IsEmpty());

  file.flush();

  EXPECT_THAT(allLines(), ElementsAre("one", "two"));
}

TEST_F(LogFileTest, LinesAreWrittenWholeBeforeTheyAreMany) {
  platform::LogFile file = open();
  for (int i = 0; i < 100; ++i) {
    file.append(std::string(99, 'x') + '\n');
  }

  EXPECT_THAT(allLines(), SizeIs(testing::AllOf(testing::Gt(50u), testing::Lt(100u))));
  EXPECT_THAT(allLines(), testing::Each(SizeIs(99)));
}

TEST_F(LogFileTest, ExitWritesTheLines) {
  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    log(kDebug, "debug text");
  });

  EXPECT_THAT(allLines(), ElementsAre(EndsWith("debug text")));
}

// Functions that are registered before the log is opened run after it has written its lines.
TEST_F(LogFileTest, LinesOfALateFunctionAtExitAreWritten) {
  standardErrorOf([this] {
    std::atexit([] { log(kDebug, "late text"); });
    pellamLogInit(directory.path().c_str());
    log(kDebug, "debug text");
  });

  EXPECT_THAT(allLines(), ElementsAre(EndsWith("debug text"), EndsWith("late text")));
}

TEST_F(LogFileTest, LinesAreWrittenBeforeAnotherDirectoryReplacesTheFirst) {
  const TemporaryDirectory other;

  standardErrorOf([&] {
    pellamLogInit(directory.path().c_str());
    log(kDebug, "debug text");
    pellamLogInit(other.path().c_str());
    log(kDebug, "next text");
  });

  EXPECT_THAT(allLines(), ElementsAre(EndsWith("debug text")));
  EXPECT_THAT(linesOf(other / "velproxy.log"), ElementsAre(EndsWith("next text")));
}

TEST_F(LogFileTest, AForkedProcessDoesNotWriteItsParentsLines) {
  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    log(kDebug, "of the parent");
    const pid_t child = ::fork();
    if (child == 0) {
      log(kDebug, "of the child");
      std::exit(0);
    }
    ::waitpid(child, nullptr, 0);
  });

  EXPECT_THAT(allLines(), ElementsAre(EndsWith("of the child"), EndsWith("of the parent")));
}

// --- Full files ---------------------------------------------------------------------------------

TEST_F(LogFileTest, AFullFileIsReplacedByTheNextLine) {
  platform::LogFile file = open();

  write(file, lineThatFills());
  EXPECT_FALSE(fs::exists(directory / "velproxy.1.log"));
  write(file, "next");

  EXPECT_THAT(linesOf(directory / "velproxy.1.log"), ElementsAre(SizeIs(kFullSize)));
  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("next"));
}

TEST_F(LogFileTest, AFileOfExactlyTheFullSizeIsReplaced) {
  platform::LogFile file = open();

  write(file, std::string(kFullSize - 1, 'x'));
  write(file, "next");

  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("next"));
}

TEST_F(LogFileTest, AFileThatIsNotQuiteFullStays) {
  platform::LogFile file = open();

  // One byte less, with the newline.
  write(file, std::string(kFullSize - 2, 'x'));
  write(file, "next");

  EXPECT_FALSE(fs::exists(directory / "velproxy.1.log"));
}

TEST_F(LogFileTest, ThreeOlderFilesAreKept) {
  platform::LogFile file = open();
  for (const char* const name : {"a", "b", "c", "d", "e"}) {
    write(file, name + lineThatFills());
  }

  EXPECT_EQ(contentOf(directory / "velproxy.3.log")[0], 'b');
  EXPECT_EQ(contentOf(directory / "velproxy.2.log")[0], 'c');
  EXPECT_EQ(contentOf(directory / "velproxy.1.log")[0], 'd');
  EXPECT_EQ(contentOf(directory / "velproxy.log")[0], 'e');
  EXPECT_FALSE(fs::exists(directory / "velproxy.4.log"));
}

TEST_F(LogFileTest, AFileThatWasFullBeforeIsReplaced) {
  std::ofstream(directory / "velproxy.log") << lineThatFills() << '\n';
  platform::LogFile file = open();

  write(file, "one");
  write(file, "two");

  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, AFullFileThatCannotBeReplacedGrows) {
  platform::LogFile file = open();
  fs::create_directories(directory / "velproxy.3.log" / "kept");
  std::ofstream(directory / "velproxy.2.log") << "older";

  write(file, lineThatFills());
  write(file, "one");
  EXPECT_THAT(linesOf(directory / "velproxy.log"), SizeIs(2));

  fs::remove_all(directory / "velproxy.3.log");
  write(file, "two");
  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("two"));
}

TEST_F(LogFileTest, AFileThatOneProcessCannotReplaceIsReplacedByAnother) {
  platform::LogFile file = open();
  fs::create_directories(directory / "velproxy.3.log" / "kept");
  std::ofstream(directory / "velproxy.2.log") << "older";
  write(file, lineThatFills());
  write(file, "one");
  // Not by its lines: closing a file would unlock it.
  ASSERT_GT(fs::file_size(directory / "velproxy.log"), kFullSize + 1);
  fs::remove_all(directory / "velproxy.3.log");

  const pid_t other = ::fork();
  if (other == 0) {
    platform::LogFile itsFile = open();
    write(itsFile, "two");
    write(itsFile, "three");
    ::_exit(0);
  }
  ::waitpid(other, nullptr, 0);

  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("three"));
}

TEST_F(LogFileTest, ARelativeDirectoryStaysWhenTheProcessGoesElsewhere) {
  standardErrorOf([this] {
    fs::create_directory(directory / "elsewhere");
    fs::current_path(directory.path());
    pellamLogInit("data");
    fs::current_path(directory / "elsewhere");
    log(kError, lineThatFills());
    log(kError, "next");
  });

  EXPECT_THAT(linesOf(directory / "data" / "velproxy.log"), ElementsAre(EndsWith("next")));
}

// --- Other processes ----------------------------------------------------------------------------

TEST_F(LogFileTest, AFileThatAnotherProcessHasReplacedIsClosed) {
  platform::LogFile one = open();
  platform::LogFile other = open();
  write(other, lineThatFills());
  write(other, "of the other");

  write(one, "to the full file");
  write(one, "to the new file");

  EXPECT_THAT(linesOf(directory / "velproxy.1.log"),
              ElementsAre(SizeIs(kFullSize), "to the full file"));
  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("of the other", "to the new file"));
  EXPECT_FALSE(fs::exists(directory / "velproxy.2.log"));
}

TEST_F(LogFileTest, ALineForAFileThatWasRemovedGoesToTheNewest) {
  platform::LogFile slow = open();
  write(slow, "early");
  platform::LogFile fast = open();
  for (int i = 0; i < 6; ++i) {
    write(fast, lineThatFills());
  }
  ASSERT_THAT(allLines(), Not(testing::Contains("early")));

  write(slow, "late");

  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre(SizeIs(kFullSize), "late"));
}

TEST_F(LogFileTest, ARemovedFileIsCreatedAgain) {
  platform::LogFile file = open();
  write(file, "early");
  fs::remove(directory / "velproxy.log");

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!fs::exists(directory / "velproxy.log") && std::chrono::steady_clock::now() < deadline) {
    write(file, "late");
    ::usleep(20000);
  }

  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("late"));
}

TEST_F(LogFileTest, ARemovedDirectoryIsNotCreatedAgain) {
  platform::LogFile file = open();
  fs::remove_all(directory.path());

  write(file, "line");

  EXPECT_FALSE(fs::exists(directory.path()));
}

TEST_F(LogFileTest, LinesDoNotWaitWhileAnotherProcessReplacesTheFile) {
  platform::LogFile file = open();
  write(file, lineThatFills());
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t other = ::fork();
  if (other == 0) {
    const int descriptor = ::open((directory / "velproxy.log").c_str(), O_WRONLY);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const char isLocked = ::fcntl(descriptor, F_SETLK, &lock) == 0 ? 'y' : 'n';
    [[maybe_unused]] const ssize_t written = ::write(ready[1], &isLocked, 1);
    ::pause();
    ::_exit(0);
  }
  char isLocked = 'n';
  ASSERT_EQ(::read(ready[0], &isLocked, 1), 1);
  ASSERT_EQ(isLocked, 'y');

  write(file, "meanwhile");
  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre(SizeIs(kFullSize), "meanwhile"));

  ::kill(other, SIGKILL);
  ::waitpid(other, nullptr, 0);
  ::close(ready[0]);
  ::close(ready[1]);
  write(file, "afterwards");
  EXPECT_THAT(linesOf(directory / "velproxy.log"), ElementsAre("afterwards"));
}

TEST_F(LogFileTest, EightProcessesLoseNoLine) {
  constexpr int kProcesses = 8;
  constexpr int kLines = 2000;
  const std::string filling(900, 'x');
  std::vector<pid_t> processes;
  for (int process = 0; process < kProcesses; ++process) {
    processes.push_back(::fork());
    if (processes.back() == 0) {
      ::unsetenv("QX_LOG_LEVEL");
      pellamLogInit(directory.path().c_str());
      for (int line = 0; line < kLines; ++line) {
        norvoLogPrint(0, line % 10 == 0 ? kError : kDebug, "VEL_LOG", "%s %d %d", filling.c_str(),
                      process, line);
      }
      std::exit(0);
    }
  }
  for (const pid_t process : processes) {
    int status = -1;
    ::waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
  }

  // Enough lines for a third file, and too few for a fifth.
  EXPECT_TRUE(fs::exists(directory / "velproxy.2.log"));
  const std::vector<std::string> lines = allLines();
  EXPECT_THAT(lines, SizeIs(kProcesses * kLines));
  std::map<int, int> next;
  for (const std::string& line : lines) {
    const std::size_t numbers = line.rfind(filling + ' ');
    ASSERT_NE(numbers, std::string::npos) << line;
    int process = -1;
    int number = -1;
    ASSERT_EQ(std::sscanf(line.c_str() + numbers + filling.size(), "%d %d", &process, &number), 2);
    ASSERT_EQ(next[process]++, number) << "of process " << process;
  }
}

// --- Control characters -------------------------------------------------------------------------

TEST_F(LogFileTest, ANameCannotForgeALine) {
  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    norvoLogPrint(0, kError, "VEL_LOG", "device \"%s\" gone",
                  "camera\n2026-01-01 00:00:00.000 1 1 error [VEL_LOG] forged\x1B[2J");
  });

  EXPECT_THAT(allLines(), ElementsAre(EndsWith(
                              "[VEL_LOG] device \"camera\\x0a2026-01-01 00:00:00.000 1 1 error "
                              "[VEL_LOG] forged\\x1b[2J\" gone")));
}

TEST_F(LogFileTest, ADirectiveInANameIsText) {
  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    norvoLogPrint(0, kError, "VEL_LOG", "device \"%s\" gone", "%n%s%1$n{}");
  });

  EXPECT_THAT(allLines(), ElementsAre(EndsWith("[VEL_LOG] device \"%n%s%1$n{}\" gone")));
}

}  // namespace
