// Lists that end before their count.

#include "tests/client/client_test.h"

namespace {

class PartialListTest : public ClientTest {
 protected:
  // An incomplete list of devices.
  vel::Error error(const Reply& reply) {
    bus.answer("getDeviceList", reply);
    return client.localDevices().error();
  }
};

TEST_F(PartialListTest, AreErrorsWithTheElementsThatCame) {
  const vel::Error failed =
      error(Reply().int32(3).bytes(deviceRecord(12, "Camera")).bytes(deviceRecord(13, "Tablet")));

  EXPECT_EQ(failed.kind(), vel::ErrorKind::kBadReply);
  const auto* const came = failed.part<std::vector<vel::Device>>();
  ASSERT_TRUE(came);
  ASSERT_EQ(came->size(), 2U);
  EXPECT_EQ(came->at(0).name, "Camera");
  EXPECT_EQ(came->at(1).number, vel::DeviceNumber(13));
  EXPECT_EQ(failed.part<std::vector<vel::Printer>>(), nullptr) << "there are none of this type";
}

TEST_F(PartialListTest, HaveNoPartWhenNothingCame) {
  EXPECT_EQ(error(Reply().int32(3)).part<std::vector<vel::Device>>(), nullptr);
  EXPECT_EQ(error(Reply::error("out of order")).part<std::vector<vel::Device>>(), nullptr);
}

TEST_F(PartialListTest, OfVmsAndJoysticksHaveTheirPartToo) {
  bus.answer("getVmList", Reply().int32(2).string("win11").int32(7));
  bus.answer("getJoystickDevList", Reply().int32(2).bytes(Bytes(138, 1)));

  const vel::Error vms = client.vms().error();
  const vel::Error joysticks = client.joysticks().error();

  ASSERT_TRUE(vms.part<std::vector<vel::Vm>>());
  EXPECT_EQ(vms.part<std::vector<vel::Vm>>()->front().name, "win11");
  ASSERT_TRUE(joysticks.part<std::vector<vel::Joystick>>());
  EXPECT_EQ(joysticks.part<std::vector<vel::Joystick>>()->size(), 1U);
}

TEST_F(PartialListTest, ANumberThatItsRecordCutsIsReadAsIfZeroesFollowed) {
  bus.answer("getDeviceList", Reply().int32(2).bytes({12}).bytes({12, 1, 3}));

  const vel::Result<std::vector<vel::Device>> devices = client.localDevices();

  ASSERT_TRUE(devices);
  EXPECT_EQ(devices->at(0).number, vel::DeviceNumber(12));
  EXPECT_EQ(devices->at(1).number, vel::DeviceNumber(268));
}

TEST_F(ClientTest, TheOutcomeOfAnOperationOfTheProxyItselfIsKnown) {
  bus.answer("getDeviceStatus", Reply::error("out of order"));

  client.proxy().GetDeviceStatus(12);
  EXPECT_EQ(vel::Client::outcome().error().text(), "out of order");
}

}  // namespace
