// The panel and a real velsim with its built-in machine, over a direct connection.

#ifndef TESTS_PANEL_PANEL_TEST_H
#define TESTS_PANEL_PANEL_TEST_H

#include <chrono>
#include <csignal>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "examples/panel/things/things_model.h"
#include "tests/client/loop_until.h"
#include "tests/processes/process.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"
#include "vel/client/client.h"

namespace panel {

inline const Number kStick = vel::DeviceNumber(11);
inline const Number kCamera = vel::DeviceNumber(12);
inline const Number kLaser = vel::PrinterNumber(21);

// One velsim serves all tests of the program; each begins with a machine that has been reset.
class PanelTest : public testing::Test {
 protected:
  PanelTest() {
    static const bool isExported = [] {
      velsim().exportAddress();
      return true;
    }();
    static_cast<void>(isExported);
    // The library may not have noticed yet that the service before has ended.
    auto giveUp = std::chrono::steady_clock::now();
    if (velsim().hasEnded()) {
      velsim().start();
      giveUp += std::chrono::minutes(4);
    }
    velsim().control("clear-faults all");
    unplugAll();
    vel::Result<void> reset = vel::Client().reset();
    while (!reset && std::chrono::steady_clock::now() < giveUp) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      reset = vel::Client().reset();
    }
    EXPECT_TRUE(reset) << reset.error().message();
  }

  // Its time stands still until "advance" moves it: searches and diagnoses go on then.
  static velsim_testing::VelsimProcess& velsim() {
    static velsim_testing::VelsimProcess velsim([] {
      velsim_testing::VelsimProcess::Options options;
      options.arguments = {"--step"};
      return options;
    }());
    return velsim;
  }

  // Plugs a device in: "camera \"Front camera\"".
  static vel::DeviceNumber plug(const std::string& device) {
    // "plugged in NUMBER"
    const std::string answer = velsim().control("plug " + device);
    const std::string number = answer.substr(answer.rfind(' ') + 1);
    plugged().emplace_back(static_cast<std::uint16_t>(std::stoul(number)));
    return plugged().back();
  }
  static void unplug(vel::DeviceNumber device) {
    velsim().control("unplug " + std::to_string(device.value()));
  }

  // A reset leaves what is plugged in.
  static std::vector<vel::DeviceNumber>& plugged() {
    static std::vector<vel::DeviceNumber> plugged;
    return plugged;
  }
  static void unplugAll() {
    for (const vel::DeviceNumber device : std::exchange(plugged(), {})) {
      try {
        unplug(device);
      } catch (const velsim_testing::VelsimError&) {
        // The test has done so, or velsim was started anew.
      }
    }
  }

  // What velsim itself says of a device or printer.
  static std::string simulated(const std::string& name) {
    const std::string list = velsim().control("list");
    const std::size_t at = list.find(name);
    const std::size_t begin = list.rfind('\n', at) + 1;
    return at == std::string::npos ? "" : list.substr(begin, list.find('\n', at) - begin);
  }

  static bool isAttached(const ThingsModel& model, const Number& number, const std::string& vm) {
    const Thing* const thing = model.find(number);
    return thing && thing->isAttached() && thing->vm == vm;
  }
  static bool isIdle(const ThingsModel& model, const Number& number) {
    const Thing* const thing = model.find(number);
    return thing && !thing->isBusy;
  }
};

// A velsim that hangs: it takes connections and requests and answers nothing.
class Hanging {
 public:
  explicit Hanging(velsim_testing::VelsimProcess& velsim) : velsim_(velsim) {
    processes::hang(velsim_.pid());
  }
  ~Hanging() { velsim_.signal(SIGCONT); }
  Hanging(const Hanging&) = delete;
  Hanging& operator=(const Hanging&) = delete;

 private:
  velsim_testing::VelsimProcess& velsim_;
};

}  // namespace panel

#endif  // TESTS_PANEL_PANEL_TEST_H
