// The socket of the session bus, where no variable names its address.

#include "bus/dbus/session_bus.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/unix_socket.h"

namespace {

using qxbus::sessionBus;
using qxbus::wire::System;

// What the systems of the tests below answer.
std::string runtimeDirectory;
std::string pathOfLaunchd;
std::string askedFor;

const char* environment(const char* name) {
  return std::string_view(name) == "XDG_RUNTIME_DIR" ? runtimeDirectory.c_str() : nullptr;
}

std::optional<std::string> launchdVariable(const std::string& name) {
  askedFor = name;
  return pathOfLaunchd.empty() ? std::nullopt : std::optional(pathOfLaunchd);
}

constexpr System kMac = {environment, false, launchdVariable};
constexpr System kOther = {environment, true, nullptr};

class SessionBusTest : public testing::Test {
 protected:
  SessionBusTest() {
    std::string name = (std::filesystem::temp_directory_path() / "session bus.XXXXXX").string();
    folder_ = ::mkdtemp(name.data()) ? name : "";
    runtimeDirectory = folder_;
    pathOfLaunchd.clear();
    askedFor.clear();
  }
  ~SessionBusTest() override {
    bus_ = nullptr;
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }

  std::string path() const { return folder_ + "/bus"; }
  std::string address() const { return "unix:path=" + qxbus::wire::escaped(path()); }
  void listen() { bus_ = std::make_unique<base::Listener>(path()); }

 private:
  std::string folder_;
  std::unique_ptr<base::Listener> bus_;
};

TEST_F(SessionBusTest, IsInTheRuntimeDirectory) {
  listen();

  EXPECT_EQ(sessionBus(kOther), address());
  EXPECT_EQ(askedFor, "");
}

TEST_F(SessionBusTest, OnAMacIsWhereLaunchdHasIt) {
  listen();
  EXPECT_EQ(sessionBus(kMac), "");
  EXPECT_EQ(askedFor, "DBUS_LAUNCHD_SESSION_BUS_SOCKET");

  pathOfLaunchd = path();
  EXPECT_EQ(sessionBus(kMac), address());
}

TEST_F(SessionBusTest, IsNoneWhereNoSocketIs) {
  pathOfLaunchd = path();
  EXPECT_EQ(sessionBus(kOther), "");
  EXPECT_EQ(sessionBus(kMac), "");

  std::ofstream(path()) << "no socket";
  EXPECT_EQ(sessionBus(kOther), "");
  EXPECT_EQ(sessionBus(kMac), "");
}

TEST_F(SessionBusTest, IsNoneWithoutARuntimeDirectory) {
  runtimeDirectory.clear();

  EXPECT_EQ(sessionBus(kOther), "");
}

}  // namespace
