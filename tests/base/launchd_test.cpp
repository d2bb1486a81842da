// Variables of launchd, from a program in the place of launchctl.

#include "base/launchd.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using base::launchdVariable;
using testing::Eq;
using testing::Optional;

class LaunchdTest : public testing::Test {
 protected:
  LaunchdTest() {
    std::string name = (std::filesystem::temp_directory_path() / "launchd_test.XXXXXX").string();
    folder_ = ::mkdtemp(name.data()) ? name : "";
  }
  ~LaunchdTest() override {
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }

  std::string launchctl(const std::string& script) const {
    const std::string path = folder_ + "/launchctl";
    std::ofstream(path) << "#!/bin/sh\n" << script << '\n';
    ::chmod(path.c_str(), S_IRWXU);
    return path;
  }

 private:
  std::string folder_;
};

TEST_F(LaunchdTest, AVariableIsWhatLaunchctlPrints) {
  const std::string program =
      launchctl(R"([ "$1 $2" = "getenv BUS" ] && echo "/private/tmp/a b/socket")");

  EXPECT_THAT(launchdVariable("BUS", program), Optional(Eq("/private/tmp/a b/socket")));
}

TEST_F(LaunchdTest, ThereIsNoneWhenLaunchctlPrintsNothing) {
  EXPECT_EQ(launchdVariable("BUS", launchctl("exit 0")), std::nullopt);
  EXPECT_EQ(launchdVariable("BUS", launchctl("echo")), std::nullopt);
}

TEST_F(LaunchdTest, ThereIsNoneWithoutLaunchctl) {
  EXPECT_EQ(launchdVariable("BUS", "/nowhere/launchctl"), std::nullopt);
}

}  // namespace
