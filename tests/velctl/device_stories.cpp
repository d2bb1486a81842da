// Stories of velctl device, new-device, usb and camera.

#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

// The headings of a table whose cells are not wider.
constexpr char kHeadings[] = "NUMBER  STATUS  POLICY  VM  NAME\n";
constexpr char kHeadingsWithNumbersOfVms[] = "NUMBER  STATUS  POLICY  VM   NAME\n";

std::string only(const std::string& device, const std::string& number) {
  return R"("device":)" + number + R"(,"devices":[)" + device + "]";
}

std::string camera(int status, int vmNumber) {
  return only(deviceJson(12, status, 0, "", vmNumber, "", "Built-in camera"), "12");
}

// The answer of velsim's command usb.
std::string usb(const std::string& elements) {
  return R"({"usb":[)" + elements + "]}";
}

}  // namespace

std::vector<Story> deviceStories() {
  const std::string others = deviceJson(13, 1, 0, "", 0, "", "Drawing tablet") + "," +
                             deviceJson(14, 1, 0, "", 0, "", "Label printer") + "," +
                             deviceJson(15, 1, 0, "", 0, "", "Barcode scanner");
  const std::string stick = deviceJson(11, 1, 0, "", 0, "", "Memory stick");
  return {
      {"ADeviceIsAttachedToAVmAndTakenBack",
       {
           shows("getDeviceList", "device list",
                 std::string(kHeadings) + "11      1       0       -   Memory stick\n"
                                          "12      1       0       -   Built-in camera\n"
                                          "13      1       0       -   Drawing tablet\n"
                                          "14      1       0       -   Label printer\n"
                                          "15      1       0       -   Barcode scanner"),
           shows("connectDevice", "device connect 12 --vm win11", "win11: device 12 connected"),
           shows("getDeviceStatus", "device status 12",
                 std::string(kHeadingsWithNumbersOfVms) +
                     "12      2       0       101  Built-in camera"),
           shows("getDeviceList", "device list --vm win11",
                 "NUMBER  STATUS  POLICY  VM     NAME\n"
                 "11      1       0       -      Memory stick\n"
                 "12      2       0       win11  Built-in camera\n"
                 "13      1       0       -      Drawing tablet\n"
                 "14      1       0       -      Label printer\n"
                 "15      1       0       -      Barcode scanner"),
           showsJson("getDeviceList", "device list --vm win10",
                     std::string(kForWin10) + R"("devices":[)" + stick + "," + others + "]"),
           refuses("connectDevice", "device connect 12 --vm win10", 7),
           refuses("disconnectDevice", "device disconnect 12 --vm win10", 8),
           shows("disconnectDevice", "device disconnect 12 --vm win11",
                 "win11: device 12 disconnected"),
           showsJson("getDeviceStatus", "device status 12", camera(1, 0)),
           showsJson("connectDevice", "device connect 12 --vm win10",
                     std::string(kForWin10) + R"("device":12,"status":0)"),
           showsJson("getDeviceList", "device list",
                     R"("devices":[)" + stick + "," +
                         deviceJson(12, 2, 0, "", 102, "", "Built-in camera") + "," + others + "]"),
           showsJson("disconnectDevice", "device disconnect 12 --vm win10",
                     std::string(kForWin10) + R"("device":12,"status":0)"),
           refusesInJson("disconnectDevice", "device disconnect 12 --vm win10", 8,
                         std::string(kForWin10) + R"("device":12,)"),
           refuses("connectDevice", "device connect 99 --vm win11", 6),
           fails("getDeviceStatus", "device status 99", velctl::kExitRefused,
                 "getDeviceStatus 99: the service has no such device; "),
       }},
      {"ADeviceIsKnownByItsSourceToo",
       {
           shows("connectDeviceBySrcId", "device connect --source 0x7e5700020000000c --vm win11",
                 "win11: source 9103745180342681612 connected"),
           showsJson("getDeviceStatus", "device status 12", camera(2, 101)),
           showsJson("disconnectDeviceBySrcId",
                     "device disconnect --source 9103745180342681612 --vm win11",
                     std::string(kForWin11) + R"("source":9103745180342681612,"status":0)"),
           showsJson("getDeviceStatus", "device status 12", camera(1, 0)),
           showsJson("connectDeviceBySrcId",
                     "device connect --source 0x7e5700020000000c --vm win10",
                     std::string(kForWin10) + R"("source":9103745180342681612,"status":0)"),
           shows("disconnectDeviceBySrcId",
                 "device disconnect --source 0x7e5700020000000c --vm win10",
                 "win10: source 9103745180342681612 disconnected"),
           refuses("disconnectDeviceBySrcId",
                   "device disconnect --source 0x7e5700020000000c --vm win10", 8),
           refusesInJson("connectDeviceBySrcId", "device connect --source 1 --vm win11", 6,
                         std::string(kForWin11) + R"("source":1,)"),
       }},
      {"ADeviceIsRedirectedFromOneVmToAnother",
       {
           shows("redirectDevice", "device redirect 12 1 --vm win11", "win11: redirected 12 1"),
           showsJson("getDeviceStatus", "device status 12", camera(2, 101)),
           showsJson("redirectDevice", "device redirect 12 1 --vm win10",
                     std::string(kForWin10) + R"("first":12,"second":1,"status":0)"),
           showsJson("getDeviceStatus", "device status 12", camera(2, 102)),
           shows("redirectDevice", "device redirect 12 0 --vm win10", "win10: redirected 12 0"),
           showsJson("getDeviceStatus", "device status 12", camera(1, 0)),
           refuses("redirectDevice", "device redirect 12 2 --vm win11", 10),
       }},
      {"ADeviceOfTheNetworkComesAndGoes",
       {
           shows("addNetworkDevice", "device network add 3 'Scanner in the hall'",
                 "\"Scanner in the hall\" added"),
           shows("getDeviceStatus", "device status 31",
                 std::string(kHeadings) + "31      1       0       -   Scanner in the hall"),
           showsJson("addNetworkDevice", "device network add -1 Plotter",
                     R"("type":-1,"device":"Plotter","status":0)"),
           refuses("addNetworkDevice", "device network add 3 Plotter", 13),
           refusesInJson("addNetworkDevice", "device network add 3 ''", 14,
                         R"("type":3,"device":"",)"),
           shows("deleteNetworkDevice", "device network remove 'Scanner in the hall' gone",
                 "\"Scanner in the hall\" removed"),
           showsJson("deleteNetworkDevice", "device network remove Plotter",
                     R"("device":"Plotter","detail":"","status":0)"),
           refuses("deleteNetworkDevice", "device network remove Plotter", 6),
           fails("getDeviceStatus", "device status 31", velctl::kExitRefused,
                 "the service has no such device; "),
       }},
      {"ANewDeviceIsAttachedAndItsTypeIsRemembered",
       {
           shows("connectVm", "vm connect win11", "win11: connected"),
           controls("plug camera 'Front camera'", "plugged in 31"),
           shows("configNewDeviceAsConnect",
                 "new-device connect 0x7e5700020000001f --type 2 --auto-connect 1 --popup 1 "
                 "--vm win11",
                 "win11: source 9103745180342681631 connected"),
           shows("getDeviceStatus", "device status 31",
                 std::string(kHeadingsWithNumbersOfVms) +
                     "31      2       0       101  Front camera"),
           knows("policies", R"({"autoConnect":[{"deviceType":2,"setting":1}],)"
                             R"("popupCards":[{"deviceType":2,"setting":1}],)"
                             R"("byVidPid":[{"vid":32343,"pid":2,"deviceType":2,"property":30}]})"),
           controls("plug camera 'Rear camera'", "plugged in 32"),
           showsJson("getDeviceStatus", "device status 32",
                     only(deviceJson(32, 2, 0, "", 101, "", "Rear camera"), "32")),
           showsJson("configNewDeviceAsConnect",
                     "new-device connect 0x7e57000200000020 --type 2 --vm win11",
                     std::string(kForWin11) +
                         R"("source":9103745180342681632,"type":2,"autoConnect":0,"popup":0,)"
                         R"("status":0)"),
           refuses("configNewDeviceAsConnect", "new-device connect 0x7e57000200000020 --vm win10",
                   7),
           refusesInJson(
               "configNewDeviceAsConnect", "new-device connect 1 --vm win11", 6,
               std::string(kForWin11) + R"("source":1,"type":0,"autoConnect":0,"popup":0,)"),
       }},
      {"ANewDeviceIsLeftAlone",
       {
           shows("configNewDeviceAsIgnore", "new-device ignore 0x7e5700030000000d --popup 2",
                 "source 9103745184637648909 ignored"),
           shows("getDeviceStatus", "device status 13",
                 std::string(kHeadings) + "13      3       0       -   Drawing tablet"),
           showsJson(
               "configNewDeviceAsIgnore",
               "new-device ignore 0x7e5700050000000f --type 5 --auto-connect 2",
               R"("source":9103745193227583503,"type":5,"autoConnect":2,"popup":0,"status":0)"),
           showsJson("getDeviceStatus", "device status 15",
                     only(deviceJson(15, 3, 0, "", 0, "", "Barcode scanner"), "15")),
           refuses("configNewDeviceAsIgnore", "new-device ignore 1", 6),
       }},
      {"StorageIsUnmountedMountedAndEjected",
       {
           shows("ConfigUdisks2Command", "new-device storage 0x7e5700010000000b 2 --vm win11",
                 "win11: command 2 done for the storage of source 9103745176047714315"),
           showsJson(
               "ConfigUdisks2Command", "new-device storage 0x7e5700010000000b 1 --vm win11",
               std::string(kForWin11) + R"("source":9103745176047714315,"command":1,"status":0)"),
           refuses("ConfigUdisks2Command", "new-device storage 0x7e5700010000000b 9 --vm win11",
                   10),
           refuses("ConfigUdisks2Command", "new-device storage 0x7e5700020000000c 1 --vm win11",
                   11),
           shows("ConfigUdisks2Command", "new-device storage 0x7e5700010000000b 3 --vm win11",
                 "win11: command 3 done for the storage of source 9103745176047714315"),
           fails("getDeviceStatus", "device status 11", velctl::kExitRefused,
                 "the service has no such device; "),
           refusesInJson("ConfigUdisks2Command",
                         "new-device storage 0x7e5700010000000b 1 --vm win11", 6,
                         std::string(kForWin11) + R"("source":9103745176047714315,"command":1,)"),
       }},
      {"ACameraMayBeUsedOrNotOrIsNotThere",
       {
           shows("CheckCameraAuthStat", "camera", "0"),
           shows("connectDevice", "device connect 12 --vm win11", "win11: device 12 connected"),
           controls("camera deny", "cameras denied"),
           showsJson("CheckCameraAuthStat", "camera", R"("authorization":1)"),
           showsJson("getDeviceStatus", "device status 12", camera(1, 0)),
           refuses("connectDevice", "device connect 12 --vm win11", 9),
           controls("camera allow", "cameras allowed"),
           shows("connectDevice", "device connect 12 --vm win11", "win11: device 12 connected"),
           controls("unplug 12", "unplugged 12"),
           shows("CheckCameraAuthStat", "camera", "2"),
       }},
      {"UsbDevicesThatAClientRedirectsAreReported",
       {
           shows("setUsbredirStatus", "usb status 0102030405060708 1 --vm win11",
                 "win11: USB device 0102030405060708 has status 1"),
           showsJson("setUsbredirStatus", "usb status 01020304050607FF 65535 --vm win10",
                     std::string(kForWin10) +
                         R"("device":"01020304050607ff","deviceStatus":65535,"status":0)"),
           knows("usb", usb(R"({"vm":101,"identity":"0x0807060504030201","status":1},)"
                            R"({"vm":102,"identity":"0xff07060504030201","status":-1})")),
           shows("setUsbredirStatus", "usb status 0102030405060708 2 --vm win11",
                 "win11: USB device 0102030405060708 has status 2"),
           knows("usb", usb(R"({"vm":101,"identity":"0x0807060504030201","status":2},)"
                            R"({"vm":102,"identity":"0xff07060504030201","status":-1})")),
       }},
  };
}

}  // namespace velctl_tests
