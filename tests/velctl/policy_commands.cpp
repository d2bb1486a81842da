// Rows of velctl policy.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"

namespace velctl_tests {
std::vector<Command> policyCommands() {
  return {
      Command("PolicyList", "policy list")
          .sends("getPolicyListByVidPid(int32 0)")
          .reads(Answer::kContent)
          .answered(Reply().int32(2).bytes(bytesOf("x")).bytes(bytesOf("yz")))
          .prints("2")
          .printsJson(R"({"operation":"getPolicyListByVidPid","policies":2})"),
      Command("PolicyLocal", "policy local 12 -3 --name cam --text no")
          .sends("setLocalPolicy(int16 12, int16 -3, bytes[3] 63616d, bytes[2] 6e6f)")
          .prints("device 12 has policy -3")
          .printsJson(R"({"operation":"setLocalPolicy","device":12,"policy":-3,"status":0})"),
      Command("PolicyAutoConnectGet", "policy auto-connect get 65535")
          .sends("getAutoConnect(int32 0, int16 -1)")
          .reads(Answer::kContent)
          .answered(Reply().int32(0))
          .prints("0")
          .printsJson(R"({"operation":"getAutoConnect","type":65535,"value":0})"),
      Command("PolicyAutoConnectSet", "policy auto-connect set 8 65535")
          .sends("setAutoConnect(int32 0, int16 8, int16 -1)")
          .prints("auto-connect of type 8 is 65535")
          .printsJson(R"({"operation":"setAutoConnect","type":8,"value":65535,"status":0})"),
      Command("PolicyPropertyGet", "policy property get 046d:FFFF")
          .sends("getDevicePropertyWithVidPid(int32 0, int16 1133, int16 -1, int32 65535)")
          .reads(Answer::kContent)
          .answered(Reply().int32(-5))
          .prints("-5")
          .printsJson(
              R"({"operation":"getDevicePropertyWithVidPid","usbId":"046d:ffff","value":-5})"),
      Command("PolicyPropertyLocal", "policy property local 046d:0825")
          .sends("getLocalDevicePropertyWithVidPid(int32 0, int16 1133, int16 2085, int32 2085)")
          .reads(Answer::kContent)
          .answered(Reply().int32(0))
          .prints("0")
          .printsJson(
              R"({"operation":"getLocalDevicePropertyWithVidPid","usbId":"046d:0825","value":0})"),
      Command("PolicyPropertySet", "policy property set 046d:0825 65535 -2147483648")
          .sends("setDevicePropertyWithVidPid(int32 0, int16 1133, int16 2085, int32 65535, int32 "
                 "-2147483648)")
          .prints("property of 046d:0825 is -2147483648")
          .printsJson(
              R"({"operation":"setDevicePropertyWithVidPid","usbId":"046d:0825","type":65535,)"
              R"("value":-2147483648,"status":0})"),
      Command("PolicyTurboGet", "policy turbo get 046d:0825")
          .sends("getTurboConfigWithVidPid(int32 0, int16 1133, int16 2085)")
          .reads(Answer::kContent)
          .answered(Reply().string("fast=1\nsafe=0\n"))
          .prints("fast=1\nsafe=0")
          .printsJson(R"({"operation":"getTurboConfigWithVidPid","usbId":"046d:0825",)"
                      R"("config":"fast=1\nsafe=0\n"})"),
      Command("PolicyTurboSet", "policy turbo set 046d:0825 a=1")
          .sends("setTurboConfigWithVidPid(int32 0, int16 1133, int16 2085, bytes[3] 613d31)")
          .prints("turbo configuration of 046d:0825 has 3 bytes")
          .printsJson(R"({"operation":"setTurboConfigWithVidPid","usbId":"046d:0825","status":0})"),
      Command("PolicyReset", "policy reset")
          .sends("resetAllDeviceProperty(int32 0)")
          .prints("all properties reset")
          .printsJson(R"({"operation":"resetAllDeviceProperty","status":0})"),
  };
}

}  // namespace velctl_tests
