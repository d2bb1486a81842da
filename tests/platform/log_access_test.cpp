// Access to the log, and the directories and files that it refuses.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "tests/platform/log_test.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr uid_t kAnotherUser = 65534;
constexpr int kHighestDescriptor = 64;

// The descriptor of this process that has the file open.
std::optional<int> descriptorOf(const fs::path& file) {
  struct stat wanted = {};
  if (::stat(file.c_str(), &wanted) != 0) {
    return std::nullopt;
  }
  for (int descriptor = 0; descriptor < kHighestDescriptor; ++descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0 && status.st_dev == wanted.st_dev &&
        status.st_ino == wanted.st_ino) {
      return descriptor;
    }
  }
  return std::nullopt;
}

bool isOpenInAProgramThatIsExecuted(int descriptor) {
  const std::string command = "test -e /dev/fd/" + std::to_string(descriptor);
  return std::system(command.c_str()) == 0;
}

class LogAccessTest : public LogTest {
 protected:
  LogAccessTest() : umask_(::umask(022)) {}
  ~LogAccessTest() override { ::umask(umask_); }

  // Expects one line that names the directory and the reason, and behind it the error line.
  void expectRefusal(const fs::path& logDirectory, const std::string& reason) {
    const std::string written = standardErrorOf([&] {
      for (int i = 0; i < 3; ++i) {
        pellamLogInit(logDirectory.c_str());
      }
      log(kError, "error text");
    });

    EXPECT_EQ(written, "cannot log to " + logDirectory.string() + ": " + reason +
                           "; error lines appear here instead\n[VEL_LOG] error text\n");
  }

  TemporaryDirectory directory;

 private:
  mode_t umask_;
};

// --- Descriptors --------------------------------------------------------------------------------

TEST_F(LogAccessTest, AnExecutedProgramHasNoDescriptorOfTheLog) {
  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    log(kError, "error text");
    const auto descriptor = descriptorOf(directory / "velproxy.log");
    ASSERT_TRUE(descriptor);
    const int inherited = ::dup(*descriptor);
    ASSERT_TRUE(isOpenInAProgramThatIsExecuted(inherited));

    EXPECT_FALSE(isOpenInAProgramThatIsExecuted(*descriptor));
  });
}

TEST_F(LogAccessTest, AnExecutedProgramHasNoDescriptorOfANewFile) {
  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    while (!fs::exists(directory / "velproxy.1.log")) {
      log(kError, std::string(100000, 'x'));
    }
    const auto descriptor = descriptorOf(directory / "velproxy.log");
    ASSERT_TRUE(descriptor);

    EXPECT_FALSE(isOpenInAProgramThatIsExecuted(*descriptor));
  });
}

TEST_F(LogAccessTest, TheLogDoesNotTakeThePlaceOfAStandardStreamThatIsClosed) {
  standardErrorOf([this] {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      ::close(stream);
    }
    pellamLogInit(directory.path().c_str());
    log(kError, "error text");

    const auto descriptor = descriptorOf(directory / "velproxy.log");
    ASSERT_TRUE(descriptor);
    EXPECT_GT(*descriptor, STDERR_FILENO);
    EXPECT_FALSE(isOpenInAProgramThatIsExecuted(*descriptor));
  });
}

// --- Modes --------------------------------------------------------------------------------------

TEST_F(LogAccessTest, OnlyTheUserCanReadWhatIsCreated) {
  standardErrorOf([this] {
    ::umask(0);
    pellamLogInit((directory / "a" / "b").c_str());
    while (!fs::exists(directory / "a" / "b" / "velproxy.1.log")) {
      log(kError, std::string(100000, 'x'));
    }

    EXPECT_EQ(modeOf(directory / "a"), 0700);
    EXPECT_EQ(modeOf(directory / "a" / "b"), 0700);
    EXPECT_EQ(modeOf(directory / "a" / "b" / "velproxy.log"), 0600);
    EXPECT_EQ(modeOf(directory / "a" / "b" / "velproxy.1.log"), 0600);
  });
}

TEST_F(LogAccessTest, AFileThatOthersCouldReadGetsMode0600) {
  std::ofstream(directory / "velproxy.log") << "of an earlier version\n";
  ASSERT_EQ(modeOf(directory / "velproxy.log"), 0644);

  standardErrorOf([this] { pellamLogInit(directory.path().c_str()); });

  EXPECT_EQ(modeOf(directory / "velproxy.log"), 0600);
}

// --- Refusals -----------------------------------------------------------------------------------

TEST_F(LogAccessTest, ASymbolicLinkInPlaceOfTheFileIsRefused) {
  std::ofstream(directory / "victim") << "content";
  fs::create_symlink(directory / "victim", directory / "velproxy.log");

  expectRefusal(directory.path(), "velproxy.log: it is a symbolic link");

  EXPECT_EQ(contentOf(directory / "victim"), "content");
}

TEST_F(LogAccessTest, ASymbolicLinkThatLeadsNowhereIsRefused) {
  fs::create_symlink(directory / "victim", directory / "velproxy.log");

  expectRefusal(directory.path(), "velproxy.log: it is a symbolic link");

  EXPECT_FALSE(fs::exists(directory / "victim"));
}

TEST_F(LogAccessTest, ASymbolicLinkPlantedInPlaceOfAFullFileIsRefused) {
  const std::string written = standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    log(kError, std::string(6000000, 'x'));
    fs::rename(directory / "velproxy.log", directory / "moved");
    fs::create_symlink(directory / "victim", directory / "velproxy.log");
    log(kError, "error text");

    EXPECT_FALSE(fs::exists(directory / "victim"));
    EXPECT_THAT(contentOf(directory / "moved"), EndsWith("error text\n"));
  });

  EXPECT_EQ(written, "");
}

TEST_F(LogAccessTest, ASymbolicLinkInPlaceOfTheDirectoryIsRefused) {
  fs::create_directory(directory / "victim");
  fs::create_directory_symlink(directory / "victim", directory / "link");

  expectRefusal(directory / "link", "it is a symbolic link");

  EXPECT_TRUE(fs::is_empty(directory / "victim"));
}

TEST_F(LogAccessTest, ASlashBehindALinkDoesNotHideIt) {
  fs::create_directory(directory / "victim");
  fs::create_directory_symlink(directory / "victim", directory / "link");

  expectRefusal(directory / "link//", "it is a symbolic link");
}

TEST_F(LogAccessTest, ASymbolicLinkFurtherUpIsFollowed) {
  fs::create_directory(directory / "home");
  fs::create_directory_symlink(directory / "home", directory / "link");

  standardErrorOf([this] {
    pellamLogInit((directory / "link" / "data").c_str());
    log(kError, "error text");
  });

  EXPECT_THAT(contentOf(directory / "home" / "data" / "velproxy.log"), HasSubstr("error text"));
}

TEST_F(LogAccessTest, ADirectoryOfAnotherUserIsRefused) {
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::chown(directory.path().c_str(), kAnotherUser, static_cast<gid_t>(-1)), 0);
  }

  expectRefusal(isRoot ? directory.path() : fs::path("/"), "it belongs to another user");

  EXPECT_FALSE(fs::exists(directory / "velproxy.log"));
}

TEST_F(LogAccessTest, ADirectoryOfRootIsRefusedForOthers) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  // Even with a file that this user could write to.
  ASSERT_EQ(::chmod(directory.path().c_str(), 0755), 0);
  std::ofstream(directory / "velproxy.log") << "";
  ASSERT_EQ(::chown((directory / "velproxy.log").c_str(), kAnotherUser, kAnotherUser), 0);

  const std::string written = standardErrorOf([this] {
    ASSERT_EQ(::setuid(kAnotherUser), 0);
    pellamLogInit(directory.path().c_str());
    log(kError, "error text");
  });

  EXPECT_THAT(written, AllOf(StartsWith("cannot log to "), HasSubstr("belongs to another user")));
  EXPECT_EQ(contentOf(directory / "velproxy.log"), "");
}

TEST_F(LogAccessTest, AFileOfAnotherUserIsRefused) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  std::ofstream(directory / "velproxy.log") << "content";
  ASSERT_EQ(::chown((directory / "velproxy.log").c_str(), kAnotherUser, kAnotherUser), 0);

  expectRefusal(directory.path(), "velproxy.log: it belongs to another user");

  EXPECT_EQ(contentOf(directory / "velproxy.log"), "content");
}

TEST_F(LogAccessTest, ADirectoryThatAllCanWriteToIsRefused) {
  ASSERT_EQ(::chmod(directory.path().c_str(), 01777), 0);

  expectRefusal(directory.path(), "other users can write to it; chmod go-w would change that");
}

TEST_F(LogAccessTest, ADirectoryThatItsGroupCanWriteToIsRefused) {
  ASSERT_EQ(::chmod(directory.path().c_str(), 0770), 0);

  expectRefusal(directory.path(), "other users can write to it; chmod go-w would change that");
}

TEST_F(LogAccessTest, ADirectoryThatOthersCanReadIsUsed) {
  ASSERT_EQ(::chmod(directory.path().c_str(), 0755), 0);

  standardErrorOf([this] {
    pellamLogInit(directory.path().c_str());
    log(kError, "error text");
  });

  EXPECT_THAT(contentOf(directory / "velproxy.log"), HasSubstr("error text"));
}

TEST_F(LogAccessTest, AFifoIsRefusedAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo((directory / "velproxy.log").c_str(), 0600), 0);
  // Open for reading, so that it can be opened for writing.
  const int reader = ::open((directory / "velproxy.log").c_str(), O_RDONLY | O_NONBLOCK);

  expectRefusal(directory.path(), "velproxy.log: it is no regular file");

  ::close(reader);
}

TEST_F(LogAccessTest, ADirectoryIsUsedOnceItIsNoLongerRefused) {
  const std::string written = standardErrorOf([this] {
    ::chmod(directory.path().c_str(), 0770);
    pellamLogInit(directory.path().c_str());
    ::chmod(directory.path().c_str(), 0700);
    pellamLogInit(directory.path().c_str());
    log(kError, "error text");
  });

  EXPECT_EQ(written.find("error text"), std::string::npos);
  EXPECT_THAT(contentOf(directory / "velproxy.log"), HasSubstr("error text"));
}

TEST_F(LogAccessTest, ARefusedDirectoryLeavesTheLogWhereItWas) {
  const TemporaryDirectory refused;
  ::chmod(refused.path().c_str(), 0770);

  const std::string written = standardErrorOf([&] {
    pellamLogInit(directory.path().c_str());
    pellamLogInit(refused.path().c_str());
    log(kError, "error text");
  });

  EXPECT_THAT(written, EndsWith("; the log stays in " + directory.path().string() + "\n"));
  EXPECT_THAT(contentOf(directory / "velproxy.log"), HasSubstr("error text"));
}

}  // namespace
