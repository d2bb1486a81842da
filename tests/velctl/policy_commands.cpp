// Rows of velctl policy.

#include <cstdint>

#include "tests/velctl/commands.h"
#include "tests/velctl/scripted_service.h"

namespace velctl_tests {
namespace {}  // namespace

std::vector<Command> policyCommands() {
  return {
      {"PolicyList",
       {"policy", "list"},
       {"getPolicyListByVidPid(int32 0)"},
       Answer::kContent,
       {std::int32_t{2}, bytesOf("x"), bytesOf("yz")},
       "2",
       R"({"operation":"getPolicyListByVidPid","policies":2})"},
      {"PolicyLocal",
       {"policy", "local", "12", "-3", "--name", "cam", "--text", "no"},
       {"setLocalPolicy(int16 12, int16 -3, bytes[3] 63 61 6d, bytes[2] 6e 6f)"},
       Answer::kStatus,
       kDone,
       "device 12 has policy -3",
       R"({"operation":"setLocalPolicy","device":12,"policy":-3,"status":0})"},
      {"PolicyAutoConnectGet",
       {"policy", "auto-connect", "get", "65535"},
       {"getAutoConnect(int32 0, int16 -1)"},
       Answer::kContent,
       {std::int32_t{0}},
       "0",
       R"({"operation":"getAutoConnect","type":65535,"value":0})"},
      {"PolicyAutoConnectSet",
       {"policy", "auto-connect", "set", "8", "65535"},
       {"setAutoConnect(int32 0, int16 8, int16 -1)"},
       Answer::kStatus,
       kDone,
       "auto-connect of type 8 is 65535",
       R"({"operation":"setAutoConnect","type":8,"value":65535,"status":0})"},
      {"PolicyPropertyGet",
       {"policy", "property", "get", "046d:FFFF"},
       {"getDevicePropertyWithVidPid(int32 0, int16 1133, int16 -1, int32 65535)"},
       Answer::kContent,
       {std::int32_t{-5}},
       "-5",
       R"({"operation":"getDevicePropertyWithVidPid","usbId":"046d:ffff","value":-5})"},
      {"PolicyPropertyLocal",
       {"policy", "property", "local", "046d:0825"},
       {"getLocalDevicePropertyWithVidPid(int32 0, int16 1133, int16 2085, int32 2085)"},
       Answer::kContent,
       {std::int32_t{0}},
       "0",
       R"({"operation":"getLocalDevicePropertyWithVidPid","usbId":"046d:0825","value":0})"},
      {"PolicyPropertySet",
       {"policy", "property", "set", "046d:0825", "65535", "-2147483648"},
       {"setDevicePropertyWithVidPid(int32 0, int16 1133, int16 2085, int32 65535, int32 "
        "-2147483648)"},
       Answer::kStatus,
       kDone,
       "property of 046d:0825 is -2147483648",
       R"({"operation":"setDevicePropertyWithVidPid","usbId":"046d:0825","type":65535,)"
       R"("value":-2147483648,"status":0})"},
      {"PolicyTurboGet",
       {"policy", "turbo", "get", "046d:0825"},
       {"getTurboConfigWithVidPid(int32 0, int16 1133, int16 2085)"},
       Answer::kContent,
       {std::string("fast=1\nsafe=0\n")},
       "fast=1\nsafe=0",
       R"({"operation":"getTurboConfigWithVidPid","usbId":"046d:0825",)"
       R"("config":"fast=1\nsafe=0\n"})"},
      {"PolicyTurboSet",
       {"policy", "turbo", "set", "046d:0825", "a=1"},
       {"setTurboConfigWithVidPid(int32 0, int16 1133, int16 2085, bytes[3] 61 3d 31)"},
       Answer::kStatus,
       kDone,
       "turbo configuration of 046d:0825 has 3 bytes",
       R"({"operation":"setTurboConfigWithVidPid","usbId":"046d:0825","status":0})"},
      {"PolicyReset",
       {"policy", "reset"},
       {"resetAllDeviceProperty(int32 0)"},
       Answer::kStatus,
       kDone,
       "all properties reset",
       R"({"operation":"resetAllDeviceProperty","status":0})"},
  };
}

}  // namespace velctl_tests
