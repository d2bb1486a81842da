// Stories of velctl policy.

#include "tests/velctl/stories.h"

namespace velctl_tests {

std::vector<Story> policyStories() {
  return {
      {"ALocalPolicyForbidsToAttachADevice",
       {
           shows("setLocalPolicy", "policy local 12 2 --text 'not at work'",
                 "device 12 has policy 2"),
           shows("getDeviceStatus", "device status 12",
                 "NUMBER  STATUS  POLICY  VM  NAME\n"
                 "12      1       2       -   Built-in camera"),
           refuses("connectDevice", "device connect 12 --vm win11", 9),
           showsJson("setLocalPolicy", "policy local 12 -1 --name 'Front camera'",
                     R"("device":12,"policy":-1,"status":0)"),
           showsJson("getDeviceStatus", "device status 12",
                     R"("device":12,"devices":[)" +
                         deviceJson(12, 1, -1, "not at work", 0, "", "Front camera") + "]"),
           shows("connectDevice", "device connect 12 --vm win11", "win11: device 12 connected"),
           refuses("setLocalPolicy", "policy local 99 1 --name x --text y", 6),
       }},
      {"ATypeThatIsAutoConnectedGoesToTheSessionByItself",
       {
           shows("getAutoConnect", "policy auto-connect get 3", "0"),
           shows("setAutoConnect", "policy auto-connect set 3 1", "auto-connect of type 3 is 1"),
           showsJson("getAutoConnect", "policy auto-connect get 3", R"("type":3,"value":1)"),
           shows("connectVm", "vm connect win10", "win10: connected"),
           controls("plug tablet Tablet", "plugged in 31"),
           shows("getDeviceList", "device list --vm win10",
                 "NUMBER  STATUS  POLICY  VM     NAME\n"
                 "11      1       0       -      Memory stick\n"
                 "12      1       0       -      Built-in camera\n"
                 "13      1       0       -      Drawing tablet\n"
                 "14      1       0       -      Label printer\n"
                 "15      1       0       -      Barcode scanner\n"
                 "31      2       0       win10  Tablet"),
           showsJson("setAutoConnect", "policy auto-connect set 3 0",
                     R"("type":3,"value":0,"status":0)"),
           controls("plug tablet 'Second tablet'", "plugged in 32"),
           showsJson("getDeviceStatus", "device status 32",
                     R"("device":32,"devices":[)" +
                         deviceJson(32, 1, 0, "", 0, "", "Second tablet") + "]"),
           // The value travels with its sign.
           shows("setAutoConnect", "policy auto-connect set 65535 65535",
                 "auto-connect of type 65535 is 65535"),
           shows("getAutoConnect", "policy auto-connect get 65535", "-1"),
       }},
      {"PropertiesAndTurboConfigurationsBelongToAVendorAndAProduct",
       {
           // velsim sets a property for its camera.
           shows("getDevicePropertyWithVidPid", "policy property get 7e57:0002", "30"),
           showsJson("getLocalDevicePropertyWithVidPid", "policy property local 7e57:0002",
                     R"("usbId":"7e57:0002","value":0)"),
           shows("setDevicePropertyWithVidPid", "policy property set 7e57:0002 2 15",
                 "property of 7e57:0002 is 15"),
           shows("getLocalDevicePropertyWithVidPid", "policy property local 7e57:0002", "15"),
           showsJson("setDevicePropertyWithVidPid",
                     "policy property set 046D:FFFF 65535 -2147483648",
                     R"("usbId":"046d:ffff","type":65535,"value":-2147483648,"status":0)"),
           showsJson("getDevicePropertyWithVidPid", "policy property get 046d:ffff",
                     R"("usbId":"046d:ffff","value":-2147483648)"),
           shows("getPolicyListByVidPid", "policy list", "2"),
           shows("getTurboConfigWithVidPid", "policy turbo get 046d:0825", ""),
           shows("setTurboConfigWithVidPid", "policy turbo set 046d:0825 fast=1",
                 "turbo configuration of 046d:0825 has 6 bytes"),
           showsJson("getTurboConfigWithVidPid", "policy turbo get 046d:0825",
                     R"("usbId":"046d:0825","config":"fast=1")"),
           showsJson("setTurboConfigWithVidPid", "policy turbo set 046d:0825 'a=\xC3\xA4\nb'",
                     R"("usbId":"046d:0825","status":0)"),
           shows("getTurboConfigWithVidPid", "policy turbo get 046d:0825", "a=\xC3\xA4\nb"),
           showsJson("getPolicyListByVidPid", "policy list", R"("policies":3)"),
           shows("resetAllDeviceProperty", "policy reset", "all properties reset"),
           shows("getDevicePropertyWithVidPid", "policy property get 7e57:0002", "30"),
           shows("getPolicyListByVidPid", "policy list", "1"),
           shows("getTurboConfigWithVidPid", "policy turbo get 046d:0825", ""),
           showsJson("resetAllDeviceProperty", "policy reset", R"("status":0)"),
       }},
  };
}

}  // namespace velctl_tests
