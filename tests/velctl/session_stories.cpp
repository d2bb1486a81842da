// Stories of velctl vm, pipe and reset.

#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

std::string vm(const std::string& name, int number, const std::string& state) {
  return R"({"vm":")" + name + R"(","number":)" + std::to_string(number) + "," + state + "}";
}

// All VMs. The two that a story does not use keep their state.
std::string vms(const std::string& win10, const std::string& win11) {
  const std::string untouched =
      R"("isConnected":false,"isStarted":false,"pipes":0,"ports":0,"hasFocus":false)";
  return R"({"vms":[)" + vm("debian", 104, untouched) + "," + vm("ubuntu", 103, untouched) + "," +
         vm("win10", 102, win10.empty() ? untouched : win10) + "," +
         vm("win11", 101, win11.empty() ? untouched : win11) + "]}";
}

}  // namespace

std::vector<Story> sessionStories() {
  return {
      {"ASessionIsConnectedStartedAndGivenPipesPortsAndTheFocusUntilItEnds",
       {
           shows("getVmList", "vm list",
                 "NAME    NUMBER\n"
                 "debian  104\n"
                 "ubuntu  103\n"
                 "win10   102\n"
                 "win11   101"),
           showsJson("getVmList", "vm list",
                     R"("vms":[{"vm":"debian","vmNumber":104},{"vm":"ubuntu","vmNumber":103},)"
                     R"({"vm":"win10","vmNumber":102},{"vm":"win11","vmNumber":101}])"),
           shows("connectVm", "vm connect win11 --system-type 10", "win11 connected"),
           showsJson("connectVm", "vm connect win10 --share-mode 2",
                     std::string(kForWin10) + R"("status":0,"statusName":"ok")"),
           shows("startManager", "vm start win11", "start of win11 requested"),
           showsJson("startManager", "vm start win10", std::string(kForWin10)),
           shows("createPipe", "pipe add 7,usb 8 --vm win11", "2 pipes of win11 opened"),
           showsJson("createPipe", "pipe add 7 --vm win10",
                     std::string(kForWin10) + R"("pipe":["7"],"status":0,"statusName":"ok")"),
           shows("setPortChannelStatus", "port set 3 1 --vm win11", "port 3 of win11 has status 1"),
           showsJson(
               "setPortChannelStatus", "port set 4294967295 -2147483648 --vm win10",
               std::string(kForWin10) +
                   R"("port":4294967295,"portStatus":-2147483648,"status":0,"statusName":"ok")"),
           shows("onFocusChanged", "vm focus win11 --window 7", "focus of win11 reported"),
           showsJson("onFocusChanged", "vm focus win10",
                     std::string(kForWin10) + R"("window":"0","status":0,"statusName":"ok")"),
           shows("updateDriveToken", "token set abc", "drive token handed over"),
           showsJson("updateDriveToken", "token set def", R"("status":0,"statusName":"ok")"),
           knows("vms",
                 vms(R"("isConnected":true,"isStarted":true,"pipes":1,"ports":1,"hasFocus":true)",
                     R"("isConnected":true,"isStarted":true,"pipes":2,"ports":1,)"
                     R"("hasFocus":false)")),
           shows("destroyPipe", "pipe remove 7 --vm win11", "1 pipe of win11 closed"),
           showsJson("destroyPipe", "pipe remove 8 --vm win11",
                     std::string(kForWin11) + R"("pipe":["8"],"status":0,"statusName":"ok")"),
           refusesInJson("createPipe", "pipe add 7 --vm win10", 4),
           shows("disconnectVm", "vm disconnect win10", "disconnection of win10 requested"),
           knows("vms", vms("", R"("isConnected":true,"isStarted":true,"pipes":0,"ports":1,)"
                                R"("hasFocus":false)")),
           showsJson("disconnectVm", "vm disconnect win11", std::string(kForWin11)),
           knows("vms", vms("", "")),
       }},
      {"TheEndOfASessionTakesBackWhatTheVmHad",
       {
           shows("connectVm", "vm connect win11", "win11 connected"),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           shows("connectPrinter", "printer attach 21 --vm win11", "printer 21 attached to win11"),
           shows("disconnectVm", "vm disconnect win11", "disconnection of win11 requested"),
           showsJson("getDeviceStatus", "device show 12",
                     deviceMembers(12, 1, 0, "", "", 0, "Built-in camera", 2)),
           showsJson("getPrinterStatus", "printer show 21",
                     printerMembers(21, 1, "", 0, "Office laser")),
       }},
      {"AResetForgetsEverything",
       {
           shows("connectVm", "vm connect win11", "win11 connected"),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           shows("addNetworkPrinter", "network-printer add 10.0.0.9 Hall", "\"10.0.0.9\" added"),
           shows("resetService", "service reset", "the service has been reset"),
           knows("vms", vms("", "")),
           shows("getDeviceStatus", "device show 12",
                 "device      12\n"
                 "status      available (1)\n"
                 "policy      none (0)\n"
                 "policyText\n"
                 "vm          -\n"
                 "name        Built-in camera\n"
                 "source      9103745180342681612\n"
                 "usbId       7e57:0002\n"
                 "type        camera (2)\n"
                 "isMounted   no"),
           showsJson("getNetworkPrinterList", "network-printer list", R"("printers":[])"),
           showsJson("resetService", "service reset", ""),
       }},
      {"AVmThatVelsimDoesNotHaveIsUnknown",
       {
           fails("getVmListSize", "vm connect nosuch", velctl::kExitUnknown,
                 "connectVm for \"nosuch\": the service has no VM of this name; "),
           fails("getVmListSize", "device detach 12 --vm nosuch", velctl::kExitUnknown,
                 "onnectDevice 12 for \"nosuch\": the service has no VM of this name; "),
           // This machine is none either.
           refuses("connectDevice", "device attach 12 --vm ''", 1),
           refusesInJson("connectPrinter", "printer attach 21 --vm ''", 1),
       }},
  };
}

}  // namespace velctl_tests
