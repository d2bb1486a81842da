#include "vel/apps/local/velsim/machine/policies.h"

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;

constexpr std::uint16_t kVid = 0xF234;  // negative on the bus
constexpr std::uint16_t kPid = 0x8678;
constexpr std::uint16_t kCameraVid = 0x7E57;
constexpr std::uint16_t kCameraPid = 2;

class PoliciesTest : public SimulatedServiceTest {
 protected:
  void setProperty(std::uint16_t vid, std::uint16_t pid, int value) {
    EXPECT_EQ(call("setDevicePropertyWithVidPid",
                   {int32(0), int16(vid), int16(pid), int32(0xFFFF), int32(value)}),
              statusValues(Status::kOk));
  }
  Values property(const std::string& method, std::uint16_t vid, std::uint16_t pid) {
    return call(method, {int32(0), int16(vid), int16(pid), int32(pid)});
  }
  void setTurbo(const std::string& text) {
    EXPECT_EQ(call("setTurboConfigWithVidPid", {int32(0), int16(kVid), int16(kPid), bytes(text)}),
              statusValues(Status::kOk));
  }
  Values turbo(std::uint16_t pid) {
    return call("getTurboConfigWithVidPid", {int32(0), int16(kVid), int16(pid)});
  }
};

TEST_F(PoliciesTest, AutoConnectIsZeroUntilItIsSetForItsType) {
  EXPECT_EQ(call("getAutoConnect", {int32(0), int16(2)}), Values{int32(0)});

  EXPECT_EQ(call("setAutoConnect", {int32(0), int16(2), int16(-1)}), statusValues(Status::kOk));

  EXPECT_EQ(call("getAutoConnect", {int32(0), int16(2)}), Values{int32(-1)});
  EXPECT_EQ(call("getAutoConnect", {int32(0), int16(3)}), Values{int32(0)});
}

TEST_F(PoliciesTest, APropertyIsFoundByVendorAndProduct) {
  setProperty(kVid, kPid, -5);

  for (const char* const method :
       {"getDevicePropertyWithVidPid", "getLocalDevicePropertyWithVidPid"}) {
    EXPECT_EQ(property(method, kVid, kPid), Values{int32(-5)});
    EXPECT_EQ(property(method, kVid, kPid + 1), Values{int32(0)});
    EXPECT_EQ(property(method, kVid + 1, kPid), Values{int32(0)});
  }
}

TEST_F(PoliciesTest, TheCameraHasAPropertyThatIsNotLocal) {
  EXPECT_EQ(property("getDevicePropertyWithVidPid", kCameraVid, kCameraPid), Values{int32(30)});
  EXPECT_EQ(property("getLocalDevicePropertyWithVidPid", kCameraVid, kCameraPid), Values{int32(0)});

  setProperty(kCameraVid, kCameraPid, 60);

  EXPECT_EQ(property("getDevicePropertyWithVidPid", kCameraVid, kCameraPid), Values{int32(60)});
  EXPECT_EQ(property("getLocalDevicePropertyWithVidPid", kCameraVid, kCameraPid),
            Values{int32(60)});
}

TEST_F(PoliciesTest, ATurboTextIsKeptAsItCame) {
  EXPECT_EQ(turbo(kPid), Values{std::string()});
  const std::string text("a\0b", 3);

  setTurbo(text);

  EXPECT_EQ(turbo(kPid), Values{text});
  EXPECT_EQ(turbo(kPid + 1), Values{std::string()});
  setTurbo("");
  EXPECT_EQ(turbo(kPid), Values{std::string()});
}

TEST_F(PoliciesTest, AreListedByVendorAndProduct) {
  ASSERT_EQ(list("getPolicyListByVidPid", {int32(0)}).size(), 1u);
  setProperty(kVid, kPid, -5);
  setTurbo("fast");

  const std::vector<Bytes> records = list("getPolicyListByVidPid", {int32(0)});

  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(read(records[0], vid_pid_policy::kVid), kCameraVid);
  EXPECT_EQ(read(records[0], vid_pid_policy::kProperty), 30);
  EXPECT_EQ(read(records[1], vid_pid_policy::kVid), kVid);
  EXPECT_EQ(read(records[1], vid_pid_policy::kPid), kPid);
  EXPECT_EQ(read(records[1], vid_pid_policy::kType), 0xFFFF);
  EXPECT_EQ(read(records[1], vid_pid_policy::kProperty), -5);
  EXPECT_EQ(read(records[1], vid_pid_policy::kTurboText), "fast");
}

TEST_F(PoliciesTest, AResetDropsThemAll) {
  call("setAutoConnect", {int32(0), int16(2), int16(1)});
  machine().policies.setPopupCard(2, 1);
  setProperty(kVid, kPid, -5);
  setProperty(kCameraVid, kCameraPid, 60);
  setTurbo("fast");

  EXPECT_EQ(call("resetAllDeviceProperty", {int32(0)}), statusValues(Status::kOk));

  EXPECT_EQ(call("getAutoConnect", {int32(0), int16(2)}), Values{int32(0)});
  EXPECT_TRUE(machine().policies.popupCards().empty());
  EXPECT_EQ(property("getDevicePropertyWithVidPid", kVid, kPid), Values{int32(0)});
  EXPECT_EQ(property("getDevicePropertyWithVidPid", kCameraVid, kCameraPid), Values{int32(30)});
  EXPECT_EQ(turbo(kPid), Values{std::string()});
}

}  // namespace
}  // namespace velsim
