// Every method, its arguments as clients send them, and everything that differs from that.

#include <set>

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Value;
using qxbus::Values;
using ::testing::StartsWith;

const char* const kMethods[] = {
    "CheckCameraAuthStat",
    "ConfigPrinterCommand",
    "ConfigUdisks2Command",
    "addNetworkDevice",
    "addNetworkPrinter",
    "addPrinter",
    "addSharePrinter",
    "autoAddPrinter",
    "calibrationJoystick",
    "changePrinterDriver",
    "configNewDeviceAsConnect",
    "configNewDeviceAsIgnore",
    "connectDevice",
    "connectDeviceBySrcId",
    "connectPrinter",
    "connectVm",
    "createPipe",
    "deleteNetworkDevice",
    "deleteNetworkPrinter",
    "deletePrinter",
    "deleteSharePrinter",
    "destroyPipe",
    "diagnose",
    "diagnoseDevice",
    "disconnectDevice",
    "disconnectDeviceBySrcId",
    "disconnectPrinter",
    "disconnectVm",
    "dovelcmd",
    "doveltest",
    "getAutoConnect",
    "getDeviceList",
    "getDevicePropertyWithVidPid",
    "getDeviceStatus",
    "getJoystickDevList",
    "getJoystickMappingList",
    "getLocalDevicePropertyWithVidPid",
    "getNetworkPrinterList",
    "getPolicyListByVidPid",
    "getPrinterDriverlList",
    "getPrinterList",
    "getPrinterStatus",
    "getTurboConfigWithVidPid",
    "getVmList",
    "getVmListSize",
    "getvelcmdhelp",
    "onFocusChanged",
    "printTestPage",
    "redirectDevice",
    "registerJoystickCallback",
    "renameNetworkPrinter",
    "resetAllDeviceProperty",
    "resetService",
    "searchAllPrinter",
    "searchSharePrinter",
    "setAutoConnect",
    "setBwInfo",
    "setDevicePropertyWithVidPid",
    "setJoystickMapping",
    "setLocalPolicy",
    "setPortChannelStatus",
    "setRtcQosInfo",
    "setTurboConfigWithVidPid",
    "setUsbredirStatus",
    "startManager",
    "stopSearchSharePrinter",
    "unregisterJoystickCallback",
    "updateDriveToken",
};
static_assert(std::size(kMethods) == 68, "the service has 68 methods");

struct Row {
  const char* name;
  const char* method;
  Values arguments;
  // Whether the last argument may be left away.
  bool isLastOptional = false;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << row.name;
}

const Value kVm = std::int32_t{101};
const Value kInt16 = std::int16_t{1};
const Value kInt32 = std::int32_t{1};
const Value kUInt64 = std::uint64_t{1};
const Value kText = std::string("text");
const Value kBlock = Bytes{'t', 'e', 'x', 't'};
const Value kEight = Bytes(8);
const Value kPipe = Bytes(268);
const Value kZero = std::int32_t{0};

const Row kRows[] = {
    {"resetService", "resetService", {}},
    {"connectVm", "connectVm", {kVm, kInt32, kInt32, kInt32}},
    {"disconnectVm", "disconnectVm", {kVm}},
    {"createPipe", "createPipe", {kVm, std::int32_t{2}, kPipe, kPipe}},
    {"createPipeOfNone", "createPipe", {kVm, kZero}},
    {"destroyPipe", "destroyPipe", {kVm, kInt32, kPipe}},
    {"startManager", "startManager", {kVm}},
    {"setPortChannelStatus", "setPortChannelStatus", {kVm, kInt32, kInt32}},
    {"getVmList", "getVmList", {kZero}},
    {"getPrinterList", "getPrinterList", {kVm}},
    {"getPrinterStatus", "getPrinterStatus", {kInt16}},
    {"connectPrinter", "connectPrinter", {kVm, kInt16}},
    {"disconnectPrinter", "disconnectPrinter", {kVm, kInt16}},
    {"addNetworkPrinter", "addNetworkPrinter", {kText, kText, kText}},
    {"deleteNetworkPrinter", "deleteNetworkPrinter", {kText}},
    {"renameNetworkPrinter", "renameNetworkPrinter", {kBlock, kBlock}},
    {"getNetworkPrinterList", "getNetworkPrinterList", {}},
    {"getDeviceList", "getDeviceList", {kVm}},
    {"getDeviceStatus", "getDeviceStatus", {kInt16}},
    {"connectDevice", "connectDevice", {kVm, kInt16}},
    {"disconnectDevice", "disconnectDevice", {kVm, kInt16}},
    {"onFocusChanged", "onFocusChanged", {kVm, kInt32, kUInt64}},
    {"updateDriveToken", "updateDriveToken", {kBlock}},
    {"setUsbredirStatus", "setUsbredirStatus", {kVm, kInt16, kEight}},
    {"setLocalPolicy", "setLocalPolicy", {kInt16, kInt16, kBlock, kBlock}},
    {"getVmListSize", "getVmListSize", {kText}},
    {"addNetworkDevice", "addNetworkDevice", {kInt32, kBlock}},
    {"deleteNetworkDevice", "deleteNetworkDevice", {kBlock, kBlock}},
    {"redirectDevice", "redirectDevice", {kVm, kInt16, kInt16}},
    {"setAutoConnect", "setAutoConnect", {kZero, kInt16, kInt16}},
    {"getAutoConnect", "getAutoConnect", {kZero, kInt16}},
    {"connectDeviceBySrcId", "connectDeviceBySrcId", {kVm, kUInt64}},
    {"disconnectDeviceBySrcId", "disconnectDeviceBySrcId", {kVm, kUInt64}},
    {"doveltest", "doveltest", {kZero, kInt16}},
    {"dovelcmd", "dovelcmd", {kVm, kText, kInt32}},
    {"getvelcmdhelp", "getvelcmdhelp", {kVm}},
    {"setBwInfo", "setBwInfo", {kVm, kUInt64, kUInt64}},
    {"setRtcQosInfo", "setRtcQosInfo", {kVm, kUInt64}},
    {"setRtcQosInfoWithFigure", "setRtcQosInfo", {kVm, kUInt64, kUInt64}, true},
    {"diagnose", "diagnose", {kVm, kEight}},
    {"diagnoseDevice", "diagnoseDevice", {kVm, kInt32}},
    {"CheckCameraAuthStat", "CheckCameraAuthStat", {}},
    {"setDevicePropertyWithVidPid",
     "setDevicePropertyWithVidPid",
     {kZero, kInt16, kInt16, kInt32, kInt32}},
    {"getDevicePropertyWithVidPid", "getDevicePropertyWithVidPid", {kZero, kInt16, kInt16, kInt32}},
    {"getLocalDevicePropertyWithVidPid",
     "getLocalDevicePropertyWithVidPid",
     {kZero, kInt16, kInt16, kInt32}},
    {"getPolicyListByVidPid", "getPolicyListByVidPid", {kZero}},
    {"getTurboConfigWithVidPid", "getTurboConfigWithVidPid", {kZero, kInt16, kInt16}},
    {"setTurboConfigWithVidPid", "setTurboConfigWithVidPid", {kZero, kInt16, kInt16, kBlock}},
    {"resetAllDeviceProperty", "resetAllDeviceProperty", {kZero}},
    {"searchSharePrinter", "searchSharePrinter", {kText}},
    {"stopSearchSharePrinter", "stopSearchSharePrinter", {}},
    {"addSharePrinterOfNone", "addSharePrinter", {kZero}},
    {"addSharePrinter",
     "addSharePrinter",
     {std::int32_t{2}, kText, kText, kText, kText, kText, kText}},
    {"deleteSharePrinter", "deleteSharePrinter", {kText, kText}},
    {"searchAllPrinter", "searchAllPrinter", {}},
    {"getPrinterDriverlList", "getPrinterDriverlList", {kText}},
    {"addPrinter", "addPrinter", {kText, kText, kText}},
    {"autoAddPrinter", "autoAddPrinter", {kText, kText, kText}},
    {"deletePrinter", "deletePrinter", {kText}},
    {"changePrinterDriver", "changePrinterDriver", {kText, kText}},
    {"printTestPage", "printTestPage", {kText}},
    {"configNewDeviceAsConnect", "configNewDeviceAsConnect", {kVm, kEight, kInt32, kInt32, kInt32}},
    {"configNewDeviceAsIgnore", "configNewDeviceAsIgnore", {kEight, kInt32, kInt32, kInt32}},
    {"ConfigUdisks2Command", "ConfigUdisks2Command", {kVm, kEight, kInt32}},
    {"ConfigPrinterCommand", "ConfigPrinterCommand", {kVm, kEight, kInt32}},
    {"getJoystickDevList", "getJoystickDevList", {}},
    {"getJoystickMappingList", "getJoystickMappingList", {}},
    {"setJoystickMapping", "setJoystickMapping", {kInt16, kInt16}},
    {"calibrationJoystick", "calibrationJoystick", {kInt16}},
    {"registerJoystickCallback", "registerJoystickCallback", {kEight}},
    {"unregisterJoystickCallback", "unregisterJoystickCallback", {kEight}},
};

// Not as long as any block of fixed size.
const Value kOneOfEachType[] = {
    std::int16_t{1},     std::int32_t{1}, std::uint64_t{1}, std::int64_t{1}, 0.5,
    std::string("text"), Bytes{'t', 'e'}};

class MethodTest : public SimulatedServiceTest, public ::testing::WithParamInterface<Row> {
 protected:
  static bool isFixedSize(std::size_t size) { return size == 8 || size == 268; }

  Values withArgument(std::size_t index, const Value& value) const {
    Values arguments = GetParam().arguments;
    arguments[index] = value;
    return arguments;
  }

  void expectRefusal(const Values& arguments, std::size_t index) {
    EXPECT_THAT(error(GetParam().method, arguments),
                StartsWith(std::string(GetParam().method) + ": argument " +
                           std::to_string(index + 1) + " "));
  }
};

TEST_P(MethodTest, TakesItsArguments) {
  EXPECT_EQ(error(GetParam().method, GetParam().arguments), "");
}

TEST_P(MethodTest, NamesTheArgumentThatDoesNotFit) {
  const Values& good = GetParam().arguments;
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (const Value& other : kOneOfEachType) {
      if (other.index() != good[i].index()) {
        expectRefusal(withArgument(i, other), i);
      }
    }
    const auto* const block = std::get_if<Bytes>(&good[i]);
    if (block && isFixedSize(block->size())) {
      for (const std::size_t size : {block->size() - 1, block->size() + 1, std::size_t{0}}) {
        expectRefusal(withArgument(i, Bytes(size)), i);
      }
    }
  }
  if (!good.empty() && !GetParam().isLastOptional) {
    expectRefusal(Values(good.begin(), good.end() - 1), good.size() - 1);
  }
  Values tooMany = good;
  tooMany.emplace_back(0.5);
  expectRefusal(tooMany, good.size());
}

TEST_P(MethodTest, ChangesNothingAndTellsNothingWhenItRefuses) {
  const Values devices = call("getDeviceList", {kZero});
  Values arguments = GetParam().arguments;
  arguments.emplace_back(0.5);

  error(GetParam().method, arguments);

  EXPECT_EQ(toldCodes().size(), 0u);
  EXPECT_EQ(call("getDeviceList", {kZero}), devices);
}

INSTANTIATE_TEST_SUITE_P(All, MethodTest, ::testing::ValuesIn(kRows),
                         [](const auto& instance) { return instance.param.name; });

class MethodsTest : public SimulatedServiceTest {};

TEST_F(MethodsTest, AreThese) {
  EXPECT_THAT(simulator.methods(), ::testing::ElementsAreArray(kMethods));
}

TEST_F(MethodsTest, EachHasARowHere) {
  std::set<std::string> tested;
  for (const Row& row : kRows) {
    tested.insert(row.method);
  }

  EXPECT_THAT(tested, ::testing::ElementsAreArray(kMethods));
}

}  // namespace
}  // namespace velsim
