// Stories of velctl policy.

#include "tests/velctl/stories.h"

namespace velctl_tests {

std::vector<Story> policyStories() {
  return {
      {"ALocalPolicyForbidsToAttachADevice",
       {
           shows("setLocalPolicy", "policy set 12 2 --text 'not at work'",
                 "device 12 has policy forbidden (2)"),
           shows("getDeviceStatus", "device show 12",
                 "device      12\n"
                 "status      available (1)\n"
                 "policy      forbidden (2)\n"
                 "policyText  not at work\n"
                 "vm          -\n"
                 "name        Built-in camera\n"
                 "source      9103745180342681612\n"
                 "usbId       7e57:0002\n"
                 "type        camera (2)\n"
                 "isMounted   no"),
           refuses("connectDevice", "device attach 12 --vm win11", 9),
           showsJson("setLocalPolicy", "policy set 12 -1 --name 'Front camera'",
                     R"("device":12,"policy":-1,"status":0,"statusName":"ok")"),
           showsJson("getDeviceStatus", "device show 12",
                     deviceMembers(12, 1, -1, "not at work", "", 0, "Front camera", 2)),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           refuses("setLocalPolicy", "policy set 99 1 --name x --text y", 6),
       }},
      {"ATypeThatIsAutoConnectedGoesToTheSessionByItself",
       {
           shows("getAutoConnect", "auto-connect get 3", "0"),
           shows("setAutoConnect", "auto-connect set 3 1", "auto-connect of type tablet (3) is 1"),
           showsJson("getAutoConnect", "auto-connect get 3", R"("type":3,"value":1)"),
           shows("connectVm", "vm connect win10", "win10 connected"),
           controls("plug tablet Tablet", "plugged in 31"),
           shows("getDeviceList", "device list --vm win10",
                 "NUMBER  STATUS         POLICY    VM     NAME\n"
                 "11      available (1)  none (0)  -      Memory stick\n"
                 "12      available (1)  none (0)  -      Built-in camera\n"
                 "13      available (1)  none (0)  -      Drawing tablet\n"
                 "14      available (1)  none (0)  -      Label printer\n"
                 "15      available (1)  none (0)  -      Barcode scanner\n"
                 "31      attached (2)   none (0)  win10  Tablet"),
           showsJson("setAutoConnect", "auto-connect set 3 0",
                     R"("type":3,"value":0,"status":0,"statusName":"ok")"),
           controls("plug tablet 'Second tablet'", "plugged in 32"),
           showsJson("getDeviceStatus", "device show 32",
                     deviceMembers(32, 1, 0, "", "", 0, "Second tablet", 3)),
           // The value travels with its sign.
           shows("setAutoConnect", "auto-connect set 65535 65535",
                 "auto-connect of type 65535 is 65535"),
           shows("getAutoConnect", "auto-connect get 65535", "-1"),
       }},
      {"PropertiesAndTurboConfigurationsBelongToAVendorAndAProduct",
       {
           // velsim sets a property for its camera.
           shows("getDevicePropertyWithVidPid", "property get 7e57:0002", "30"),
           showsJson("getLocalDevicePropertyWithVidPid", "property get --local 7e57:0002",
                     R"("usbId":"7e57:0002","local":true,"value":0)"),
           shows("setDevicePropertyWithVidPid", "property set 7e57:0002 2 15",
                 "property of 7e57:0002 is 15"),
           shows("getLocalDevicePropertyWithVidPid", "property get --local 7e57:0002", "15"),
           showsJson(
               "setDevicePropertyWithVidPid", "property set 046D:FFFF 65535 -2147483648",
               R"("usbId":"046d:ffff","type":65535,"value":-2147483648,"status":0,"statusName":"ok")"),
           showsJson("getDevicePropertyWithVidPid", "property get 046d:ffff",
                     R"("usbId":"046d:ffff","value":-2147483648)"),
           shows("getPolicyListByVidPid", "policy list", "2"),
           shows("getTurboConfigWithVidPid", "turbo get 046d:0825", ""),
           shows("setTurboConfigWithVidPid", "turbo set 046d:0825 fast=1",
                 "turbo configuration of 046d:0825 has 6 bytes"),
           showsJson("getTurboConfigWithVidPid", "turbo get 046d:0825",
                     R"("usbId":"046d:0825","config":"fast=1")"),
           showsJson("setTurboConfigWithVidPid", "turbo set 046d:0825 'a=\xC3\xA4\nb'",
                     R"("usbId":"046d:0825","status":0,"statusName":"ok")"),
           shows("getTurboConfigWithVidPid", "turbo get 046d:0825", "a=\xC3\xA4\nb"),
           showsJson("getPolicyListByVidPid", "policy list", R"("policies":3)"),
           shows("resetAllDeviceProperty", "property reset", "all properties reset"),
           shows("getDevicePropertyWithVidPid", "property get 7e57:0002", "30"),
           shows("getPolicyListByVidPid", "policy list", "1"),
           shows("getTurboConfigWithVidPid", "turbo get 046d:0825", ""),
           showsJson("resetAllDeviceProperty", "property reset", R"("status":0,"statusName":"ok")"),
       }},
  };
}

}  // namespace velctl_tests
