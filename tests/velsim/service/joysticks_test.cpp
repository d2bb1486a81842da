#include "vel/apps/local/velsim/machine/joysticks.h"

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

using qxbus::Bytes;

class JoysticksTest : public SimulatedServiceTest {
 protected:
  Status statusOf(const std::string& method, const qxbus::Values& arguments) {
    return static_cast<Status>(std::get<std::int32_t>(call(method, arguments).at(0)));
  }
};

TEST_F(JoysticksTest, ThereAreThreeAndThreeMappings) {
  const std::vector<Bytes> joysticks = list("getJoystickDevList", {});
  const std::vector<Bytes> mappings = list("getJoystickMappingList", {});

  ASSERT_EQ(joysticks.size(), 3u);
  ASSERT_EQ(mappings.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(joysticks[i].size(), 138u);
    EXPECT_EQ(mappings[i].size(), 130u);
    EXPECT_EQ(read(joysticks[i], joystick::kPosition), i);
    EXPECT_EQ(read(mappings[i], joystick_mapping::kPosition), i);
  }
  EXPECT_EQ(read(joysticks[0], joystick::kName), "Flight stick");
  EXPECT_EQ(read(mappings[2], joystick_mapping::kName), "Racing");
}

TEST_F(JoysticksTest, TakeAMappingAndACalibration) {
  EXPECT_EQ(statusOf("setJoystickMapping", {int16(1), int16(2)}), Status::kOk);
  EXPECT_EQ(statusOf("calibrationJoystick", {int16(2)}), Status::kOk);

  const std::vector<Bytes> joysticks = list("getJoystickDevList", {});
  EXPECT_EQ(read(joysticks[0], joystick::kMapping), 0);
  EXPECT_EQ(read(joysticks[1], joystick::kMapping), 2);
  EXPECT_EQ(read(joysticks[1], joystick::kIsCalibrated), 0);
  EXPECT_EQ(read(joysticks[2], joystick::kIsCalibrated), 1);
}

TEST_F(JoysticksTest, PositionsThatDoNotExistAreRefused) {
  EXPECT_EQ(statusOf("setJoystickMapping", {int16(3), int16(0)}), Status::kUnknownJoystick);
  EXPECT_EQ(statusOf("setJoystickMapping", {int16(0), int16(3)}), Status::kUnknownMapping);
  EXPECT_EQ(statusOf("setJoystickMapping", {int16(-1), int16(0)}), Status::kUnknownJoystick);
  EXPECT_EQ(statusOf("calibrationJoystick", {int16(3)}), Status::kUnknownJoystick);
}

TEST_F(JoysticksTest, SubscribersComeAndGo) {
  EXPECT_EQ(statusOf("registerJoystickCallback", {block8(7)}), Status::kOk);
  EXPECT_EQ(statusOf("registerJoystickCallback", {block8(7)}), Status::kOk);
  EXPECT_EQ(statusOf("registerJoystickCallback", {block8(0x0800000000000000)}), Status::kOk);
  EXPECT_THAT(machine().joysticks.subscribers(), ::testing::ElementsAre(7, 0x0800000000000000));

  EXPECT_EQ(statusOf("unregisterJoystickCallback", {block8(7)}), Status::kOk);
  EXPECT_EQ(statusOf("unregisterJoystickCallback", {block8(7)}), Status::kNotRegistered);
  EXPECT_EQ(machine().joysticks.subscribers().size(), 1u);
}

}  // namespace
}  // namespace velsim
