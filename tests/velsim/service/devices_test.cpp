// Devices as clients see them: lists, attaching and detaching, policies, network devices, and the
// events.

#include "tests/velsim/service/simulated_service.h"

#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr int kPlugged = 4;
constexpr int kUnplugged = 5;
constexpr int kAttached = 6;
constexpr int kDetached = 7;
constexpr int kChanged = 10;
constexpr int kMounted = 64;
constexpr int kUnmounted = 65;

class DevicesTest : public SimulatedServiceTest {
 protected:
  const Device& device(std::uint16_t number) { return *machine().devices.find(number); }

  Status connect(VmNumber vm, std::uint16_t number) {
    return statusOf("connectDevice", {int32(vm), int16(number)});
  }
  Status disconnect(VmNumber vm, std::uint16_t number) {
    return statusOf("disconnectDevice", {int32(vm), int16(number)});
  }
  Status redirect(VmNumber vm, std::uint16_t number, int direction) {
    return statusOf("redirectDevice", {int32(vm), int16(number), int16(direction)});
  }
  Status statusOf(const std::string& method, const qxbus::Values& arguments) {
    const qxbus::Values answer = call(method, arguments);
    return static_cast<Status>(std::get<std::int32_t>(answer.at(0)));
  }
  std::vector<int> numbersFor(VmNumber vm) {
    std::vector<int> numbers;
    for (const Bytes& record : list("getDeviceList", {int32(vm)})) {
      numbers.push_back(read(record, device::kNumber));
    }
    return numbers;
  }
};

TEST_F(DevicesTest, TheBuiltInOnesAreListed) {
  const std::vector<Bytes> records = list("getDeviceList", {int32(0)});

  std::vector<std::pair<int, std::string>> found;
  for (const Bytes& record : records) {
    found.emplace_back(read(record, device::kNumber), read(record, device::kName));
  }
  EXPECT_THAT(found, ElementsAre(Pair(11, "Memory stick"), Pair(12, "Built-in camera"),
                                 Pair(13, "Drawing tablet"), Pair(14, "Label printer"),
                                 Pair(15, "Barcode scanner")));
}

TEST_F(DevicesTest, TheStatusIsAListOfOneAndOfAnUnknownDeviceAnEmptyOne) {
  const std::vector<Bytes> one = list("getDeviceStatus", {int16(kCamera)});

  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(read(one[0], device::kNumber), kCamera);
  EXPECT_THAT(list("getDeviceStatus", {int16(99)}), IsEmpty());
}

TEST_F(DevicesTest, ConnectingAttachesAndNotifies) {
  EXPECT_EQ(connect(kWin11, kCamera), Status::kOk);

  EXPECT_EQ(device(kCamera).status, DeviceStatus::kAttached);
  EXPECT_EQ(device(kCamera).vm, kWin11);
  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(static_cast<int>(events[0].code), kAttached);
  EXPECT_EQ(events[0].vm, kWin11);
  EXPECT_EQ(read(events[0].record, device::kNumber), kCamera);
  EXPECT_EQ(read(events[0].record, device::kStatus), 2);
  EXPECT_EQ(read(events[0].record, device::kVm), kWin11);
}

TEST_F(DevicesTest, ConnectingAgainSucceedsWithoutAnEvent) {
  connect(kWin11, kCamera);
  takeEvents();

  EXPECT_EQ(connect(kWin11, kCamera), Status::kOk);

  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(DevicesTest, DisconnectingNotifiesTheVmThatHadTheDevice) {
  connect(kWin11, kCamera);
  takeEvents();

  EXPECT_EQ(disconnect(kWin11, kCamera), Status::kOk);

  EXPECT_EQ(device(kCamera).status, DeviceStatus::kAvailable);
  EXPECT_EQ(device(kCamera).vm, 0u);
  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(static_cast<int>(events[0].code), kDetached);
  EXPECT_EQ(events[0].vm, kWin11);
  EXPECT_EQ(read(events[0].record, device::kStatus), 1);
  EXPECT_EQ(read(events[0].record, device::kVm), 0u);
}

TEST_F(DevicesTest, InvalidRequestsAreRefusedWithoutAnEvent) {
  connect(kWin11, kCamera);
  takeEvents();

  EXPECT_EQ(connect(kNoSuchVm, kTablet), Status::kUnknownVm);
  EXPECT_EQ(connect(0, kTablet), Status::kUnknownVm);
  EXPECT_EQ(connect(kWin11, 99), Status::kUnknownDevice);
  EXPECT_EQ(connect(kUbuntu, kCamera), Status::kBusy);
  EXPECT_EQ(disconnect(kUbuntu, kCamera), Status::kNotAttached);
  EXPECT_EQ(disconnect(kWin11, kTablet), Status::kNotAttached);
  EXPECT_EQ(disconnect(kWin11, 99), Status::kUnknownDevice);
  EXPECT_EQ(disconnect(kNoSuchVm, kCamera), Status::kUnknownVm);
  EXPECT_EQ(redirect(kNoSuchVm, kCamera, 1), Status::kUnknownVm);
  EXPECT_EQ(redirect(kWin11, 99, 1), Status::kUnknownDevice);
  EXPECT_EQ(redirect(kWin11, kCamera, 2), Status::kUnknownCommand);
  EXPECT_EQ(redirect(kUbuntu, kCamera, 0), Status::kNotAttached);

  EXPECT_EQ(device(kCamera).vm, kWin11);
  EXPECT_EQ(device(kTablet).vm, 0u);
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(DevicesTest, AVmListsItsOwnAndTheUnattached) {
  connect(kWin11, kCamera);
  connect(kUbuntu, kTablet);

  EXPECT_THAT(numbersFor(kWin11), ElementsAre(11, 12, 14, 15));
  EXPECT_THAT(numbersFor(kUbuntu), ElementsAre(11, 13, 14, 15));
  EXPECT_THAT(numbersFor(0), ElementsAre(11, 12, 13, 14, 15));
  EXPECT_THAT(numbersFor(kNoSuchVm), IsEmpty());
}

TEST_F(DevicesTest, AreConnectedAndDisconnectedBySourceId) {
  EXPECT_EQ(statusOf("connectDeviceBySrcId", {int32(kWin11), uint64(kCameraSource)}), Status::kOk);
  EXPECT_EQ(device(kCamera).vm, kWin11);

  EXPECT_EQ(statusOf("disconnectDeviceBySrcId", {int32(kUbuntu), uint64(kCameraSource)}),
            Status::kNotAttached);
  EXPECT_EQ(statusOf("disconnectDeviceBySrcId", {int32(kWin11), uint64(kCameraSource)}),
            Status::kOk);
  EXPECT_EQ(device(kCamera).vm, 0u);

  for (const char* const method : {"connectDeviceBySrcId", "disconnectDeviceBySrcId"}) {
    EXPECT_EQ(statusOf(method, {int32(kWin11), uint64(kCameraSource & 0xFFFFFFFF)}),
              Status::kUnknownDevice);
    EXPECT_EQ(statusOf(method, {int32(kNoSuchVm), uint64(kCameraSource)}), Status::kUnknownVm);
  }
}

TEST_F(DevicesTest, RedirectingMovesADeviceAndReleasesIt) {
  connect(kWin11, kCamera);
  takeEvents();

  EXPECT_EQ(redirect(kUbuntu, kCamera, 1), Status::kOk);
  EXPECT_EQ(device(kCamera).vm, kUbuntu);
  EXPECT_EQ(redirect(kUbuntu, kCamera, 1), Status::kOk);
  EXPECT_EQ(redirect(kUbuntu, kCamera, 0), Status::kOk);
  EXPECT_EQ(device(kCamera).vm, 0u);

  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kDetached, kWin11), Pair(kAttached, kUbuntu),
                                            Pair(kDetached, kUbuntu)));
}

TEST_F(DevicesTest, PluggingInNotifiesAndGivesANewNumber) {
  simulator.change([](MachineState& now) { now.plug(DeviceType::kCamera, "Front camera"); });

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(static_cast<int>(events[0].code), kPlugged);
  EXPECT_EQ(events[0].vm, 0u);
  EXPECT_EQ(read(events[0].record, device::kName), "Front camera");
  const auto number = read(events[0].record, device::kNumber);
  EXPECT_EQ(number, NumberPool::kFirst);
  EXPECT_EQ(list("getDeviceStatus", {int16(number)}).size(), 1u);
}

TEST_F(DevicesTest, UnpluggingNotifiesTheVmFirstThenAllClients) {
  connect(kWin11, kCamera);
  takeEvents();

  simulator.change([](MachineState& now) { now.devices.unplug(kCamera); });

  EXPECT_EQ(machine().devices.find(kCamera), nullptr);
  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(static_cast<int>(events[0].code), kDetached);
  EXPECT_EQ(events[0].vm, kWin11);
  EXPECT_EQ(static_cast<int>(events[1].code), kUnplugged);
  EXPECT_EQ(events[1].vm, 0u);
  EXPECT_EQ(read(events[1].record, device::kStatus), 0);
}

TEST_F(DevicesTest, StorageIsMountedWhenPluggedInAndUnmountedWhenAttachedOrUnplugged) {
  simulator.change([](MachineState& now) { now.plug(DeviceType::kStorage, "Stick"); });
  const std::uint16_t number = machine().devices.all().rbegin()->first;
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kPlugged, 0), Pair(kMounted, 0)));

  connect(kWin11, number);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kUnmounted, 0), Pair(kAttached, kWin11)));

  disconnect(kWin11, number);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kDetached, kWin11)));

  simulator.change([](MachineState& now) { now.devices.unplug(kStick); });
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kUnmounted, 0), Pair(kUnplugged, 0)));
}

TEST_F(DevicesTest, OnlyMountingAndUnmountingAreBroadcast) {
  for (int code = 0; code <= 70; ++code) {
    EXPECT_EQ(isBroadcast({static_cast<EventCode>(code), 0, {}}),
              code == kMounted || code == kUnmounted)
        << code;
  }
}

TEST_F(DevicesTest, APolicyIsStoredListedAndReported) {
  EXPECT_EQ(statusOf("setLocalPolicy",
                     {int16(kCamera), int16(-7), bytes("Desk camera"), bytes("by hand")}),
            Status::kOk);

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(static_cast<int>(events[0].code), kChanged);
  EXPECT_EQ(events[0].vm, 0u);
  const Bytes record = list("getDeviceStatus", {int16(kCamera)}).at(0);
  EXPECT_EQ(record, events[0].record);
  EXPECT_EQ(read(record, device::kPolicy), -7);
  EXPECT_EQ(read(record, device::kName), "Desk camera");
  EXPECT_EQ(read(record, device::kPolicyText), "by hand");
}

TEST_F(DevicesTest, AnEmptyNameInAPolicyLeavesTheName) {
  EXPECT_EQ(statusOf("setLocalPolicy", {int16(kCamera), int16(1), bytes(""), bytes("")}),
            Status::kOk);
  EXPECT_EQ(statusOf("setLocalPolicy", {int16(99), int16(1), bytes(""), bytes("")}),
            Status::kUnknownDevice);

  EXPECT_EQ(device(kCamera).name, "Built-in camera");
}

TEST_F(DevicesTest, APolicyCanForbidAttaching) {
  statusOf("setLocalPolicy", {int16(kTablet), int16(2), bytes(""), bytes("")});
  EXPECT_EQ(connect(kWin11, kTablet), Status::kForbidden);

  statusOf("setLocalPolicy", {int16(kTablet), int16(1), bytes(""), bytes("")});
  EXPECT_EQ(connect(kWin11, kTablet), Status::kOk);
}

TEST_F(DevicesTest, NetworkDevicesAreAddedAndDeletedByText) {
  EXPECT_EQ(statusOf("addNetworkDevice", {int32(3), bytes("scanner@10.0.0.9")}), Status::kOk);
  EXPECT_EQ(statusOf("addNetworkDevice", {int32(3), bytes("scanner@10.0.0.9")}), Status::kExists);
  EXPECT_EQ(statusOf("addNetworkDevice", {int32(3), bytes("")}), Status::kEmptyText);
  const Device* const added = machine().devices.findNetwork("scanner@10.0.0.9");
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->networkType, 3);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kPlugged, 0)));

  EXPECT_EQ(statusOf("deleteNetworkDevice", {bytes("scanner"), bytes("")}), Status::kUnknownDevice);
  EXPECT_EQ(statusOf("deleteNetworkDevice", {bytes("Built-in camera"), bytes("")}),
            Status::kUnknownDevice);
  EXPECT_EQ(statusOf("deleteNetworkDevice", {bytes("scanner@10.0.0.9"), bytes("gone")}),
            Status::kOk);
  EXPECT_EQ(machine().devices.findNetwork("scanner@10.0.0.9"), nullptr);
  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kUnplugged, 0)));
}

TEST_F(DevicesTest, DenyingCamerasDetachesThemAndRefusesToAttach) {
  connect(kWin11, kCamera);
  takeEvents();
  EXPECT_EQ(call("CheckCameraAuthStat", {}), qxbus::Values{int32(0)});

  simulator.change([](MachineState& now) { now.devices.allowCamera(false); });

  EXPECT_THAT(takeEventCodes(), ElementsAre(Pair(kDetached, kWin11)));
  EXPECT_EQ(call("CheckCameraAuthStat", {}), qxbus::Values{int32(1)});
  EXPECT_EQ(connect(kWin11, kCamera), Status::kForbidden);
  EXPECT_EQ(connect(kWin11, kTablet), Status::kOk);

  simulator.change([](MachineState& now) { now.devices.allowCamera(true); });
  EXPECT_EQ(connect(kWin11, kCamera), Status::kOk);

  simulator.change([](MachineState& now) { now.devices.unplug(kCamera); });
  EXPECT_EQ(call("CheckCameraAuthStat", {}), qxbus::Values{int32(2)});
}

TEST_F(DevicesTest, UsbDevicesOfClientsAreStoredByVmAndIdentity) {
  EXPECT_EQ(statusOf("setUsbredirStatus", {int32(kWin11), int16(-2), block8(0x0102030405060708)}),
            Status::kOk);
  EXPECT_EQ(statusOf("setUsbredirStatus", {int32(kNoSuchVm), int16(1), block8(1)}),
            Status::kUnknownVm);

  const auto& reports = machine().streamReports.all();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_THAT(reports.at(kWin11).usbStatus, ElementsAre(Pair(0x0102030405060708, -2)));
}

}  // namespace
}  // namespace velsim
