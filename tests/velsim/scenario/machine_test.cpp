// Machines of scenarios as clients see them.

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/scenario_file.h"

namespace velsim {
namespace {

using qxbus::Values;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr char kClinic[] = R"({
  "vms": [ { "id": "records", "number": 7, "connection": { "systemType": 3 }, "isStarted": true },
           { "id": "lab", "number": 8 } ],
  "firstPluggedNumber": 4,
  "devices": [
    { "number": 4, "type": "generic", "name": "Card reader", "vid": "0x1234", "pid": 17,
      "vm": "records" },
    { "number": 5, "type": "storage", "name": "Stick", "isMounted": false, "policy": 2,
      "policyText": "never", "sourceId": "0xabc" },
    { "number": 600, "type": "network", "name": "10.0.0.9", "networkType": 5 },
    { "number": 7, "type": "camera", "name": "Camera", "isIgnored": true } ],
  "cameras": "denied",
  "printers": [ { "number": 20, "name": "Labels", "trouble": "out-of-paper", "vm": "records" } ],
  "networkPrinters": [ { "number": 21, "name": "Hall", "address": "10.0.0.5", "extra": "duplex" } ],
  "sharedPrinters": { "searchTime": 250,
                      "found": [ { "address": "10.1.1.1", "name": "Attic" } ],
                      "added": [ { "address": "10.1.1.2", "name": "Cellar" } ] },
  "drivers": [ { "name": "Strip", "words": ["label"] } ],
  "printQueues": [ { "name": "strips", "uri": "usb://20", "driver": "Strip", "testPages": 2 } ],
  "joystickMappings": ["Standard", "Flight"],
  "joysticks": [ { "vid": 1, "pid": 2, "name": "Stick", "mapping": "Flight", "isCalibrated": true } ],
  "policies": { "autoConnect": [ { "deviceType": 5, "setting": 1 } ],
                "byVidPid": [ { "vid": 1, "pid": 2, "deviceType": 2, "builtInProperty": 15,
                                "property": 25, "turbo": "fast" } ] },
  "diagnosis": { "stepTime": "2s", "steps": ["looking"],
                 "findings": [ { "number": 5, "status": "fault", "text": "worn out" } ] }
})";

Setup setupOf(const std::string& text) {
  Mistakes mistakes("test");
  const std::optional<Scenario> scenario = parseScenario(text, mistakes);
  EXPECT_THAT(mistakes.lines(), IsEmpty());
  return scenario ? scenario->setup : Setup();
}

class ScenarioMachineTest : public ::testing::Test {
 protected:
  ScenarioMachineTest() {
    simulator.setEventSink([this](const BusEvent& event) { events.push_back(event); });
  }

  Values call(const std::string& method, const Values& arguments) {
    Values given;
    simulator.answer(method, arguments, [&given](const Simulator::Answer& answer) {
      given = std::get<Values>(answer);
    });
    return given;
  }
  const MachineState& machine() { return machineOf(simulator); }

  std::vector<BusEvent> events;
  SteppedClock* clock = new SteppedClock;
  Simulator simulator{setupOf(kClinic), std::unique_ptr<Scheduler>(clock)};
};

TEST_F(ScenarioMachineTest, HasTheVmsOfItsScenario) {
  EXPECT_EQ(call("getVmList", {int32(0)}),
            (Values{int32(2), "lab", int32(8), "records", int32(7)}));
  EXPECT_EQ(machine().vms.find(7)->attachment->systemType, 3);
  EXPECT_TRUE(machine().vms.find(7)->isStarted);
  EXPECT_FALSE(machine().vms.find(8)->attachment);
}

TEST_F(ScenarioMachineTest, HasTheDevicesOfItsScenario) {
  const Device& reader = *machine().devices.find(4);
  EXPECT_EQ(reader.vid, 0x1234);
  EXPECT_EQ(reader.pid, 17);
  EXPECT_EQ(reader.sourceId, 0x1234001100000004u);
  EXPECT_EQ(reader.status, DeviceStatus::kAttached);
  EXPECT_EQ(reader.vm, 7u);
  const Device& stick = *machine().devices.find(5);
  EXPECT_EQ(stick.sourceId, 0xABCu);
  EXPECT_FALSE(stick.isMounted);
  EXPECT_EQ(stick.policyText, "never");
  EXPECT_EQ(call("connectDevice", {int32(7), int16(5)}), statusValues(Status::kForbidden));
  EXPECT_EQ(machine().devices.find(600)->networkType, 5);
  EXPECT_EQ(machine().devices.find(7)->status, DeviceStatus::kIgnored);
  EXPECT_EQ(machine().devices.cameraStatus(), CameraStatus::kDenied);
}

TEST_F(ScenarioMachineTest, HasThePrintersOfItsScenario) {
  const qxbus::Bytes labels = std::get<qxbus::Bytes>(call("getPrinterStatus", {int16(20)}).at(1));
  EXPECT_EQ(read(labels, printer::kStatus), 4);
  EXPECT_EQ(read(labels, printer::kVm), 7);
  EXPECT_EQ(machine().printers.find(21)->address, "10.0.0.5");
  EXPECT_EQ(machine().printers.find(21)->extra, "duplex");
  EXPECT_EQ(machine().printQueues.all().at("strips").testPages, 2u);
  EXPECT_THAT(machine().printQueues.driversFor("Label printer"), ElementsAre("Strip"));
  EXPECT_EQ(call("autoAddPrinter", {"new", "usb://21", "Plotter"}),
            statusValues(Status::kUnknownDriver));
}

TEST_F(ScenarioMachineTest, SearchesTakeTheTimeOfTheScenario) {
  std::optional<Simulator::Answer> answer;
  simulator.answer("searchSharePrinter", {"10.1.1.1"},
                   [&answer](const Simulator::Answer& given) { answer = given; });

  clock->advance(std::chrono::milliseconds(249));
  EXPECT_FALSE(answer);
  clock->advance(std::chrono::milliseconds(1));
  ASSERT_TRUE(answer);
  EXPECT_EQ(std::get<Values>(*answer), (Values{int32(0), int32(1), "10.1.1.1", "Attic", ""}));
  EXPECT_EQ(machine().sharedPrinters.added().size(), 1u);
}

TEST_F(ScenarioMachineTest, DiagnosesReportTheStepsAndFindingsOfTheScenario) {
  call("diagnoseDevice", {int32(8), int32(5)});
  clock->advance(std::chrono::seconds(2));

  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(read(events[0].record, diagnosis::kText), "looking");
  EXPECT_EQ(read(events[1].record, diagnosis::kText), "worn out");
  EXPECT_EQ(read(events[1].record, diagnosis::kStatus), 2u);
}

TEST_F(ScenarioMachineTest, JoysticksAndPoliciesAreThoseOfTheScenario) {
  EXPECT_EQ(machine().joysticks.all().at(0).mapping, 1);
  EXPECT_TRUE(machine().joysticks.all().at(0).isCalibrated);
  EXPECT_EQ(machine().policies.autoConnect(5), 1);
  EXPECT_EQ(machine().policies.property({1, 2}), 25);
  EXPECT_EQ(machine().policies.turboText({1, 2}), "fast");
}

TEST_F(ScenarioMachineTest, NumbersOfTheScenarioAreNeverGivenToOtherDevices) {
  std::vector<std::uint16_t> numbers;
  simulator.change([&numbers](MachineState& now) {
    now.devices.unplug(5);
    for (int i = 0; i < 3; ++i) {
      numbers.push_back(now.plug(DeviceType::kTablet, "Tablet")->number);
    }
  });

  EXPECT_THAT(numbers, ElementsAre(6, 8, 9));
}

TEST_F(ScenarioMachineTest, AnUnpluggedDeviceComesBackAsItWas) {
  simulator.change([](MachineState& now) {
    EXPECT_EQ(now.devices.replug(5), Status::kExists);
    EXPECT_EQ(now.devices.unplug(5), Status::kOk);
    EXPECT_EQ(now.devices.replug(5), Status::kOk);
    EXPECT_EQ(now.devices.replug(99), Status::kUnknownDevice);
    EXPECT_EQ(now.printers.unplug(20), Status::kOk);
    EXPECT_EQ(now.printers.replug(20), Status::kOk);
  });

  EXPECT_EQ(machine().devices.find(5)->policyText, "never");
  EXPECT_EQ(machine().devices.find(5)->sourceId, 0xABCu);
  EXPECT_EQ(machine().printers.find(20)->vm, 0u);
}

TEST_F(ScenarioMachineTest, AResetAttachesNothingToAVmThatWasRemoved) {
  simulator.change([](MachineState& now) { now.vms.remove("records"); });
  EXPECT_EQ(machine().devices.find(4)->vm, 0u);

  call("resetService", {});

  EXPECT_EQ(machine().devices.find(4)->vm, 0u);
  EXPECT_EQ(machine().printers.find(20)->vm, 0u);
}

TEST_F(ScenarioMachineTest, AResetRestoresTheScenario) {
  call("disconnectVm", {int32(7)});
  call("setJoystickMapping", {int16(0), int16(0)});
  simulator.change([](MachineState& now) {
    now.devices.setPolicy(5, 0, "Other", "");
    now.devices.removeNetwork("10.0.0.9");
    now.printers.removeNetwork("Hall");
    now.policies.setProperty({1, 2}, 2, 1);
    now.sharedPrinters.remove("10.1.1.2", "Cellar");
  });
  ASSERT_EQ(machine().devices.find(4)->vm, 0u);
  ASSERT_EQ(machine().devices.find(600), nullptr);
  ASSERT_EQ(machine().printers.find(21), nullptr);

  call("resetService", {});

  EXPECT_TRUE(machine().vms.find(7)->attachment);
  EXPECT_EQ(machine().devices.find(4)->vm, 7u);
  EXPECT_EQ(machine().devices.find(5)->name, "Stick");
  EXPECT_EQ(machine().devices.find(5)->policy, 2);
  EXPECT_FALSE(machine().devices.find(5)->isMounted);
  EXPECT_EQ(machine().devices.find(600)->networkType, 5);
  EXPECT_EQ(machine().devices.find(7)->status, DeviceStatus::kIgnored);
  EXPECT_EQ(machine().printers.find(20)->vm, 7u);
  EXPECT_EQ(machine().printers.find(21)->address, "10.0.0.5");
  EXPECT_EQ(machine().joysticks.all().at(0).mapping, 1);
  EXPECT_EQ(machine().policies.property({1, 2}), 25);
  EXPECT_EQ(machine().sharedPrinters.added().size(), 1u);
}

}  // namespace
}  // namespace velsim
