// The rows of service commands, diagnoses, stream quality, policies, network devices, network and
// shared printers, print queues and joysticks.

#include <cstdlib>
#include <cstring>
#include <list>

#include "tests/library/remote_operations.h"

using scripted::bytesOf;
using scripted::debugLine;
using scripted::errorLine;
using scripted::pointer;
using scripted::Reply;
using Lock = RemoteOperation::Lock;
using Mapping = RemoteOperation::Mapping;

namespace {

constexpr char kNoDiagnosis[] = "{\"velservice\":4097}";

class IgnoredDiagnosis : public VelDiagnoseNotify {
 public:
  void DiagnoseResultNotify(std::string, unsigned long long, unsigned int, std::string) override {}
};

// It must outlive every proxy.
VelDiagnoseNotify* ignored() {
  static auto* const notify = new IgnoredDiagnosis;
  return notify;
}

int ignoredJoystick(unsigned short, _JoystickResult, void*) {
  return 0;
}

int joystickData;

std::string pointerTo(JoystickCallback callback) {
  return pointer(reinterpret_cast<void*>(callback));
}

std::string enteredWith(JoystickCallback callback, void* userData) {
  return debugLine("RegisterJoystickCallback", "enter, cb[%p] userData[%p]",
                   "enter, cb[" + pointerTo(callback) + "] userData[" + pointer(userData) + "]");
}

CommonDevice policyDevice() {
  CommonDevice device = {};
  device.devNumber = 65401;
  device.policy = -402;
  std::strcpy(device.name, "cam");
  std::strcpy(device.policyText, "ask");
  return device;
}

_SharePrinterDevice sharedPrinter(const std::string& addr, const std::string& name,
                                  const std::string& desc) {
  _SharePrinterDevice printer = {};
  addr.copy(printer.addr, sizeof printer.addr - 1);
  name.copy(printer.name, sizeof printer.name - 1);
  desc.copy(printer.desc, sizeof printer.desc - 1);
  return printer;
}

std::string search(qx::VelProxy& proxy, const std::string& address) {
  std::list<_SharePrinterDevice> found;
  std::string text = shown(proxy.SearchSharePrinterDevice(address, found));
  for (const _SharePrinterDevice& printer : found) {
    text += std::string(" ") + printer.addr + "/" + printer.name + "/" + printer.desc;
  }
  return text;
}

std::string add(qx::VelProxy& proxy) {
  std::list<_SharePrinterDevice> printers = {sharedPrinter("10.0.0.7", "P1", "Office"),
                                             sharedPrinter("10.0.0.8", "P2", "")};
  return shown(proxy.AddSharePrinterDevice(printers));
}

// Blocks, each by its first two bytes: every block of these rows is two bytes long.
template <typename Record>
std::string shownBlocksAndFreed(const std::list<Record*>& records) {
  std::string text;
  for (Record* const record : records) {
    text.append(reinterpret_cast<const char*>(record), 2);
    text += ";";
    std::free(record);
  }
  return text;
}

template <typename Record>
std::string shownBlocks(const std::list<Record>& records) {
  std::string text;
  for (const Record& record : records) {
    text.append(reinterpret_cast<const char*>(record.bytes), 2);
    text += ";";
  }
  return text;
}

Reply twoBlocks() {
  return Reply().int32(2).bytes(bytesOf(std::string("ab"))).bytes(bytesOf(std::string("cd")));
}

// A text, and behind it what is not read.
Reply text(const std::string& given) {
  return Reply().string(given).string("something else");
}

}  // namespace

std::vector<RemoteOperation> remainingOperations() {
  return {
      // --- Service commands --------------------------------------------------------------------

      RemoteOperation(
          "DoVelTest", [](qx::VelProxy& proxy) { return shown(proxy.DoVelTest(kVm, 0xFFFE2345)); },
          "doveltest(int32 0, int16 9029)")
          .logsUnderLock(
              {debugLine("DoVelTest", "vmId:%s, flag: %ld", "vmId:win11, flag: 4294845253")}),

      RemoteOperation(
          "DoVelCmd",
          [](qx::VelProxy& proxy) { return shown(proxy.DoVelCmd(kVm, "list usb", -70001)); },
          "dovelcmd(int32 7001, string \"list usb\", int32 -70001)")
          .logsUnderLock(
              {debugLine("DoVelCmd", "vmId:%s, args: %s", "vmId:win11, args: list usb")}),

      RemoteOperation(
          "GetVelCmdHelp", [](qx::VelProxy& proxy) { return proxy.GetVelCmdHelp(kVm); },
          "getvelcmdhelp(int32 7001)")
          .answered(text("list: lists\n"), "vm id [\nlist: lists\n]\n")
          .failing("vm id [\n")
          .givenNothing("vm id [\n]\n")
          .logsUnderLock({debugLine("GetVelCmdHelp", "vmId:%s", "vmId:win11")}),

      // --- Diagnosis ---------------------------------------------------------------------------

      RemoteOperation(
          "Diagnose",
          [](qx::VelProxy& proxy) { return proxy.Diagnose(kVm, 0x8102030405060708, ignored()); },
          "diagnose(int32 7001, bytes[8] 0807060504030281)")
          .within(10000)
          .locking(Lock::kReleased)
          .mapping(Mapping::kBeforeLock)
          .answered(text("{\"usb\":0}"), "{\"usb\":0}")
          .failing(kNoDiagnosis)
          .givenNothing("")
          .logsFirst({debugLine("Diagnose", "diagnose: vmid[%s] sourceId:%lld",
                                "diagnose: vmid[win11] sourceId:-9150748177064392952")})
          .logsUnknownVm({errorLine("Diagnose", "no desktop connected")})
          .logsAfterReply(
              {debugLine("Diagnose", "diagnose result[%s]", "diagnose result[{\"usb\":0}]")})
          .refusing("NullNotify",
                    [](qx::VelProxy& proxy) { return proxy.Diagnose(kVm, 5, nullptr); },
                    kNoDiagnosis, {}),

      RemoteOperation(
          "DiagnoseDevice",
          [](qx::VelProxy& proxy) { return proxy.DiagnoseDevice(kVm, 65501, ignored()); },
          "diagnoseDevice(int32 7001, int32 65501)")
          .within(10000)
          .mapping(Mapping::kBeforeLock)
          .answered(text("{\"usb\":1}"), "{\"usb\":1}")
          .failing(kNoDiagnosis)
          .givenNothing("")
          .logsFirst({debugLine("DiagnoseDevice", "DiagnoseDevice: vmid[%s] devNumber:%d",
                                "DiagnoseDevice: vmid[win11] devNumber:65501")})
          .logsUnknownVm({errorLine("DiagnoseDevice", "no desktop connected")})
          .logsAfterReply({debugLine("DiagnoseDevice", "DiagnoseDevice result[%s]",
                                     "DiagnoseDevice result[{\"usb\":1}]")})
          .refusing("NullNotify",
                    [](qx::VelProxy& proxy) { return proxy.DiagnoseDevice(kVm, 5, nullptr); },
                    kNoDiagnosis, {}),

      RemoteOperation(
          "CheckCameraAuthStat",
          [](qx::VelProxy& proxy) { return shown(proxy.CheckCameraAuthStat()); },
          "CheckCameraAuthStat()")
          .logsAfterReply({debugLine("CheckCameraAuthStat", "CheckCameraAuthStat result: %d",
                                     "CheckCameraAuthStat result: 5")}),

      // --- Stream quality ----------------------------------------------------------------------

      RemoteOperation(
          "SetBwInfo",
          [](qx::VelProxy& proxy) {
            proxy.SetBwInfo(kVm, 0xFFFFFFFFFFFFFF01, 0x123456789A);
            return std::string("sent");
          },
          "setBwInfo(int32 7001, uint64 18446744073709551361, uint64 78187493530)")
          .sentOnly()
          .locking(Lock::kReleased)
          .answered(Reply().int32(kStatus), "sent")
          .failing("sent")
          .givenNothing("sent"),

      RemoteOperation(
          "SetRtcQosInfo",
          [](qx::VelProxy& proxy) {
            unsigned int figure = 0xFFFFFFF3;
            proxy.SetRtcQosInfo(kVm, 1, &figure);
            return std::string("sent");
          },
          "setRtcQosInfo(int32 7001, uint64 1, uint64 4294967283)")
          .sentOnly()
          .locking(Lock::kReleased)
          .answered(Reply().int32(kStatus), "sent")
          .failing("sent")
          .givenNothing("sent")
          .logsUnderLock({debugLine("SetRtcQosInfo", "vmId:%s", "vmId:win11")}),

      // --- Policies and properties -------------------------------------------------------------

      RemoteOperation(
          "SetDeviceLocalPolicy",
          [](qx::VelProxy& proxy) {
            CommonDevice device = policyDevice();
            return shown(proxy.SetDeviceLocalPolicy(&device));
          },
          "setLocalPolicy(int16 -135, int16 -402, bytes[3] 63616d, bytes[3] 61736b)"),

      RemoteOperation(
          "SetAutoConnect",
          [](qx::VelProxy& proxy) { return shown(proxy.SetAutoConnect(65531, 0x7FFF8001)); },
          "setAutoConnect(int32 0, int16 -5, int16 -32767)"),

      RemoteOperation(
          "GetAutoConnect", [](qx::VelProxy& proxy) { return shown(proxy.GetAutoConnect(65532)); },
          "getAutoConnect(int32 0, int16 -4)")
          .failing("0"),

      RemoteOperation(
          "SetDevicePropertyWithVidPid",
          [](qx::VelProxy& proxy) {
            return shown(proxy.SetDevicePropertyWithVidPid(0xFEDC, 0xBA98, 65511, -40001));
          },
          "setDevicePropertyWithVidPid(int32 0, int16 -292, int16 -17768, int32 65511, "
          "int32 -40001)"),

      RemoteOperation(
          "GetDevicePropertyWithVidPid",
          [](qx::VelProxy& proxy) {
            return shown(proxy.GetDevicePropertyWithVidPid(0xFEDC, 0xBA98, 3));
          },
          "getDevicePropertyWithVidPid(int32 0, int16 -292, int16 -17768, int32 47768)")
          .failing("0"),

      RemoteOperation(
          "GetLocalDevicePropertyWithVidPid",
          [](qx::VelProxy& proxy) {
            return shown(proxy.GetLocalDevicePropertyWithVidPid(0xFEDC, 0xBA98, 3));
          },
          "getLocalDevicePropertyWithVidPid(int32 0, int16 -292, int16 -17768, int32 47768)")
          .failing("0"),

      RemoteOperation(
          "GetPolicyListByVidPid",
          [](qx::VelProxy& proxy) { return shownBlocksAndFreed(proxy.GetPolicyListByVidPid()); },
          "getPolicyListByVidPid(int32 0)")
          .answered(twoBlocks(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetPolicyListByVidPid", "")})
          .logsAfterReply({debugLine("GetPolicyListByVidPid", "list size: %d", "list size: 2")}),

      RemoteOperation(
          "GetTurboConfigWithVidPid",
          [](qx::VelProxy& proxy) { return proxy.GetTurboConfigWithVidPid(0xFEDC, 0x1234); },
          "getTurboConfigWithVidPid(int32 0, int16 -292, int16 4660)")
          .answered(text("fast=1"), "fast=1")
          .failing("")
          .givenNothing(""),

      RemoteOperation(
          "SetTurboConfigWithVidPid",
          [](qx::VelProxy& proxy) {
            return shown(proxy.SetTurboConfigWithVidPid(0xFEDC, 0x1234, "fast"));
          },
          "setTurboConfigWithVidPid(int32 0, int16 -292, int16 4660, bytes[4] 66617374)")
          .failing("0"),

      RemoteOperation(
          "ResetAllDeviceProperty",
          [](qx::VelProxy& proxy) { return shown(proxy.ResetAllDeviceProperty()); },
          "resetAllDeviceProperty(int32 0)")
          .failing("0"),

      // --- Network devices, USB redirection ----------------------------------------------------

      RemoteOperation(
          "SetUsbredirStatus",
          [](qx::VelProxy& proxy) {
            return shown(proxy.SetUsbredirStatus(kVm, {{1, 2, 3, 4, 5, 6, 7, 0xF8}}, 65506));
          },
          "setUsbredirStatus(int32 7001, int16 -30, bytes[8] 01020304050607f8)"),

      RemoteOperation(
          "AddNetworkDevice",
          [](qx::VelProxy& proxy) {
            std::string device = "scan";
            return shown(proxy.AddNetworkDevice(-70002, device));
          },
          "addNetworkDevice(int32 -70002, bytes[4] 7363616e)"),

      RemoteOperation(
          "DeleteNetworkDevice",
          [](qx::VelProxy& proxy) {
            std::string device = "scan";
            std::string detail = "now";
            return shown(proxy.DeleteNetworkDevice(device, detail));
          },
          "deleteNetworkDevice(bytes[4] 7363616e, bytes[3] 6e6f77)"),

      // --- Network printers --------------------------------------------------------------------

      RemoteOperation(
          "AddNetworkPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("10.0.0.5")); },
          "addNetworkPrinter(string \"10.0.0.5\", string \"defaultPrinter\", string \"\")")
          .known("AddNetworkPrinterByAddress")
          .logsFirst({debugLine("AddNetworkPrinter", "printerAddr: %s, printerName: %s",
                                "printerAddr: 10.0.0.5, printerName: defaultPrinter")})
          .refusing("EmptyAddress",
                    [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("")); }, "-1",
                    {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")})
          .refusing("NullAddress",
                    [](qx::VelProxy& proxy) {
                      return shown(proxy.AddNetworkPrinter(static_cast<const char*>(nullptr)));
                    },
                    "-1", {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")}),

      RemoteOperation(
          "AddNetworkPrinter",
          [](qx::VelProxy& proxy) {
            return shown(proxy.AddNetworkPrinter("10.0.0.6", "Lobby", "duplex"));
          },
          "addNetworkPrinter(string \"10.0.0.6\", string \"Lobby\", string \"duplex\")")
          .logsFirst({debugLine("AddNetworkPrinter", "printerAddr: %s, printerName: %s",
                                "printerAddr: 10.0.0.6, printerName: Lobby")})
          .refusing(
              "EmptyAddress",
              [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("", "p", "x")); },
              "-1", {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")})
          .refusing(
              "EmptyName",
              [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("a", "", "x")); },
              "-1", {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")}),

      RemoteOperation(
          "DeleteNetworkPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.DeleteNetworkPrinter("Lobby")); },
          "deleteNetworkPrinter(string \"Lobby\")")
          .logsFirst({debugLine("DeleteNetworkPrinter", "printerName: %s", "printerName: Lobby")}),

      RemoteOperation(
          "RenameNetworkPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.RenameNetworkPrinter("old", "new")); },
          "renameNetworkPrinter(bytes[3] 6f6c64, bytes[3] 6e6577)")
          .logsFirst({debugLine("RenameNetworkPrinter", "oldName: %s, newName: %s",
                                "oldName: old, newName: new")})
          .refusing(
              "EmptyOldName",
              [](qx::VelProxy& proxy) { return shown(proxy.RenameNetworkPrinter("", "n")); }, "-1",
              {errorLine("RenameNetworkPrinter", "printer oldName or printer newName is NULL")})
          .refusing(
              "EmptyNewName",
              [](qx::VelProxy& proxy) { return shown(proxy.RenameNetworkPrinter("o", "")); }, "-1",
              {errorLine("RenameNetworkPrinter", "printer oldName or printer newName is NULL")}),

      RemoteOperation(
          "GetNetworkPrinterList",
          [](qx::VelProxy& proxy) { return shownBlocksAndFreed(proxy.GetNetworkPrinterList()); },
          "getNetworkPrinterList()")
          .answered(twoBlocks(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetNetworkPrinterList", "enter")})
          .logsAfterReply({debugLine("GetNetworkPrinterList", "list size: %d", "list size: 2")}),

      // --- Shared printers ---------------------------------------------------------------------

      RemoteOperation(
          "SearchSharePrinterDevice",
          [](qx::VelProxy& proxy) { return search(proxy, "10.0.0.9:631"); },
          "searchSharePrinter(string \"10.0.0.9:631\")")
          .within(10000)
          .answered(Reply().int32(0).int32(1).string("10.0.0.7").string("P1").string("Office"),
                    "0 10.0.0.7/P1/Office")
          .logsFirst({debugLine("SearchSharePrinterDevice", "enter ipaddr: %s",
                                "enter ipaddr: 10.0.0.9:631")})
          .logsAfterReply({debugLine("SearchSharePrinterDevice", "[%d] addr:%s name:%s desc:%s",
                                     "[1] addr:10.0.0.7 name:P1 desc:Office")})
          .refusing("HostName", [](qx::VelProxy& proxy) { return search(proxy, "printer.local"); },
                    "1",
                    {debugLine("SearchSharePrinterDevice", "enter ipaddr: %s",
                               "enter ipaddr: printer.local")}),

      RemoteOperation(
          "StopSearchSharePrinterDevice",
          [](qx::VelProxy& proxy) { return shown(proxy.StopSearchSharePrinterDevice()); },
          "stopSearchSharePrinter()")
          .logsFirst({debugLine("StopSearchSharePrinterDevice", "enter")}),

      RemoteOperation(
          "AddSharePrinterDevice", add,
          "addSharePrinter(int32 2, cstring \"10.0.0.7\", cstring \"P1\", cstring \"Office\", "
          "cstring \"10.0.0.8\", cstring \"P2\", cstring \"\")")
          .logsFirst({debugLine("AddSharePrinterDevice", "enter")})
          .logsConnected({debugLine("AddSharePrinterDevice", "size: %d", "size: 2")}),

      RemoteOperation(
          "DeleteSharePrinterDevice",
          [](qx::VelProxy& proxy) {
            _SharePrinterDevice printer = sharedPrinter("10.0.0.7", "P1", "Office");
            return shown(proxy.DeleteSharePrinterDevice(printer));
          },
          "deleteSharePrinter(cstring \"10.0.0.7\", cstring \"P1\")")
          .logsFirst({debugLine("DeleteSharePrinterDevice", "enter")}),

      // --- Print queues ------------------------------------------------------------------------

      RemoteOperation(
          "SearchAllPrinter", [](qx::VelProxy& proxy) { return proxy.SearchAllPrinter(); },
          "searchAllPrinter()")
          .within(30000)
          .answered(text("P1,P2"), "P1,P2")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("SearchAllPrinter", "enter")})
          .logsAfterReply({debugLine("SearchAllPrinter", "result: %s", "result: P1,P2")}),

      RemoteOperation(
          "GetPrinterDriverlList",
          [](qx::VelProxy& proxy) { return proxy.GetPrinterDriverlList("P1"); },
          "getPrinterDriverlList(string \"P1\")")
          .within(30000)
          .answered(text("ps,pcl"), "ps,pcl")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetPrinterDriverlList", "enter")})
          .logsAfterReply({debugLine("GetPrinterDriverlList", "result: %s", "result: ps,pcl")}),

      RemoteOperation(
          "AddLocalPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.AddLocalPrinter("a", "b", "c")); },
          "addPrinter(string \"a\", string \"b\", string \"c\")")
          .logsFirst({debugLine("AddLocalPrinter", "enter")}),

      RemoteOperation(
          "AutoAddPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.AutoAddPrinter("d", "e", "f")); },
          "autoAddPrinter(string \"d\", string \"e\", string \"f\")")
          .within(30000)
          .logsFirst({debugLine("AutoAddPrinter", "enter")}),

      RemoteOperation(
          "DeletePrinter", [](qx::VelProxy& proxy) { return shown(proxy.DeletePrinter("P1")); },
          "deletePrinter(string \"P1\")")
          .logsFirst({debugLine("DeletePrinter", "enter")}),

      RemoteOperation(
          "ChangePrinterDriver",
          [](qx::VelProxy& proxy) { return shown(proxy.ChangePrinterDriver("p", "d")); },
          "changePrinterDriver(string \"p\", string \"d\")")
          .logsFirst({debugLine("ChangePrinterDriver", "enter")}),

      RemoteOperation(
          "PrintTestPage", [](qx::VelProxy& proxy) { return shown(proxy.PrintTestPage("P2")); },
          "printTestPage(string \"P2\")")
          .within(10000)
          .logsFirst({debugLine("PrintTestPage", "enter")}),

      // --- Joysticks ---------------------------------------------------------------------------

      RemoteOperation(
          "GetJoystickDevList",
          [](qx::VelProxy& proxy) { return shownBlocks(proxy.GetJoystickDevList()); },
          "getJoystickDevList()")
          .answered(twoBlocks(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsUnderLock({debugLine("GetJoystickDevList", "")})
          .logsAfterReply(
              {debugLine("GetJoystickDevList", "joystick list size: %d", "joystick list size: 2")}),

      RemoteOperation(
          "GetJoystickMappingList",
          [](qx::VelProxy& proxy) { return shownBlocks(proxy.GetJoystickMappingList()); },
          "getJoystickMappingList()")
          .answered(twoBlocks(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsUnderLock({debugLine("GetJoystickMappingList", "")})
          .logsAfterReply({debugLine("GetJoystickMappingList", "joystick list size: %d",
                                     "joystick list size: 2")}),

      RemoteOperation(
          "SetJoystickMapping",
          [](qx::VelProxy& proxy) { return shown(proxy.SetJoystickMapping(65521, 65522)); },
          "setJoystickMapping(int16 -15, int16 -14)")
          .logsFirst({debugLine("SetJoystickMapping", "enter devIndex[%d], mappingIndex[%d]",
                                "enter devIndex[65521], mappingIndex[65522]")})
          .logsBeforeCall(
              {debugLine("SetJoystickMapping", "SetJoystickMapping devIndex:%d, mappingIndex:%d",
                         "SetJoystickMapping devIndex:65521, mappingIndex:65522")})
          .logsReply(),

      RemoteOperation(
          "CalibrationJoystick",
          [](qx::VelProxy& proxy) { return shown(proxy.CalibrationJoystick(65523)); },
          "calibrationJoystick(int16 -13)")
          .logsFirst(
              {debugLine("CalibrationJoystick", "enter devIndex[%d]", "enter devIndex[65523]")})
          .logsBeforeCall({debugLine("CalibrationJoystick", "CalibrationJoystick devIndex:%d",
                                     "CalibrationJoystick devIndex:65523")})
          .logsReply(),

      RemoteOperation(
          "RegisterJoystickCallback",
          [](qx::VelProxy& proxy) {
            return shown(proxy.RegisterJoystickCallback(&ignoredJoystick, &joystickData));
          },
          "registerJoystickCallback(bytes[8] " + std::string(kProxyBytes) + ")")
          .logsFirst({enteredWith(&ignoredJoystick, &joystickData)})
          .logsBeforeCall(
              {debugLine("RegisterJoystickCallback", "registerJoystickCallback objId:%ld",
                         "registerJoystickCallback objId:" + std::string(kProxyNumber))})
          .logsReply()
          .refusing("NullUserData",
                    [](qx::VelProxy& proxy) {
                      return shown(proxy.RegisterJoystickCallback(&ignoredJoystick, nullptr));
                    },
                    "-1",
                    {enteredWith(&ignoredJoystick, nullptr),
                     errorLine("RegisterJoystickCallback", "callback or userData is NULL")})
          .refusing("NullCallback",
                    [](qx::VelProxy& proxy) {
                      return shown(proxy.RegisterJoystickCallback(nullptr, &joystickData));
                    },
                    "-1",
                    {enteredWith(nullptr, &joystickData),
                     errorLine("RegisterJoystickCallback", "callback or userData is NULL")}),

      RemoteOperation(
          "UnregisterJoystickCallback",
          [](qx::VelProxy& proxy) {
            return shown(proxy.UnregisterJoystickCallback(&joystickData));
          },
          "unregisterJoystickCallback(bytes[8] " + std::string(kProxyBytes) + ")")
          .logsFirst({debugLine("UnregisterJoystickCallback", "end userData[%p]",
                                "end userData[" + pointer(&joystickData) + "]")})
          .logsBeforeCall(
              {debugLine("UnregisterJoystickCallback", "unregisterJoystickCallback objId:%ld",
                         "unregisterJoystickCallback objId:" + std::string(kProxyNumber))})
          .logsReply(),
  };
}
