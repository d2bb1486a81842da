#include "platform/app_data_path.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "tests/platform/temporary_directory.h"

namespace {

namespace fs = std::filesystem;

// Unsets the variables, and restores them with its end.
class Environment {
 public:
  Environment() {
    for (std::size_t i = 0; i < kCount; ++i) {
      const char* const value = std::getenv(kNames[i]);
      saved_[i] = value ? std::optional<std::string>(value) : std::nullopt;
      ::unsetenv(kNames[i]);
    }
  }
  ~Environment() {
    for (std::size_t i = 0; i < kCount; ++i) {
      if (saved_[i]) {
        ::setenv(kNames[i], saved_[i]->c_str(), 1);
      } else {
        ::unsetenv(kNames[i]);
      }
    }
  }

 private:
  static constexpr std::size_t kCount = 3;
  static constexpr const char* kNames[kCount] = {"QX_APP_DATA", "XDG_DATA_HOME", "HOME"};
  std::optional<std::string> saved_[kCount];
};

class AppDataPathTest : public testing::Test {
 protected:
  AppDataPathTest() : umask_(::umask(022)) {}
  ~AppDataPathTest() override { ::umask(umask_); }

  static void set(const char* name, const fs::path& value) { ::setenv(name, value.c_str(), 1); }
  // No directory can be created below a file.
  fs::path aFile() const {
    std::ofstream(directory / "file") << "not a directory";
    return directory / "file";
  }

  Environment environment;
  TemporaryDirectory directory;
  mode_t umask_;
};

TEST_F(AppDataPathTest, TheVariableNamesTheDirectoryItself) {
  set("QX_APP_DATA", directory / "given");
  set("XDG_DATA_HOME", directory / "xdg");
  set("HOME", directory / "home");

  EXPECT_EQ(GetAppDataPath(), directory / "given");

  EXPECT_EQ(modeOf(directory / "given"), 0700);
  EXPECT_FALSE(fs::exists(directory / "xdg"));
  EXPECT_FALSE(fs::exists(directory / "home"));
}

TEST_F(AppDataPathTest, AnEmptyVariableCountsAsUnset) {
  set("QX_APP_DATA", "");
  set("HOME", directory.path());

  EXPECT_EQ(fs::path(GetAppDataPath()).filename(), "velproxy");
  EXPECT_EQ(GetAppDataPath().find(directory.path().string()), 0u);
}

TEST_F(AppDataPathTest, TheDirectoryIsPrivateAndItsParentsAreCreatedToo) {
  set("QX_APP_DATA", directory / "a" / "b" / "c");

  EXPECT_EQ(GetAppDataPath(), directory / "a" / "b" / "c");

  EXPECT_EQ(modeOf(directory / "a" / "b" / "c"), 0700);
}

TEST_F(AppDataPathTest, ASlashBehindItsNameDoesNotChangeTheMode) {
  set("QX_APP_DATA", (directory / "parent" / "data").string() + "//");

  EXPECT_EQ(GetAppDataPath(), directory / "parent" / "data");

  EXPECT_EQ(modeOf(directory / "parent" / "data"), 0700);
}

TEST_F(AppDataPathTest, AUmaskOfZeroDoesNotChangeTheMode) {
  ::umask(0);
  set("QX_APP_DATA", directory / "given");

  GetAppDataPath();

  EXPECT_EQ(modeOf(directory / "given"), 0700);
}

TEST_F(AppDataPathTest, ADirectoryThatExistsKeepsItsModeAndContent) {
  set("QX_APP_DATA", directory / "given");
  fs::create_directory(directory / "given");
  ::chmod((directory / "given").c_str(), 0750);
  std::ofstream(directory / "given" / "kept") << "content";

  EXPECT_EQ(GetAppDataPath(), directory / "given");

  EXPECT_EQ(modeOf(directory / "given"), 0750);
  EXPECT_TRUE(fs::exists(directory / "given" / "kept"));
}

TEST_F(AppDataPathTest, ASecondCallReturnsTheSame) {
  set("QX_APP_DATA", directory / "given");

  EXPECT_EQ(GetAppDataPath(), GetAppDataPath());
}

TEST_F(AppDataPathTest, ALaterValueOfTheVariableCounts) {
  set("QX_APP_DATA", directory / "first");
  GetAppDataPath();
  set("QX_APP_DATA", directory / "second");

  EXPECT_EQ(GetAppDataPath(), directory / "second");
}

TEST_F(AppDataPathTest, ADirectoryThatCannotBeCreatedGivesNone) {
  set("QX_APP_DATA", aFile() / "below");
  set("HOME", directory.path());

  EXPECT_EQ(GetAppDataPath(), "");
}

TEST_F(AppDataPathTest, AFileInPlaceOfTheDirectoryGivesNone) {
  set("QX_APP_DATA", aFile());

  EXPECT_EQ(GetAppDataPath(), "");
}

TEST_F(AppDataPathTest, ANameThatIsTooLongGivesNone) {
  set("QX_APP_DATA", directory / std::string(5000, 'x'));

  EXPECT_EQ(GetAppDataPath(), "");
}

TEST_F(AppDataPathTest, NoVariableGivesNone) {
  EXPECT_EQ(GetAppDataPath(), "");
}

#if !defined(__APPLE__)
TEST_F(AppDataPathTest, TheDefaultIsInTheUsersDataDirectory) {
  set("XDG_DATA_HOME", directory / "xdg");
  set("HOME", directory / "home");

  EXPECT_EQ(GetAppDataPath(), directory / "xdg" / "velproxy");

  EXPECT_EQ(modeOf(directory / "xdg" / "velproxy"), 0700);
  EXPECT_FALSE(fs::exists(directory / "home"));
}

TEST_F(AppDataPathTest, TheUsersDataDirectoryIsInTheHomeDirectoryByDefault) {
  set("HOME", directory / "home");

  EXPECT_EQ(GetAppDataPath(), directory / "home" / ".local" / "share" / "velproxy");

  EXPECT_EQ(modeOf(directory / "home" / ".local" / "share" / "velproxy"), 0700);
}

TEST_F(AppDataPathTest, ARelativeOrEmptyUsersDataDirectoryIsIgnored) {
  set("HOME", directory / "home");
  for (const char* const ignored : {"", "relative", "./relative", "../relative"}) {
    set("XDG_DATA_HOME", ignored);

    EXPECT_EQ(GetAppDataPath(), directory / "home" / ".local" / "share" / "velproxy") << ignored;
  }
  EXPECT_FALSE(fs::exists("relative"));
}
#else
TEST_F(AppDataPathTest, TheDefaultIsInTheUsersLibrary) {
  set("XDG_DATA_HOME", directory / "xdg");
  set("HOME", directory / "home");

  EXPECT_EQ(GetAppDataPath(), directory / "home" / "Library" / "Application Support" / "velproxy");
}
#endif

}  // namespace
