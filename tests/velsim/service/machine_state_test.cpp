// Requests that concern several kinds of peripherals: auto-connect, ends of sessions, resets.

#include "vel/apps/local/velsim/machine/machine_state.h"

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class MachineStateTest : public SimulatedServiceTest {
 protected:
  void connectVm(VmNumber vm) { call("connectVm", {int32(vm), int32(1), int32(1), int32(0)}); }
  void setAutoConnect(DeviceType type) {
    call("setAutoConnect", {int32(0), int16(static_cast<int>(type)), int16(1)});
  }
  // The VM that a new camera goes to.
  VmNumber vmOfNewCamera() {
    VmNumber vm = kNoSuchVm;
    simulator.change(
        [&vm](MachineState& now) { vm = now.plug(DeviceType::kCamera, "Front camera")->vm; });
    return vm;
  }
};

TEST_F(MachineStateTest, ANewDeviceStaysUnattachedUnlessItsTypeIsAutoConnected) {
  connectVm(kWin11);
  setAutoConnect(DeviceType::kTablet);

  EXPECT_EQ(vmOfNewCamera(), 0u);
}

TEST_F(MachineStateTest, ANewDeviceGoesToTheVmWithTheFocus) {
  setAutoConnect(DeviceType::kCamera);
  connectVm(kWin11);
  connectVm(kUbuntu);
  call("onFocusChanged", {int32(kUbuntu), int32(1), uint64(5)});

  EXPECT_EQ(vmOfNewCamera(), kUbuntu);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(4, 0), Pair(6, kUbuntu)));
}

TEST_F(MachineStateTest, WithoutFocusANewDeviceGoesToAConnectedVm) {
  setAutoConnect(DeviceType::kCamera);
  EXPECT_EQ(vmOfNewCamera(), 0u);
  connectVm(kUbuntu);

  EXPECT_EQ(vmOfNewCamera(), kUbuntu);
}

TEST_F(MachineStateTest, NetworkDevicesAreAutoConnectedToo) {
  setAutoConnect(DeviceType::kNetwork);
  connectVm(kUbuntu);

  call("addNetworkDevice", {int32(1), bytes("scanner")});

  EXPECT_EQ(machine().devices.findNetwork("scanner")->vm, kUbuntu);
}

TEST_F(MachineStateTest, TheEndOfASessionReleasesItsDevicesAndPrinters) {
  connectVm(kWin11);
  connectVm(kUbuntu);
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  call("connectDevice", {int32(kUbuntu), int16(kTablet)});
  call("connectPrinter", {int32(kWin11), int16(kLaser)});
  call("setBwInfo", {int32(kWin11), uint64(1), uint64(2)});
  call("setBwInfo", {int32(kUbuntu), uint64(1), uint64(2)});
  takeEvents();

  call("disconnectVm", {int32(kWin11)});

  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(7, kWin11), Pair(1, kWin11)));
  EXPECT_EQ(machine().devices.find(kCamera)->vm, 0u);
  EXPECT_EQ(machine().devices.find(kTablet)->vm, kUbuntu);
  EXPECT_EQ(machine().printers.find(kLaser)->vm, 0u);
  EXPECT_EQ(machine().streamReports.all().count(kWin11), 0u);
  EXPECT_EQ(machine().streamReports.all().count(kUbuntu), 1u);
}

TEST_F(MachineStateTest, AResetUndoesChangesByClients) {
  connectVm(kWin11);
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  call("connectDevice", {int32(kWin11), int16(kStick)});
  call("setLocalPolicy", {int16(kTablet), int16(2), bytes("Renamed"), bytes("text")});
  call("configNewDeviceAsIgnore", {block8(0x7E5700050000000F), int32(5), int32(0), int32(0)});
  call("addNetworkDevice", {int32(1), bytes("scanner")});
  call("connectPrinter", {int32(kWin11), int16(kLaser)});
  call("addNetworkPrinter", {"10.0.0.5", "Hall", ""});
  call("addSharePrinter", {int32(1), "10.0.0.7", "Reception", ""});
  call("deletePrinter", {"office"});
  call("setAutoConnect", {int32(0), int16(2), int16(1)});
  call("setJoystickMapping", {int16(0), int16(1)});
  call("calibrationJoystick", {int16(0)});
  call("registerJoystickCallback", {block8(7)});
  call("setBwInfo", {int32(kWin11), uint64(1), uint64(2)});
  takeEvents();

  EXPECT_EQ(call("resetService", {}), statusValues(Status::kOk));

  const MachineState fresh(builtInScenario().setup);
  EXPECT_EQ(list("getDeviceList", {int32(0)}).size(), fresh.devices.all().size());
  for (const auto& [number, device] : fresh.devices.all()) {
    const Device& now = *machine().devices.find(number);
    EXPECT_EQ(now.name, device.name);
    EXPECT_EQ(now.status, device.status);
    EXPECT_EQ(now.vm, device.vm);
    EXPECT_EQ(now.policy, device.policy);
    EXPECT_EQ(now.policyText, device.policyText);
    EXPECT_EQ(now.isMounted, device.isMounted);
  }
  EXPECT_EQ(machine().printers.all().size(), 2u);
  EXPECT_EQ(machine().printers.find(kLaser)->vm, 0u);
  EXPECT_THAT(machine().sharedPrinters.added(), IsEmpty());
  EXPECT_EQ(machine().printQueues.all().count("office"), 1u);
  EXPECT_THAT(machine().policies.autoConnects(), IsEmpty());
  EXPECT_EQ(machine().joysticks.all()[0].mapping, 0);
  EXPECT_FALSE(machine().joysticks.all()[0].isCalibrated);
  EXPECT_THAT(machine().joysticks.subscribers(), IsEmpty());
  EXPECT_THAT(machine().streamReports.all(), IsEmpty());
}

TEST_F(MachineStateTest, AResetEmitsAnEventForEachChange) {
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  call("connectPrinter", {int32(kWin11), int16(kLaser)});
  call("setLocalPolicy", {int16(kTablet), int16(2), bytes(""), bytes("")});
  call("addNetworkDevice", {int32(1), bytes("scanner")});
  call("addNetworkPrinter", {"10.0.0.5", "Hall", ""});
  takeEvents();

  call("resetService", {});

  EXPECT_THAT(takeEventCodes(),
              ElementsAre(Pair(7, kWin11), Pair(10, 0), Pair(5, 0), Pair(1, kWin11), Pair(1, 0)));
  call("resetService", {});
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(MachineStateTest, PluggedInDevicesSurviveAReset) {
  simulator.change([](MachineState& now) {
    now.plug(DeviceType::kCamera, "Front camera");
    now.printers.plug("Plotter");
    now.devices.unplug(kTablet);
    now.devices.allowCamera(false);
  });

  call("resetService", {});

  EXPECT_EQ(machine().devices.all().size(), 5u);
  EXPECT_EQ(machine().devices.find(kTablet), nullptr);
  EXPECT_EQ(machine().printers.all().size(), 3u);
  EXPECT_EQ(machine().devices.cameraStatus(), CameraStatus::kDenied);
}

TEST_F(MachineStateTest, NothingCanBeAddedOrPluggedInWhenAllNumbersAreInUse) {
  while (machine().numbers.take() != 0) {
  }

  EXPECT_EQ(call("addNetworkDevice", {int32(1), bytes("scanner")}), statusValues(Status::kFull));
  EXPECT_EQ(call("addNetworkPrinter", {"10.0.0.5", "Hall", ""}), statusValues(Status::kFull));
  EXPECT_EQ(machine().plug(DeviceType::kCamera, "Front camera"), nullptr);
  EXPECT_EQ(machine().printers.plug("Plotter"), nullptr);

  EXPECT_THAT(takeEvents(), IsEmpty());
}

}  // namespace
}  // namespace velsim
