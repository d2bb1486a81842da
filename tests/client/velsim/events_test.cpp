// The events that velsim sends, as values.

#include "tests/client/velsim/velsim_test.h"

namespace {

class VelsimEventsTest : public VelsimTest {
 protected:
  // The service sends a VM's events to the clients that have named it.
  VelsimEventsTest() {
    EXPECT_THAT(client.vmNumber(kWindows), Succeeds());
    subscriptions.push_back(
        client.onDevice([this](const vel::DeviceEvent& event) { events.add(event); }));
    subscriptions.push_back(
        client.onPrinter([this](const vel::PrinterEvent& event) { events.add(event); }));
    subscriptions.push_back(
        client.onNewDevice([this](const vel::NewDeviceEvent& event) { events.add(event); }));
    subscriptions.push_back(
        client.onDiagnosis([this](const vel::DiagnosisEvent& event) { events.add(event); }));
    subscriptions.push_back(
        client.onCommand([this](const vel::CommandEvent& event) { events.add(event); }));
  }

  void expectEvent(const std::string& text) {
    EXPECT_TRUE(events.contain(text)) << text << " is not among:\n" << events.all();
  }

  Events events;
  std::vector<vel::Subscription> subscriptions;
};

TEST_F(VelsimEventsTest, DevicesComeAndGo) {
  // "plugged in NUMBER"
  const std::string answer = velsim().control("plug camera \"Front camera\"");
  const std::string number = answer.substr(answer.rfind(' ') + 1);
  const vel::DeviceNumber camera(static_cast<std::uint16_t>(std::stoul(number)));
  expectEvent("device plugged in vm 0 \"\": " + number +
              " \"Front camera\" available none \"\" vm 0 \"\"");

  EXPECT_THAT(client.attach(kWindows, camera), Succeeds());
  expectEvent("device attached vm 101 \"win11\": " + number +
              " \"Front camera\" attached none \"\" vm 101 \"win11\"");
  EXPECT_THAT(client.detach(kWindows, camera), Succeeds());
  expectEvent("device detached vm 101 \"win11\": " + number + " \"Front camera\" available");
  EXPECT_THAT(client.setLocalPolicy(camera, vel::LocalPolicy::kAllowed, "Door", "t"), Succeeds());
  expectEvent("device changed vm 0 \"\": " + number + " \"Door\" available allowed \"t\"");
  velsim().control("unplug " + number);
  expectEvent("device unplugged vm 0 \"\": " + number + " \"Door\" gone");
}

TEST_F(VelsimEventsTest, StorageIsMounted) {
  EXPECT_THAT(client.commandStorage(kWindows, sourceOf(kStick), 2), Succeeds());
  expectEvent("storage unmounted vm 0 \"\": 11 \"Memory stick\"");
  expectEvent(
      "result of a storage command vm 101 \"win11\": 7e57:0001 done \"Memory stick\" "
      "\"ok\" source ");
  EXPECT_THAT(client.commandStorage(kWindows, sourceOf(kStick), 1), Succeeds());
  expectEvent("storage mounted vm 0 \"\": 11 \"Memory stick\"");
}

TEST_F(VelsimEventsTest, NewDevicesHaveAResult) {
  EXPECT_THAT(
      client.attachNewDevice(kWindows, vel::SourceId(99), vel::DeviceType::kCamera, false, 0),
      testing::Not(Succeeds()));
  expectEvent(
      "result of attaching a new device vm 101 \"win11\": 0000:0000 not done \"\" "
      "\"unknown-device\" source 99");
  EXPECT_THAT(client.ignoreNewDevice(sourceOf(kCamera), vel::DeviceType::kCamera, false, 0),
              Succeeds());
  expectEvent(
      "result of ignoring a new device vm 0 \"\": 7e57:0002 done \"Built-in camera\" "
      "\"ok\"");
}

TEST_F(VelsimEventsTest, PrintersChange) {
  EXPECT_THAT(client.attach(kWindows, kLaser), Succeeds());
  expectEvent(
      "printer changed vm 101 \"win11\": 21 \"Office laser\" attached vm 101 \"win11\" "
      "attached");
}

TEST_F(VelsimEventsTest, DiagnosesReportTheirSteps) {
  EXPECT_THAT(client.diagnose(kWindows, kCamera), Succeeds());
  expectEvent("diagnosis vm 101 \"win11\": 12 running \"checking the device\"");
  expectEvent("diagnosis vm 101 \"win11\": 12 fault \"VM not connected\"");
}

TEST_F(VelsimEventsTest, CommandsAreAnswered) {
  EXPECT_THAT(client.command(kWindows, "vms", 70000), Succeeds());
  expectEvent("answer to a command vm 101 \"win11\": \"{\"id\":70000,\"command\":\"vms\"");
}

}  // namespace
