// Devices that come and go, and a service that dies, while all models of the panel are used.

#include "examples/panel/desktop/notifications.h"
#include "examples/panel/new_devices/new_devices_model.h"
#include "examples/panel/quality/quality_model.h"
#include "tests/panel/panel_test.h"

namespace panel {
namespace {

class HotPlugModelsTest : public PanelTest {
 protected:
  // With the lists of the service that is there now.
  bool isReady() {
    return loopUntil([&] { return service.isReady() && !service.isReading(); });
  }

  Service service{std::chrono::milliseconds(50)};
  ThingsModel things{service};
  NewDevicesModel newDevices{service, things};
  QualityModel quality{service, std::chrono::milliseconds(1)};
};

TEST_F(HotPlugModelsTest, QuestionsAnswersAndReadingsGoOnBesideEachOther) {
  constexpr int kRounds = 50;
  int notified = 0;
  const Notifications notifications(
      service, things, [] { return true; },
      [&](const QString& /*title*/, const QString& /*text*/) { ++notified; });
  ASSERT_TRUE(isReady());
  quality.watch(true);
  for (int round = 0; round < kRounds; ++round) {
    const vel::DeviceNumber device = plug("generic \"Adapter\"");
    ASSERT_TRUE(loopUntil([&] { return newDevices.waiting().size() == 1; }));
    service.refresh();
    if (round % 2 == 0) {
      newDevices.attach(device, "win11");
    } else {
      newDevices.ignore(device);
    }
    ASSERT_TRUE(loopUntil([&] { return newDevices.waiting().empty(); }));
    unplug(device);
    ASSERT_TRUE(loopUntil([&] { return things.find(device) == nullptr; }));
  }
  EXPECT_GT(notified, 0);
}

TEST_F(HotPlugModelsTest, AServiceThatDiesAndReturnsDoesNotDisturb) {
  constexpr int kRounds = 3;
  ASSERT_TRUE(isReady());
  quality.watch(true);
  for (int round = 0; round < kRounds; ++round) {
    plug("generic \"Adapter\"");
    velsim().kill();
    ASSERT_TRUE(loopUntil([&] { return !service.isReady(); }));
    velsim().start();
    ASSERT_TRUE(isReady());
    EXPECT_TRUE(newDevices.waiting().empty());
  }
}

}  // namespace
}  // namespace panel
