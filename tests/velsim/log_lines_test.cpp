#include "vel/apps/local/velsim/log_lines.h"

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class LogLinesTest : public SimulatedServiceTest {
 protected:
  LogLine lineOfRequest(const std::string& method, const qxbus::Values& arguments) {
    const RequestLine line(simulator, method, arguments);
    return line.with(simulator.answer(method, arguments));
  }
  std::string textOfRequest(const std::string& method, const qxbus::Values& arguments) {
    return lineOfRequest(method, arguments).text;
  }
};

TEST_F(LogLinesTest, ARequestHasTheNamesOfItsVmAndItsDevice) {
  EXPECT_EQ(textOfRequest("connectDevice", {int32(kWin11), int16(kCamera)}),
            R"(connectDevice(vm 101 "win11", device 12 "Built-in camera") -> ok)");
}

TEST_F(LogLinesTest, ARefusalIsInWords) {
  EXPECT_EQ(textOfRequest("connectDevice", {int32(kWin11), int16(99)}),
            R"(connectDevice(vm 101 "win11", device 99) -> refused: unknown device (6))");
  EXPECT_EQ(textOfRequest("connectDevice", {int32(kNoSuchVm), int16(kCamera)}),
            R"(connectDevice(vm 9999, device 12 "Built-in camera") -> refused: unknown vm (1))");
}

TEST_F(LogLinesTest, AReplyOfMoreThanAStatusShowsBoth) {
  const RequestLine line(simulator, "searchSharePrinter", {"10.0.0.7"});
  const qxbus::Values reply = {int32(0), int32(1), "10.0.0.7", "Hall", "colour"};

  EXPECT_EQ(line.with(reply).text,
            R"(searchSharePrinter(address "10.0.0.7") -> ok, count 1, list ["10.0.0.7" "Hall"])");
}

TEST_F(LogLinesTest, ASourceIdIsANumberWithANameAlsoWhenItTravelsAsBytes) {
  EXPECT_EQ(textOfRequest("connectDeviceBySrcId", {int32(kWin11), uint64(kCameraSource)}),
            "connectDeviceBySrcId(vm 101 \"win11\", sourceId " + std::to_string(kCameraSource) +
                " \"Built-in camera\") -> ok");
  EXPECT_THAT(
      textOfRequest("ConfigUdisks2Command", {int32(kWin11), block8(kStickSource), int32(1)}),
      HasSubstr("sourceId " + std::to_string(kStickSource) + " \"Memory stick\""));
}

TEST_F(LogLinesTest, ArgumentsWithoutAUseAreLeftOut) {
  EXPECT_EQ(textOfRequest("getAutoConnect", {int32(0), int16(2)}),
            "getAutoConnect(deviceType 2) -> setting 0");
}

TEST_F(LogLinesTest, ATextIsOnOneLineAlsoWhenItTravelsAsBytes) {
  EXPECT_EQ(textOfRequest("getVmListSize", {"a\nb"}),
            R"(getVmListSize(vmId "a\x0ab") -> number 0)");
  EXPECT_EQ(textOfRequest("updateDriveToken", {bytes("a\nb")}),
            R"(updateDriveToken(token "a\x0ab") -> ok)");
  EXPECT_EQ(textOfRequest("updateDriveToken", {bytes("\xFF")}), "updateDriveToken(token ff) -> ok");
}

TEST_F(LogLinesTest, AListShowsNumbersAndNames) {
  EXPECT_THAT(textOfRequest("getDeviceList", {int32(0)}),
              HasSubstr(R"(-> count 5, list [11 "Memory stick", 12 "Built-in camera")"));
}

TEST_F(LogLinesTest, TheStateOfTheCameraIsInWords) {
  EXPECT_EQ(textOfRequest("CheckCameraAuthStat", {}),
            "CheckCameraAuthStat() -> camera allowed (0)");
}

TEST_F(LogLinesTest, ARequestThatDoesNotFitShowsTheError) {
  EXPECT_EQ(textOfRequest("nosuch", {}), "nosuch() -> error: nosuch: no such method");
  EXPECT_EQ(textOfRequest("startManager", {}),
            "startManager() -> error: startManager: argument 1 (vm) must be int32, got nothing");
  EXPECT_THAT(textOfRequest("connectDevice", {"x", bytes("y")}), HasSubstr("-> error: "));
}

TEST_F(LogLinesTest, TheNamesAreThoseOfTheTimeOfTheRequest) {
  const qxbus::Values arguments = {int32(kWin11), int16(kCamera)};
  const RequestLine line(simulator, "connectDevice", arguments);
  simulator.change([](MachineState& state) { state.devices.unplug(kCamera); });

  EXPECT_EQ(line.with(simulator.answer("connectDevice", arguments)).text,
            "connectDevice(vm 101 \"win11\", device 12 \"Built-in camera\") -> refused: unknown "
            "device (6)");
}

TEST_F(LogLinesTest, AnEventHasItsNameAndItsRecord) {
  call("connectDevice", {int32(kWin11), int16(kCamera)});
  const std::vector<BusEvent> events = takeEvents();

  ASSERT_EQ(events.size(), 1u);
  const std::string line = lineOf(events[0]).text;
  EXPECT_THAT(line, HasSubstr("event device attached (6): vm 101 \"win11\", devNumber 12, "));
  EXPECT_THAT(line, HasSubstr("status 2 (attached)"));
  EXPECT_THAT(line, HasSubstr("type 2 (camera)"));
  EXPECT_THAT(line, HasSubstr("name \"Built-in camera\""));
  EXPECT_THAT(line, Not(HasSubstr("policyText")));
}

TEST_F(LogLinesTest, ARecordOfAnyLengthIsShown) {
  EXPECT_EQ(lineOf({EventCode::kDiagnosis, 0x80000001, {1, 2}}).text,
            "event diagnosis (9): vm 2147483649, id 0, status 0 (fine), vmId 0");
}

TEST_F(LogLinesTest, ProgramsGetNamesAndNumbers) {
  const auto json = lineOfRequest("connectDevice", {int32(kWin11), int16(99)}).json;

  EXPECT_EQ(json.dump(),
            R"({"kind":"request","method":"connectDevice","arguments":{"vm":101,"device":99},)"
            R"("names":{"vm":"win11"},"result":"refused","status":6,"statusName":"unknown-device",)"
            R"("reply":{"status":6}})");
}

TEST_F(LogLinesTest, ProgramsGetTheRecordOfAnEvent) {
  call("connectDevice", {int32(kWin11), int16(kCamera)});

  const auto json = lineOf(takeEvents().at(0)).json;

  EXPECT_EQ(json["kind"], "event");
  EXPECT_EQ(json["event"], "device attached");
  EXPECT_EQ(json["code"], 6);
  EXPECT_EQ(json["vm"], 101);
  EXPECT_EQ(json["vmName"], "win11");
  EXPECT_EQ(json["record"]["name"], "Built-in camera");
}

}  // namespace
}  // namespace velsim
