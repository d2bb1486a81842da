#include <nlohmann/json.hpp>

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

using nlohmann::json;
using ::testing::IsEmpty;

class ServiceCommandsTest : public SimulatedServiceTest {
 protected:
  ServiceCommandsTest() { simulator.setCommands(&control); }

  // The answer to a command that succeeds.
  json run(const std::string& word) { return runAndRead(word).at("answer"); }

  // What the event says.
  json runAndRead(const std::string& word) {
    takeEvents();
    EXPECT_EQ(call("dovelcmd", {int32(kWin11), word, int32(70000)}), statusValues(Status::kOk));
    const std::vector<BusEvent> events = takeEvents();
    if (events.empty()) {
      ADD_FAILURE() << word;
      return {};
    }
    EXPECT_EQ(static_cast<int>(events.back().code), 66);
    EXPECT_EQ(events.back().vm, kWin11);
    const json answer = json::parse(read(events.back().record, command_answer::kText));
    EXPECT_EQ(answer.at("id"), 70000);
    EXPECT_EQ(answer.at("command"), word);
    return answer;
  }

  Control control{simulator, [] {}};
};

TEST_F(ServiceCommandsTest, EachWordOfTheHelpIsACommand) {
  const std::string help = std::get<std::string>(call("getvelcmdhelp", {int32(0)}).at(0));

  std::size_t count = 0;
  for (std::size_t begin = 0; begin < help.size(); begin = help.find('\n', begin) + 1) {
    runAndRead(help.substr(begin, help.find(' ', begin) - begin));
    ++count;
  }
  EXPECT_GE(count, 14u);
  EXPECT_EQ(help, *control.run("help"));
}

TEST_F(ServiceCommandsTest, RunControlCommands) {
  EXPECT_EQ(run("plug camera \"Front camera\""), "plugged in 31");

  EXPECT_EQ(machine().devices.find(31)->name, "Front camera");
}

TEST_F(ServiceCommandsTest, AnswerWithTheErrorOfAKnownCommand) {
  EXPECT_EQ(runAndRead("unplug 99").at("error"),
            "unplug: no device or printer 99 is plugged in; type list for those that are");
  EXPECT_EQ(runAndRead("plug camera \"open").at("error"), "unclosed quote: plug camera \"open");
}

TEST_F(ServiceCommandsTest, TheEventsOfACommandComeBetweenItsStatusAndItsAnswer) {
  std::vector<std::string> order;
  simulator.setEventSink([&order](const BusEvent& event) {
    order.push_back("event " + std::to_string(static_cast<int>(event.code)));
  });

  simulator.answer("dovelcmd", {int32(0), "plug camera", int32(1)},
                   [&order](const Simulator::Answer&) { order.push_back("status"); });

  EXPECT_THAT(order, ::testing::ElementsAre("status", "event 4", "event 66"));
}

TEST_F(ServiceCommandsTest, AreUnknownWithoutARunner) {
  simulator.setCommands(nullptr);

  EXPECT_EQ(call("dovelcmd", {int32(0), "vms", int32(1)}), statusValues(Status::kUnknownCommand));
  EXPECT_EQ(call("getvelcmdhelp", {int32(0)}), qxbus::Values{std::string()});
}

TEST_F(ServiceCommandsTest, UnknownCommandsAreRefusedWithoutAnEvent) {
  EXPECT_EQ(call("dovelcmd", {int32(kWin11), "reboot", int32(1)}),
            statusValues(Status::kUnknownCommand));
  EXPECT_EQ(call("dovelcmd", {int32(kWin11), "", int32(1)}), statusValues(Status::kUnknownCommand));
  EXPECT_EQ(call("dovelcmd", {int32(kNoSuchVm), "vms", int32(1)}),
            statusValues(Status::kUnknownVm));

  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(ServiceCommandsTest, AcceptThisMachineInPlaceOfAVm) {
  EXPECT_EQ(call("dovelcmd", {int32(0), "vms", int32(-1)}), statusValues(Status::kOk));

  const std::vector<BusEvent> events = takeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].vm, 0u);
  EXPECT_EQ(json::parse(read(events[0].record, command_answer::kText)).at("id"), -1);
}

TEST_F(ServiceCommandsTest, ShowTheSessions) {
  call("connectVm", {int32(kWin11), int32(1), int32(1), int32(0)});
  call("onFocusChanged", {int32(kWin11), int32(1), uint64(5)});

  const json vms = run("vms").at("vms");
  EXPECT_EQ(vms.size(), 4u);
  for (const json& vm : vms) {
    const bool isWin11 = vm.at("vm") == "win11";
    EXPECT_EQ(vm.at("isConnected"), isWin11) << vm;
    EXPECT_EQ(vm.at("hasFocus"), isWin11) << vm;
  }
}

TEST_F(ServiceCommandsTest, ShowDevicesAndPrinters) {
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  call("addNetworkDevice", {int32(3), bytes("scanner")});
  call("addNetworkPrinter", {"10.0.0.5", "Hall", "duplex"});

  const json devices = run("devices");
  EXPECT_EQ(devices.at("camera"), 0);
  EXPECT_EQ(devices.at("devices").at(0).at("isMounted"), true);
  EXPECT_EQ(devices.at("devices").at(1), (json{{"number", 12},
                                               {"type", "camera"},
                                               {"name", "Built-in camera"},
                                               {"sourceId", "0x7e5700020000000c"},
                                               {"status", 2},
                                               {"vm", 101},
                                               {"policy", 0},
                                               {"policyText", ""}}));
  EXPECT_EQ(devices.at("devices").back().at("networkType"), 3);
  const json printers = run("printers").at("printers");
  EXPECT_EQ(printers.at(0).at("name"), "Office laser");
  EXPECT_EQ(printers.at(2).at("address"), "10.0.0.5");
  EXPECT_EQ(printers.at(2).at("extra"), "duplex");
}

TEST_F(ServiceCommandsTest, ShowTheTroubleOfAPrinterThatHasOne) {
  const json well = run("printers").at("printers").at(0);
  EXPECT_FALSE(well.contains("trouble"));

  machine().printers.setTrouble(well.at("number"), PrinterTrouble::kPaperJam);

  EXPECT_EQ(run("printers").at("printers").at(0).at("trouble"), "paper-jam");
}

TEST_F(ServiceCommandsTest, ShowPoliciesAndJoysticks) {
  call("setAutoConnect", {int32(0), int16(2), int16(1)});
  machine().policies.setPopupCard(3, 4);
  call("setTurboConfigWithVidPid", {int32(0), int16(0x1234), int16(0x5678), bytes("fast")});
  call("setJoystickMapping", {int16(1), int16(2)});
  call("registerJoystickCallback", {block8(7)});

  const json policies = run("policies");
  EXPECT_EQ(policies.at("autoConnect"), json({{{"deviceType", 2}, {"setting", 1}}}));
  EXPECT_EQ(policies.at("popupCards"), json({{{"deviceType", 3}, {"setting", 4}}}));
  EXPECT_EQ(policies.at("byVidPid").at(0).at("turbo"), "fast");
  EXPECT_EQ(policies.at("byVidPid").at(1).at("property"), 30);
  const json joysticks = run("joysticks");
  EXPECT_EQ(joysticks.at("joysticks").at(1).at("mapping"), "Racing");
  EXPECT_EQ(joysticks.at("subscribers"), 1);
}

TEST_F(ServiceCommandsTest, ShowTheQualityThatClientsReport) {
  EXPECT_EQ(run("quality").at("reports"), json::array());

  EXPECT_EQ(call("setBwInfo", {int32(kWin11), uint64(10), uint64(0xFFFFFFFFFFFFFFFF)}),
            statusValues(Status::kOk));
  EXPECT_EQ(call("setRtcQosInfo", {int32(kWin11), uint64(1), uint64(7)}),
            statusValues(Status::kOk));
  EXPECT_EQ(call("setRtcQosInfo", {int32(kWin11), uint64(2)}), statusValues(Status::kOk));

  EXPECT_EQ(
      run("quality").at("reports"),
      json({{{"vm", 101},
             {"bandwidth", {10, 0xFFFFFFFFFFFFFFFF}},
             {"quality", {{{"type", 1}, {"figure", 7}}, {{"type", 2}, {"figure", nullptr}}}}}}));
}

TEST_F(ServiceCommandsTest, InvalidQualityReportsAreRefused) {
  EXPECT_EQ(call("setRtcQosInfo", {int32(kWin11), uint64(2), uint64(7)}),
            statusValues(Status::kUnknownFigure));
  EXPECT_EQ(call("setRtcQosInfo", {int32(kNoSuchVm), uint64(1), uint64(7)}),
            statusValues(Status::kUnknownVm));
  EXPECT_EQ(call("setRtcQosInfo", {int32(kNoSuchVm), uint64(1)}), statusValues(Status::kUnknownVm));
  EXPECT_EQ(call("setBwInfo", {int32(0), uint64(1), uint64(2)}), statusValues(Status::kUnknownVm));

  EXPECT_EQ(run("quality").at("reports"), json::array());
}

TEST_F(ServiceCommandsTest, ShowUsbDevicesOfClients) {
  call("setUsbredirStatus", {int32(kWin11), int16(3), block8(0x0102030405060708)});

  EXPECT_EQ(run("usb").at("usb"),
            json({{{"vm", 101}, {"identity", "0x0102030405060708"}, {"status", 3}}}));
}

}  // namespace
}  // namespace velsim
