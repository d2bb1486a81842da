// A simulator whose clock the test moves and whose events it reads.

#ifndef TESTS_VELSIM_SERVICE_SIMULATED_SERVICE_H
#define TESTS_VELSIM_SERVICE_SIMULATED_SERVICE_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vel/apps/local/velsim/scenario/scenario.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velsim {

// Records are read with the layouts of the protocol.
using velprotocol::read;
namespace command_answer = velprotocol::command_answer;
namespace device = velprotocol::device;
namespace diagnosis = velprotocol::diagnosis;
namespace joystick = velprotocol::joystick;
namespace joystick_mapping = velprotocol::joystick_mapping;
namespace new_device_result = velprotocol::new_device_result;
namespace printer = velprotocol::printer;
namespace vid_pid_policy = velprotocol::vid_pid_policy;

// Values of the widths that the bus has.
inline qxbus::Value int16(int value) {
  return static_cast<std::int16_t>(value);
}
inline qxbus::Value int32(std::int64_t value) {
  return static_cast<std::int32_t>(value);
}
inline qxbus::Value uint64(std::uint64_t value) {
  return value;
}
// The eight bytes of a number, the lowest first.
qxbus::Value block8(std::uint64_t number);
qxbus::Value bytes(const std::string& text);

constexpr VmNumber kWin11 = 101;
constexpr VmNumber kUbuntu = 103;
constexpr VmNumber kNoSuchVm = 9999;

// Built-in devices and printers.
constexpr std::uint16_t kStick = 11;
constexpr std::uint16_t kCamera = 12;
constexpr std::uint16_t kTablet = 13;
constexpr std::uint16_t kLaser = 21;
constexpr std::uint64_t kStickSource = 0x7E5700010000000B;
constexpr std::uint64_t kCameraSource = 0x7E5700020000000C;
constexpr std::uint64_t kLaserSource = 0x7E57010000000015;

inline qxbus::Values statusValues(Status status) {
  return {static_cast<std::int32_t>(status)};
}

// The state of a simulator, for as long as no other thread uses it.
MachineState& machineOf(Simulator& simulator);

class SimulatedServiceTest : public ::testing::Test {
 protected:
  SimulatedServiceTest();

  // The answer, which must be there at once, and must not be an error.
  qxbus::Values call(const std::string& method, const qxbus::Values& arguments);
  // The error, which must be there at once; "" for an answer.
  std::string error(const std::string& method, const qxbus::Values& arguments);
  // Stores the answer at the pointer when it is given.
  std::shared_ptr<std::optional<qxbus::Values>> callLater(const std::string& method,
                                                          const qxbus::Values& arguments);
  // The blocks of a list.
  std::vector<qxbus::Bytes> list(const std::string& method, const qxbus::Values& arguments);

  // The events since the last call.
  std::vector<BusEvent> takeEvents() { return std::exchange(events_, {}); }
  // The same, only codes and VMs.
  std::vector<std::pair<int, VmNumber>> takeEventCodes();

  MachineState& machine() { return machineOf(simulator); }

 private:
  std::vector<BusEvent> events_;

 protected:
  SteppedClock* clock = new SteppedClock;
  Simulator simulator{std::unique_ptr<Scheduler>(clock)};
};

}  // namespace velsim

#endif  // TESTS_VELSIM_SERVICE_SIMULATED_SERVICE_H
