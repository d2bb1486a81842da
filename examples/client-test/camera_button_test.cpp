#include "examples/client-test/camera_button.h"

#include <chrono>
#include <functional>
#include <iostream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace {

// Each test has a service of its own, which has ended when the next one begins.
class CameraButtonTest : public ::testing::Test {
 protected:
  // The first calls may still meet the end of the service that an earlier test had.
  CameraButtonTest() {
    velsim.exportAddress();
    EXPECT_TRUE(becomes([this] { return button.label() == "Attach Built-in camera"; }))
        << button.label();
  }

  void TearDown() override {
    if (HasFailure()) {
      std::cerr << velsim.log();
    }
  }

  static bool becomes(const std::function<bool()>& state) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!state()) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }

  // Waits for a line of the log, which is written behind the answers.
  bool logs(const std::string& text) const {
    return becomes([&] { return velsim.log().find(text) != std::string::npos; });
  }

  velsim_testing::VelsimProcess velsim;
  const CameraButton button{"win11"};
};

TEST_F(CameraButtonTest, OffersTheCameraOfThisMachine) {
  EXPECT_EQ(button.label(), "Attach Built-in camera");
}

TEST_F(CameraButtonTest, AttachesTheCamera) {
  EXPECT_EQ(button.press(), "Built-in camera is in win11");
  EXPECT_TRUE(logs("connectDevice("));
}

TEST_F(CameraButtonTest, ReportsWhenTheUserHasUnpluggedTheCamera) {
  velsim.control("unplug 12");

  EXPECT_EQ(button.press(), "No camera");
}

TEST_F(CameraButtonTest, FindsACameraThatIsPluggedInLater) {
  velsim.control("unplug 12");
  velsim.control("plug camera \"Document camera\"");

  EXPECT_EQ(button.label(), "Attach Document camera");
}

TEST_F(CameraButtonTest, ReportsThatTheServiceHasDiedAndFindsTheNext) {
  velsim.kill();
  // A call that meets the end itself says so in other words.
  EXPECT_TRUE(becomes([this] { return button.label().find("no service") != std::string::npos; }))
      << button.label();

  velsim.start();
  EXPECT_TRUE(becomes([this] { return button.label() == "Attach Built-in camera"; }))
      << button.label();
}

}  // namespace
