// Diagnoses and self-tests.

#include <nlohmann/json.hpp>

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr milliseconds kLong{1000};
constexpr unsigned kFine = 0;
constexpr unsigned kRunning = 1;
constexpr unsigned kFault = 2;

class DiagnosisTest : public SimulatedServiceTest {
 protected:
  json diagnose(VmNumber vm, std::uint64_t sourceId) {
    return textOf("diagnose", {int32(vm), block8(sourceId)});
  }
  json diagnoseDevice(VmNumber vm, int device) {
    return textOf("diagnoseDevice", {int32(vm), int32(device)});
  }
  json textOf(const std::string& method, const qxbus::Values& arguments) {
    return json::parse(std::get<std::string>(call(method, arguments).at(0)));
  }
  void attachCamera() {
    call("connectVm", {int32(kWin11), int32(1), int32(1), int32(0)});
    call("connectDevice", {int32(kWin11), int16(kCamera)});
    takeEvents();
  }
  // Status and text of each reported step.
  std::vector<std::pair<unsigned, std::string>> steps(std::uint64_t id) {
    std::vector<std::pair<unsigned, std::string>> found;
    for (const BusEvent& event : takeEvents()) {
      EXPECT_EQ(static_cast<int>(event.code), 9);
      EXPECT_EQ(event.vm, kWin11);
      EXPECT_EQ(read(event.record, diagnosis::kId), id);
      EXPECT_EQ(read(event.record, diagnosis::kVm), kWin11);
      found.emplace_back(read(event.record, diagnosis::kStatus),
                         read(event.record, diagnosis::kText));
    }
    return found;
  }
};

TEST_F(DiagnosisTest, AnswersAtOnceThenReportsItsSteps) {
  attachCamera();

  EXPECT_EQ(diagnose(kWin11, kCameraSource),
            (json{{"velservice", 0}, {"status", "ok"}, {"steps", 3}}));

  EXPECT_THAT(steps(kCameraSource), ElementsAre(Pair(kRunning, "checking the device")));
  clock->advance(milliseconds(100));
  EXPECT_THAT(steps(kCameraSource), ElementsAre(Pair(kRunning, "checking the session")));
  clock->advance(milliseconds(100));
  EXPECT_THAT(steps(kCameraSource), ElementsAre(Pair(kFine, "no fault found")));
  clock->advance(kLong);
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(DiagnosisTest, OfADeviceCarriesItsNumber) {
  attachCamera();

  EXPECT_EQ(diagnoseDevice(kWin11, kCamera).at("velservice"), 0);
  clock->advance(kLong);

  EXPECT_THAT(steps(kCamera),
              ElementsAre(Pair(kRunning, ::testing::_), Pair(kRunning, ::testing::_),
                          Pair(kFine, "no fault found")));
}

TEST_F(DiagnosisTest, FindsADeviceThatIsNotAttached) {
  attachCamera();
  diagnoseDevice(kWin11, kTablet);
  clock->advance(kLong);

  EXPECT_EQ(steps(kTablet).back(), std::pair(kFault, std::string("not attached to the VM")));
}

// A random scenario once removed the VM of a running diagnosis, which ended velsim.
TEST_F(DiagnosisTest, FindsAVmThatWasRemovedMeanwhile) {
  diagnose(kWin11, kCameraSource);
  machine().vms.remove("win11");
  clock->advance(kLong);

  EXPECT_EQ(steps(kCameraSource).back(), std::pair(kFault, std::string("VM removed meanwhile")));
}

TEST_F(DiagnosisTest, FindsAVmThatIsNotConnected) {
  call("connectPrinter", {int32(kWin11), int16(kLaser)});
  takeEvents();
  diagnose(kWin11, kLaserSource);
  clock->advance(kLong);

  EXPECT_EQ(steps(kLaserSource).back(), std::pair(kFault, std::string("VM not connected")));
}

TEST_F(DiagnosisTest, FindsNoFaultInAnAttachedPrinter) {
  attachCamera();
  call("connectPrinter", {int32(kWin11), int16(kLaser)});
  takeEvents();
  diagnose(kWin11, kLaserSource);
  clock->advance(kLong);

  EXPECT_EQ(steps(kLaserSource).back(), std::pair(kFine, std::string("no fault found")));
}

TEST_F(DiagnosisTest, FindsADeviceUnpluggedMeanwhile) {
  attachCamera();
  diagnose(kWin11, kCameraSource);
  simulator.change([](MachineState& now) { now.devices.unplug(kCamera); });
  takeEvents();
  clock->advance(kLong);

  EXPECT_EQ(steps(kCameraSource).back(), std::pair(kFault, std::string("unplugged meanwhile")));
}

TEST_F(DiagnosisTest, AnswersWhyItCannotBegin) {
  EXPECT_EQ(diagnose(kWin11, 7), (json{{"velservice", 6}, {"status", "unknown-device"}}));
  EXPECT_EQ(diagnose(kNoSuchVm, kCameraSource),
            (json{{"velservice", 1}, {"status", "unknown-vm"}}));
  EXPECT_EQ(diagnoseDevice(kWin11, 99).at("status"), "unknown-device");
  EXPECT_EQ(diagnoseDevice(kWin11, 0x10000 + kCamera).at("status"), "unknown-device");
  EXPECT_EQ(diagnoseDevice(kNoSuchVm, kCamera).at("status"), "unknown-vm");
  clock->advance(kLong);

  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(DiagnosisTest, SelfTestsReportEveryDeviceOrEveryPrinter) {
  EXPECT_EQ(call("doveltest", {int32(0), int16(0)}), statusValues(Status::kOk));
  EXPECT_THAT(takeEvents(), IsEmpty());

  EXPECT_EQ(call("doveltest", {int32(0), int16(1)}), statusValues(Status::kOk));
  const auto devices = takeEventCodes();
  EXPECT_EQ(devices.size(), 5u);
  EXPECT_THAT(devices, Each(Pair(10, 0)));

  EXPECT_EQ(call("doveltest", {int32(0), int16(2)}), statusValues(Status::kOk));
  const auto printers = takeEventCodes();
  EXPECT_EQ(printers.size(), 2u);
  EXPECT_THAT(printers, Each(Pair(1, 0)));

  EXPECT_EQ(call("doveltest", {int32(0), int16(-1)}), statusValues(Status::kUnknownTest));
}

}  // namespace
}  // namespace velsim
