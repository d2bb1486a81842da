// Decisions of users about new devices, and commands for storage.

#include "tests/velsim/service/simulated_service.h"

#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class NewDevicesTest : public SimulatedServiceTest {
 protected:
  Status connect(VmNumber vm, std::uint64_t sourceId, int type = 2, int autoConnect = 0,
                 int popupCard = 0) {
    return statusOf("configNewDeviceAsConnect", {int32(vm), block8(sourceId), int32(type),
                                                 int32(autoConnect), int32(popupCard)});
  }
  Status ignore(std::uint64_t sourceId, int type = 2, int autoConnect = 0, int popupCard = 0) {
    return statusOf("configNewDeviceAsIgnore",
                    {block8(sourceId), int32(type), int32(autoConnect), int32(popupCard)});
  }
  Status storage(std::uint64_t sourceId, int command) {
    return statusOf("ConfigUdisks2Command", {int32(kWin11), block8(sourceId), int32(command)});
  }
  Status statusOf(const std::string& method, const qxbus::Values& arguments) {
    const qxbus::Values answer = call(method, arguments);
    return static_cast<Status>(std::get<std::int32_t>(answer.at(0)));
  }

  // Success and code of a result.
  static std::pair<int, std::string> result(const BusEvent& event) {
    EXPECT_EQ(event.record.size(), 340u);
    return {read(event.record, new_device_result::kIsSuccess),
            read(event.record, new_device_result::kCode)};
  }
};

TEST_F(NewDevicesTest, ConnectingAttachesAndReportsTheResult) {
  EXPECT_EQ(connect(kWin11, kCameraSource), Status::kOk);

  EXPECT_EQ(machine().devices.find(kCamera)->vm, kWin11);
  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(static_cast<int>(events[0].code), 6);
  EXPECT_EQ(static_cast<int>(events[1].code), 2);
  EXPECT_EQ(events[1].vm, kWin11);
  EXPECT_THAT(result(events[1]), Pair(1, "ok"));
  EXPECT_EQ(read(events[1].record, new_device_result::kName), "Built-in camera");
  EXPECT_EQ(read(events[1].record, new_device_result::kVid), 0x7E57);
  EXPECT_EQ(read(events[1].record, new_device_result::kPid), 2);
}

TEST_F(NewDevicesTest, IgnoringMarksTheDeviceAndReportsTheResult) {
  EXPECT_EQ(ignore(kCameraSource), Status::kOk);

  EXPECT_EQ(machine().devices.find(kCamera)->status, DeviceStatus::kIgnored);
  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(static_cast<int>(events[0].code), 10);
  EXPECT_EQ(read(events[0].record, device::kStatus), 3);
  EXPECT_EQ(static_cast<int>(events[1].code), 3);
  EXPECT_EQ(events[1].vm, 0u);
  EXPECT_THAT(result(events[1]), Pair(1, "ok"));
}

TEST_F(NewDevicesTest, FailuresAreReportedToo) {
  EXPECT_EQ(connect(kWin11, 7), Status::kUnknownDevice);
  EXPECT_EQ(connect(kNoSuchVm, kCameraSource), Status::kUnknownVm);
  connect(kUbuntu, kCameraSource);
  takeEvents();
  EXPECT_EQ(connect(kWin11, kCameraSource), Status::kBusy);
  EXPECT_EQ(ignore(kCameraSource), Status::kBusy);
  EXPECT_EQ(ignore(7), Status::kUnknownDevice);

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_THAT(result(events[0]), Pair(0, "busy"));
  EXPECT_THAT(result(events[1]), Pair(0, "busy"));
  EXPECT_THAT(result(events[2]), Pair(0, "unknown-device"));
}

TEST_F(NewDevicesTest, AFailureForAnUnknownVmIsReportedForNoVm) {
  connect(kNoSuchVm, kCameraSource);

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].vm, 0u);
  EXPECT_THAT(result(events[0]), Pair(0, "unknown-vm"));
}

TEST_F(NewDevicesTest, TheChoiceIsStoredForItsTypeOnlyOnSuccess) {
  connect(kWin11, 7, 1, 1, 1);
  EXPECT_THAT(machine().policies.autoConnects(), IsEmpty());
  EXPECT_THAT(machine().policies.popupCards(), IsEmpty());

  connect(kWin11, kCameraSource, 2, 1, 5);
  ignore(kStickSource, 1, 0, 6);

  EXPECT_THAT(machine().policies.autoConnects(), ElementsAre(Pair(1, 0), Pair(2, 1)));
  EXPECT_THAT(machine().policies.popupCards(), ElementsAre(Pair(1, 6), Pair(2, 5)));
}

TEST_F(NewDevicesTest, AnIgnoredDeviceCanStillBeAttached) {
  ignore(kCameraSource);

  EXPECT_EQ(connect(kWin11, kCameraSource), Status::kOk);

  EXPECT_EQ(machine().devices.find(kCamera)->status, DeviceStatus::kAttached);
}

TEST_F(NewDevicesTest, StorageIsUnmountedMountedAndEjected) {
  EXPECT_EQ(storage(kStickSource, 2), Status::kOk);
  EXPECT_FALSE(machine().devices.find(kStick)->isMounted);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(65, 0), Pair(8, kWin11)));

  EXPECT_EQ(storage(kStickSource, 1), Status::kOk);
  EXPECT_TRUE(machine().devices.find(kStick)->isMounted);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(64, 0), Pair(8, kWin11)));

  EXPECT_EQ(storage(kStickSource, 1), Status::kOk);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(8, kWin11)));

  EXPECT_EQ(storage(kStickSource, 3), Status::kOk);
  EXPECT_EQ(machine().devices.find(kStick), nullptr);
  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(static_cast<int>(events[0].code), 65);
  EXPECT_EQ(static_cast<int>(events[1].code), 5);
  EXPECT_EQ(static_cast<int>(events[2].code), 8);
  EXPECT_EQ(read(events[2].record, new_device_result::kName), "Memory stick");
}

TEST_F(NewDevicesTest, StorageCommandsForOtherDevicesAreRefused) {
  EXPECT_EQ(storage(kCameraSource, 1), Status::kNotStorage);
  EXPECT_EQ(storage(kCameraSource, 2), Status::kNotStorage);
  EXPECT_EQ(storage(kCameraSource, 3), Status::kNotStorage);
  EXPECT_EQ(storage(kStickSource, 0), Status::kUnknownCommand);
  EXPECT_EQ(storage(7, 1), Status::kUnknownDevice);
  machine().devices.attach(kStick, kWin11);
  EXPECT_EQ(storage(kStickSource, 1), Status::kBusy);

  EXPECT_NE(machine().devices.find(kCamera), nullptr);
}

}  // namespace
}  // namespace velsim
