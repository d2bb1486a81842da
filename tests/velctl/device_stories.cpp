// Stories of velctl device, new-device, usb and camera.

#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

// The JSON form of one record.
std::string only(const std::string& record) {
  return record.substr(1, record.size() - 2);
}

// The text form of one record. type is also the last digit of velsim's product id.
std::string shown(const std::string& number, const std::string& status, const std::string& vm,
                  const std::string& name, const std::string& source, const std::string& product,
                  const std::string& type) {
  return "device      " + number + "\nstatus      " + status +
         "\npolicy      none (0)\npolicyText\nvm          " + vm + "\nname        " + name +
         "\nsource      " + source + "\nusbId       7e57:" + product + "\ntype        " + type +
         "\nisMounted   no";
}

std::string camera(int status, int vmNumber) {
  const std::string vm = vmNumber == 0 ? "" : vmNumber == 101 ? "win11" : "win10";
  return only(deviceJson(12, status, 0, "", vm, vmNumber, "Built-in camera", 2));
}

// The answer of velsim's command usb.
std::string usb(const std::string& elements) {
  return R"({"usb":[)" + elements + "]}";
}

}  // namespace

std::vector<Story> deviceStories() {
  const std::string others = deviceJson(13, 1, 0, "", "", 0, "Drawing tablet", 3) + "," +
                             deviceJson(14, 1, 0, "", "", 0, "Label printer", 4) + "," +
                             deviceJson(15, 1, 0, "", "", 0, "Barcode scanner", 5);
  const std::string stick = deviceJson(11, 1, 0, "", "", 0, "Memory stick", 1);
  return {
      {"ADeviceIsAttachedToAVmAndTakenBack",
       {
           shows("getDeviceList", "device list",
                 "NUMBER  STATUS         POLICY    VM  NAME\n"
                 "11      available (1)  none (0)  -   Memory stick\n"
                 "12      available (1)  none (0)  -   Built-in camera\n"
                 "13      available (1)  none (0)  -   Drawing tablet\n"
                 "14      available (1)  none (0)  -   Label printer\n"
                 "15      available (1)  none (0)  -   Barcode scanner"),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           shows("getDeviceStatus", "device show 12",
                 shown("12", "attached (2)", "win11", "Built-in camera", "9103745180342681612", "0002",
"camera (2)")),
           shows("getDeviceList", "device list --vm win11",
                 "NUMBER  STATUS         POLICY    VM     NAME\n"
                 "11      available (1)  none (0)  -      Memory stick\n"
                 "12      attached (2)   none (0)  win11  Built-in camera\n"
                 "13      available (1)  none (0)  -      Drawing tablet\n"
                 "14      available (1)  none (0)  -      Label printer\n"
                 "15      available (1)  none (0)  -      Barcode scanner"),
           showsJson("getDeviceList", "device list --vm win10",
                     std::string(kForWin10) + R"("devices":[)" + stick + "," + others + "]"),
           refuses("connectDevice", "device attach 12 --vm win10", 7),
           refuses("disconnectDevice", "device detach 12 --vm win10", 8),
           shows("disconnectDevice", "device detach 12 --vm win11",
                 "device 12 detached from win11"),
           showsJson("getDeviceStatus", "device show 12", camera(1, 0)),
           showsJson("connectDevice", "device attach 12 --vm win10",
                     std::string(kForWin10) + R"("device":12,"status":0,"statusName":"ok")"),
           showsJson("getDeviceList", "device list",
                     R"("devices":[)" + stick + "," +
                         deviceJson(12, 2, 0, "", "win10", 102, "Built-in camera", 2) + "," +
                         others + "]"),
           showsJson("disconnectDevice", "device detach 12 --vm win10",
                     std::string(kForWin10) + R"("device":12,"status":0,"statusName":"ok")"),
           refusesInJson("disconnectDevice", "device detach 12 --vm win10", 8),
           refuses("connectDevice", "device attach 99 --vm win11", 6),
           fails("getDeviceStatus", "device show 99", velctl::kExitUnknown,
                 "getDeviceStatus 99: the service has no such device; "),
       }},
      {"ADeviceIsKnownByItsSourceToo",
       {
           shows("connectDeviceBySrcId", "device attach --source 0x7e5700020000000c --vm win11",
                 "source 9103745180342681612 attached to win11"),
           showsJson("getDeviceStatus", "device show 12", camera(2, 101)),
           showsJson("disconnectDeviceBySrcId",
                     "device detach --source 9103745180342681612 --vm win11",
                     std::string(kForWin11) +
                         R"("source":"9103745180342681612","status":0,"statusName":"ok")"),
           showsJson("getDeviceStatus", "device show 12", camera(1, 0)),
           showsJson("connectDeviceBySrcId", "device attach --source 0x7e5700020000000c --vm win10",
                     std::string(kForWin10) +
                         R"("source":"9103745180342681612","status":0,"statusName":"ok")"),
           shows("disconnectDeviceBySrcId", "device detach --source 0x7e5700020000000c --vm win10",
                 "source 9103745180342681612 detached from win10"),
           refuses("disconnectDeviceBySrcId",
                   "device detach --source 0x7e5700020000000c --vm win10", 8),
           refusesInJson("connectDeviceBySrcId", "device attach --source 1 --vm win11", 6),
       }},
      {"ADeviceIsRedirectedFromOneVmToAnother",
       {
           shows("redirectDevice", "device redirect 12 1 --vm win11",
                 "device 12 redirected for win11: 1"),
           showsJson("getDeviceStatus", "device show 12", camera(2, 101)),
           showsJson(
               "redirectDevice", "device redirect 12 1 --vm win10",
               std::string(kForWin10) + R"("device":12,"direction":1,"status":0,"statusName":"ok")"),
           showsJson("getDeviceStatus", "device show 12", camera(2, 102)),
           shows("redirectDevice", "device redirect 12 0 --vm win10",
                 "device 12 redirected for win10: 0"),
           showsJson("getDeviceStatus", "device show 12", camera(1, 0)),
           refuses("redirectDevice", "device redirect 12 2 --vm win11", 10),
       }},
      {"ADeviceOfTheNetworkComesAndGoes",
       {
           shows("addNetworkDevice", "network-device add 3 'Scanner in the hall'",
                 "\"Scanner in the hall\" added"),
           shows("getDeviceStatus", "device show 31",
                 shown("31", "available (1)", "-", "Scanner in the hall", "?", "0006", "network (6)")),
           showsJson("addNetworkDevice", "network-device add -1 Plotter",
                     R"("type":-1,"text":"Plotter","status":0,"statusName":"ok")"),
           refuses("addNetworkDevice", "network-device add 3 Plotter", 13),
           refusesInJson("addNetworkDevice", "network-device add 3 ''", 14),
           shows("deleteNetworkDevice", "network-device remove 'Scanner in the hall' gone",
                 "\"Scanner in the hall\" removed"),
           showsJson("deleteNetworkDevice", "network-device remove Plotter",
                     R"("text":"Plotter","status":0,"statusName":"ok")"),
           refuses("deleteNetworkDevice", "network-device remove Plotter", 6),
           fails("getDeviceStatus", "device show 31", velctl::kExitUnknown,
                 "the service has no such device; "),
       }},
      {"ANewDeviceIsAttachedAndItsTypeIsRemembered",
       {
           shows("connectVm", "vm connect win11", "win11 connected"),
           controls("plug camera 'Front camera'", "plugged in 31"),
           shows("configNewDeviceAsConnect",
                 "new-device attach 0x7e5700020000001f --type 2 --auto-connect 1 --popup 1 "
                 "--vm win11",
                 "source 9103745180342681631 attached to win11"),
           shows("getDeviceStatus", "device show 31",
                 shown("31", "attached (2)", "win11", "Front camera", "9103745180342681631", "0002",
"camera (2)")),
           knows("policies", R"({"autoConnect":[{"deviceType":2,"setting":1}],)"
                             R"("popupCards":[{"deviceType":2,"setting":1}],)"
                             R"("byVidPid":[{"vid":32343,"pid":2,"deviceType":2,"property":30}]})"),
           controls("plug camera 'Rear camera'", "plugged in 32"),
           showsJson("getDeviceStatus", "device show 32",
                     only(deviceJson(32, 2, 0, "", "win11", 101, "Rear camera", 2))),
           showsJson("configNewDeviceAsConnect",
                     "new-device attach 0x7e57000200000020 --type 2 --vm win11",
                     std::string(kForWin11) +
                         R"("source":"9103745180342681632","type":2,"autoConnect":0,"popup":0,)"
                         R"("status":0,"statusName":"ok")"),
           refuses("configNewDeviceAsConnect", "new-device attach 0x7e57000200000020 --vm win10",
                   7),
           refusesInJson("configNewDeviceAsConnect", "new-device attach 1 --vm win11", 6),
       }},
      {"ANewDeviceIsLeftAlone",
       {
           shows("configNewDeviceAsIgnore", "new-device ignore 0x7e5700030000000d --popup 2",
                 "source 9103745184637648909 ignored"),
           shows("getDeviceStatus", "device show 13",
                 shown("13", "ignored (3)", "-", "Drawing tablet", "9103745184637648909", "0003",
"tablet (3)")),
           showsJson(
               "configNewDeviceAsIgnore",
               "new-device ignore 0x7e5700050000000f --type 5 --auto-connect 2",
               R"("source":"9103745193227583503","type":5,"autoConnect":2,"popup":0,"status":0,"statusName":"ok")"),
           showsJson("getDeviceStatus", "device show 15",
                     only(deviceJson(15, 3, 0, "", "", 0, "Barcode scanner", 5))),
           refuses("configNewDeviceAsIgnore", "new-device ignore 1", 6),
       }},
      {"StorageIsUnmountedMountedAndEjected",
       {
           shows("ConfigUdisks2Command", "storage command 0x7e5700010000000b 2 --vm win11",
                 "command 2 done for the storage of source 9103745176047714315"),
           showsJson(
               "ConfigUdisks2Command", "storage command 0x7e5700010000000b 1 --vm win11",
               std::string(kForWin11) +
                   R"("source":"9103745176047714315","command":1,"status":0,"statusName":"ok")"),
           refuses("ConfigUdisks2Command", "storage command 0x7e5700010000000b 9 --vm win11", 10),
           refuses("ConfigUdisks2Command", "storage command 0x7e5700020000000c 1 --vm win11", 11),
           shows("ConfigUdisks2Command", "storage command 0x7e5700010000000b 3 --vm win11",
                 "command 3 done for the storage of source 9103745176047714315"),
           fails("getDeviceStatus", "device show 11", velctl::kExitUnknown,
                 "the service has no such device; "),
           refusesInJson("ConfigUdisks2Command", "storage command 0x7e5700010000000b 1 --vm win11",
                         6),
       }},
      {"ACameraMayBeUsedOrNotOrIsNotThere",
       {
           shows("CheckCameraAuthStat", "camera show", "allowed (0)"),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           controls("camera deny", "cameras denied"),
           showsJson("CheckCameraAuthStat", "camera show", R"("authorization":1,"authorizationName":"denied")"),
           showsJson("getDeviceStatus", "device show 12", camera(1, 0)),
           refuses("connectDevice", "device attach 12 --vm win11", 9),
           controls("camera allow", "cameras allowed"),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           controls("unplug 12", "unplugged 12"),
           shows("CheckCameraAuthStat", "camera show", "none (2)"),
       }},
      {"UsbDevicesThatAClientRedirectsAreReported",
       {
           shows("setUsbredirStatus", "usb set 0102030405060708 1 --vm win11",
                 "USB device 0102030405060708 of win11 has status 1"),
           showsJson(
               "setUsbredirStatus", "usb set 01020304050607FF 65535 --vm win10",
               std::string(kForWin10) +
                   R"("usb":"01020304050607ff","deviceStatus":65535,"status":0,"statusName":"ok")"),
           knows("usb", usb(R"({"vm":101,"identity":"0x0807060504030201","status":1},)"
                            R"({"vm":102,"identity":"0xff07060504030201","status":-1})")),
           shows("setUsbredirStatus", "usb set 0102030405060708 2 --vm win11",
                 "USB device 0102030405060708 of win11 has status 2"),
           knows("usb", usb(R"({"vm":101,"identity":"0x0807060504030201","status":2},)"
                            R"({"vm":102,"identity":"0xff07060504030201","status":-1})")),
       }},
  };
}

}  // namespace velctl_tests
