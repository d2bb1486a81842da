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
                 "debian  104\n"
                 "ubuntu  103\n"
                 "win10   102\n"
                 "win11   101"),
           // The one list that is not a member of an operation.
           showsJsonInAnyOrder(
               "getVmList", "vm list",
               R"({"vms":[{"vm":"debian","number":104},{"vm":"ubuntu","number":103},)"
               R"({"vm":"win10","number":102},{"vm":"win11","number":101}]})"),
           shows("connectVm", "vm connect win11 --system-type 10", "win11: connected"),
           showsJson("connectVm", "vm connect win10 --share-mode 2",
                     std::string(kForWin10) + R"("status":0)"),
           shows("startManager", "vm start win11", "win11: start requested"),
           showsJson("startManager", "vm start win10", std::string(kForWin10) + R"("status":0)"),
           shows("createPipe", "pipe create win11 7,usb 8", "win11: 2 pipes created"),
           showsJson("createPipe", "pipe create win10 7", std::string(kForWin10) + R"("status":0)"),
           shows("setPortChannelStatus", "vm port win11 3 1", "win11: port 3 has status 1"),
           showsJson("setPortChannelStatus", "vm port win10 4294967295 -1",
                     std::string(kForWin10) + R"("status":0)"),
           shows("onFocusChanged", "vm focus win11 --window 7", "win11: focus gained"),
           showsJson("onFocusChanged", "vm focus win10", std::string(kForWin10) + R"("status":0)"),
           shows("updateDriveToken", "vm token abc", "drive token handed over"),
           showsJson("updateDriveToken", "vm token def", R"("status":0)"),
           knows("vms",
                 vms(R"("isConnected":true,"isStarted":true,"pipes":1,"ports":1,"hasFocus":true)",
                     R"("isConnected":true,"isStarted":true,"pipes":2,"ports":1,)"
                     R"("hasFocus":false)")),
           shows("destroyPipe", "pipe destroy win11 7", "win11: 1 pipe destroyed"),
           showsJson("destroyPipe", "pipe destroy win11 8",
                     std::string(kForWin11) + R"("status":0)"),
           refusesInJson("createPipe", "pipe create win10 7", 4, kForWin10),
           shows("disconnectVm", "vm disconnect win10", "win10: disconnect requested"),
           knows("vms", vms("", R"("isConnected":true,"isStarted":true,"pipes":0,"ports":1,)"
                                R"("hasFocus":false)")),
           showsJson("disconnectVm", "vm disconnect win11",
                     std::string(kForWin11) + R"("status":0)"),
           knows("vms", vms("", "")),
       }},
      {"TheEndOfASessionTakesBackWhatTheVmHad",
       {
           shows("connectVm", "vm connect win11", "win11: connected"),
           shows("connectDevice", "device connect 12 --vm win11", "win11: device 12 connected"),
           shows("connectPrinter", "printer connect 21 --vm win11", "win11: printer 21 connected"),
           shows("disconnectVm", "vm disconnect win11", "win11: disconnect requested"),
           showsJson("getDeviceStatus", "device status 12",
                     R"("device":12,"devices":[)" +
                         deviceJson(12, 1, 0, "", 0, "", "Built-in camera") + "]"),
           showsJson(
               "getPrinterStatus", "printer status 21",
               R"("printer":21,"printers":[)" + printerJson(21, 1, 0, "", "Office laser") + "]"),
       }},
      {"AResetForgetsEverything",
       {
           shows("connectVm", "vm connect win11", "win11: connected"),
           shows("connectDevice", "device connect 12 --vm win11", "win11: device 12 connected"),
           shows("addNetworkPrinter", "printer network add 10.0.0.9 Hall", "\"10.0.0.9\" added"),
           shows("resetService", "reset", "the service has been reset"),
           knows("vms", vms("", "")),
           shows("getDeviceStatus", "device status 12",
                 "NUMBER  STATUS  POLICY  VM  NAME\n"
                 "12      1       0       -   Built-in camera"),
           showsJson("getNetworkPrinterList", "printer network list", R"("printers":[])"),
           showsJson("resetService", "reset", R"("status":0)"),
       }},
      {"AVmThatVelsimDoesNotHaveIsUnknown",
       {
           fails("getVmListSize", "vm connect nosuch", velctl::kExitUnknownVm,
                 "connectVm for \"nosuch\": the service has no VM of this name; "),
           fails("getVmListSize", "device connect 12 --vm nosuch --json", velctl::kExitUnknownVm,
                 "connectDevice 12 for \"nosuch\": the service has no VM of this name; "),
           // This machine is none either.
           refuses("connectDevice", "device connect 12 --vm ''", 1),
           refusesInJson("connectPrinter", "printer connect 21 --vm ''", 1,
                         R"("vm":"","number":0,"printer":21,)"),
       }},
  };
}

}  // namespace velctl_tests
