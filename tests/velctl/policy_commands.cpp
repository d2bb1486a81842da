// Rows of velctl policy, auto-connect, property and turbo.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

using velprotocol::write;
namespace policy = velprotocol::vid_pid_policy;

// set: bit 0 for the property, bit 1 for the text.
Bytes policyBlock(int product, int type, int set, std::int32_t property, const std::string& text) {
  Bytes block(policy::kLayout.size());
  write(block, policy::kVid, std::uint16_t{0x046d});
  write(block, policy::kPid, static_cast<std::uint16_t>(product));
  write(block, policy::kType, static_cast<std::uint16_t>(type));
  write(block, policy::kIsSet, static_cast<std::uint16_t>(set));
  write(block, policy::kProperty, property);
  write(block, policy::kTurboText, text);
  return block;
}

}  // namespace

std::vector<Command> policyCommands() {
  return {
      Command("PolicyList", "policy list")
          .sends("getPolicyListByVidPid(int32 0)")
          .reads(Answer::kContent)
          .answered(Reply()
                        .int32(3)
                        .bytes(policyBlock(0x0825, 2, 3, -5, "fast=1"))
                        .bytes(policyBlock(0xFFFF, 9, 1, 7, ""))
                        .bytes(policyBlock(1, 1, 2, 0, "a")))
          .prints("USB ID     TYPE         PROPERTY  TURBO CONFIGURATION\n"
                  "046d:0825  camera (2)   -5        fast=1\n"
                  "046d:ffff  9            7         -\n"
                  "046d:0001  storage (1)  -         a")
          .printsJson(
              R"({"operation":"getPolicyListByVidPid","policies":[)"
              R"({"usbId":"046d:0825","type":2,"typeName":"camera","property":-5,)"
              R"("turboConfig":"fast=1"},)"
              R"({"usbId":"046d:ffff","type":9,"typeName":null,"property":7,"turboConfig":null},)"
              R"({"usbId":"046d:0001","type":1,"typeName":"storage","property":null,)"
              R"("turboConfig":"a"}]})"),
      Command("PolicyGet", "policy get 12")
          .sends("getDeviceStatus(int16 12)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(deviceBlock(12, 1, 2, 0, "Front camera", "by the desk")))
          .prints("device      12\n"
                  "policy      forbidden (2)\n"
                  "policyText  by the desk\n"
                  "name        Front camera")
          .printsJson(
              R"({"operation":"getDeviceStatus","device":12,"policy":2,"policyName":"forbidden",)"
              R"("policyText":"by the desk","name":"Front camera"})"),
      Command("PolicySet", "policy set 12 -3 --name cam --text no")
          .sends("setLocalPolicy(int16 12, int16 -3, bytes[3] 63616d, bytes[2] 6e6f)")
          .prints("device 12 has policy -3")
          .printsJson(R"({"operation":"setLocalPolicy","device":12,"policy":-3,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("PolicySetByItsWord", "policy set 12 forbidden --name cam --text no")
          .sends("setLocalPolicy(int16 12, int16 2, bytes[3] 63616d, bytes[2] 6e6f)")
          .prints("device 12 has policy forbidden (2)")
          .printsJson(R"({"operation":"setLocalPolicy","device":12,"policy":2,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("AutoConnectGet", "auto-connect get 65535")
          .sends("getAutoConnect(int32 0, int16 -1)")
          .reads(Answer::kContent)
          .answered(Reply().int32(0))
          .prints("0")
          .printsJson(R"({"operation":"getAutoConnect","type":65535,"value":0})"),
      Command("AutoConnectSet", "auto-connect set 8 65535")
          .sends("setAutoConnect(int32 0, int16 8, int16 -1)")
          .prints("auto-connect of type 8 is 65535")
          .printsJson(R"({"operation":"setAutoConnect","type":8,"value":65535,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("AutoConnectSetByItsWord", "auto-connect set camera 1")
          .sends("setAutoConnect(int32 0, int16 2, int16 1)")
          .prints("auto-connect of type camera (2) is 1")
          .printsJson(R"({"operation":"setAutoConnect","type":2,"value":1,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("PropertyGet", "property get 046d:FFFF")
          .sends("getDevicePropertyWithVidPid(int32 0, int16 1133, int16 -1, int32 65535)")
          .reads(Answer::kContent)
          .answered(Reply().int32(-5))
          .prints("-5")
          .printsJson(
              R"({"operation":"getDevicePropertyWithVidPid","usbId":"046d:ffff","value":-5})"),
      Command("PropertyGetLocal", "property get 046d:0825 --local")
          .sends("getLocalDevicePropertyWithVidPid(int32 0, int16 1133, int16 2085, int32 2085)")
          .reads(Answer::kContent)
          .answered(Reply().int32(0))
          .prints("0")
          .printsJson(R"({"operation":"getLocalDevicePropertyWithVidPid","usbId":"046d:0825",)"
                      R"("local":true,"value":0})"),
      Command("PropertySet", "property set 046D:0825 65535 -2147483648")
          .sends("setDevicePropertyWithVidPid(int32 0, int16 1133, int16 2085, int32 65535, int32 "
                 "-2147483648)")
          .prints("property of 046d:0825 is -2147483648")
          .printsJson(
              R"({"operation":"setDevicePropertyWithVidPid","usbId":"046d:0825","type":65535,)"
              R"("value":-2147483648,"status":0,"statusName":"ok"})"),
      Command("PropertyReset", "property reset")
          .sends("resetAllDeviceProperty(int32 0)")
          .prints("all properties reset")
          .printsJson(R"({"operation":"resetAllDeviceProperty","status":0,"statusName":"ok"})"),
      Command("TurboGet", "turbo get 046d:0825")
          .sends("getTurboConfigWithVidPid(int32 0, int16 1133, int16 2085)")
          .reads(Answer::kContent)
          .answered(Reply().string("fast=1\nsafe=0\n"))
          .prints("fast=1\nsafe=0")
          .printsJson(R"({"operation":"getTurboConfigWithVidPid","usbId":"046d:0825",)"
                      R"("config":"fast=1\nsafe=0\n"})"),
      Command("TurboSet", "turbo set 046d:0825 a=1")
          .sends("setTurboConfigWithVidPid(int32 0, int16 1133, int16 2085, bytes[3] 613d31)")
          .prints("turbo configuration of 046d:0825 has 3 bytes")
          .printsJson(R"({"operation":"setTurboConfigWithVidPid","usbId":"046d:0825",)"
                      R"("status":0,"statusName":"ok"})"),
  };
}

}  // namespace velctl_tests
