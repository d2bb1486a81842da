// Rows of velctl device, new-device, usb and camera.

#include <cstdint>

#include "tests/velctl/commands.h"
#include "tests/velctl/scripted_service.h"

namespace velctl_tests {
namespace {

// Attached to the VM that the service knows, to another, and to none.
qxbus::Values devices() {
  return {std::int32_t{3}, deviceBlock(12, 2, -3, kVmNumber, "Front camera", "allow"),
          deviceBlock(65535, 2, 0, 999, "Tablet", ""), deviceBlock(7, 1, 4, 0, "", "")};
}

}  // namespace

std::vector<Command> deviceCommands() {
  return {
      {"DeviceListOfThisMachine",
       {"device", "list"},
       {"getDeviceList(int32 0)"},
       Answer::kContent,
       devices(),
       "NUMBER  STATUS  POLICY  VM   NAME\n"
       "12      2       -3      101  Front camera\n"
       "65535   2       0       999  Tablet\n"
       "7       1       4       -    ",
       R"({"operation":"getDeviceList","devices":[)"
       R"({"device":12,"status":2,"policy":-3,"policyText":"allow","vmNumber":101,"vm":null,)"
       R"("name":"Front camera"},)"
       R"({"device":65535,"status":2,"policy":0,"policyText":"","vmNumber":999,"vm":null,)"
       R"("name":"Tablet"},)"
       R"({"device":7,"status":1,"policy":4,"policyText":"","vmNumber":0,"vm":null,"name":""}]})"},
      {"DeviceListForAVm",
       {"device", "list", "--vm", "win11"},
       {"getDeviceList(int32 101)"},
       Answer::kContent,
       {std::int32_t{1}, deviceBlock(12, 2, 0, kVmNumber, "Front camera", "")},
       "NUMBER  STATUS  POLICY  VM     NAME\n"
       "12      2       0       win11  Front camera",
       R"({"operation":"getDeviceList","vm":"win11","number":101,"devices":[)"
       R"({"device":12,"status":2,"policy":0,"policyText":"","vmNumber":101,"vm":"win11",)"
       R"("name":"Front camera"}]})"},
      {"DeviceStatus",
       {"device", "status", "12"},
       {"getDeviceStatus(int16 12)"},
       Answer::kContent,
       {std::int32_t{1}, deviceBlock(12, 1, 0, 0, "Front camera", "")},
       "NUMBER  STATUS  POLICY  VM  NAME\n"
       "12      1       0       -   Front camera",
       R"({"operation":"getDeviceStatus","device":12,"devices":[)"
       R"({"device":12,"status":1,"policy":0,"policyText":"","vmNumber":0,"vm":null,)"
       R"("name":"Front camera"}]})"},
      {"DeviceConnect",
       {"device", "connect", "12", "--vm", "win11"},
       {"connectDevice(int32 101, int16 12)"},
       Answer::kStatus,
       kDone,
       "win11: device 12 connected",
       R"({"operation":"connectDevice","vm":"win11","number":101,"device":12,"status":0})"},
      {"DeviceConnectWithTheLargestNumber",
       {"device", "connect", "65535", "--vm", ""},
       {"connectDevice(int32 0, int16 -1)"},
       Answer::kStatus,
       kDone,
       "this machine: device 65535 connected",
       R"({"operation":"connectDevice","vm":"","number":0,"device":65535,"status":0})"},
      {"DeviceConnectBySource",
       {"device", "connect", "--source", "18446744073709551615", "--vm", "win11"},
       {"connectDeviceBySrcId(int32 101, uint64 18446744073709551615)"},
       Answer::kStatus,
       kDone,
       "win11: source 18446744073709551615 connected",
       R"({"operation":"connectDeviceBySrcId","vm":"win11","number":101,)"
       R"("source":18446744073709551615,"status":0})"},
      {"DeviceDisconnect",
       {"device", "disconnect", "0xc", "--vm", "win11"},
       {"disconnectDevice(int32 101, int16 12)"},
       Answer::kStatus,
       kDone,
       "win11: device 12 disconnected",
       R"({"operation":"disconnectDevice","vm":"win11","number":101,"device":12,"status":0})"},
      {"DeviceDisconnectBySource",
       {"device", "disconnect", "--source", "7", "--vm", "win11"},
       {"disconnectDeviceBySrcId(int32 101, uint64 7)"},
       Answer::kStatus,
       kDone,
       "win11: source 7 disconnected",
       R"({"operation":"disconnectDeviceBySrcId","vm":"win11","number":101,"source":7,"status":0})"},
      {"DeviceRedirect",
       {"device", "redirect", "12", "65535", "--vm", "win11"},
       {"redirectDevice(int32 101, int16 12, int16 -1)"},
       Answer::kStatus,
       kDone,
       "win11: redirected 12 65535",
       R"({"operation":"redirectDevice","vm":"win11","number":101,"first":12,"second":65535,)"
       R"("status":0})"},
      {"DeviceNetworkAdd",
       {"device", "network", "add", "-3", "scanner"},
       {"addNetworkDevice(int32 -3, bytes[7] 73 63 61 6e 6e 65 72)"},
       Answer::kStatus,
       kDone,
       "\"scanner\" added",
       R"({"operation":"addNetworkDevice","type":-3,"device":"scanner","status":0})"},
      {"DeviceNetworkRemove",
       {"device", "network", "remove", "abc", "de"},
       {"deleteNetworkDevice(bytes[3] 61 62 63, bytes[2] 64 65)"},
       Answer::kStatus,
       kDone,
       "\"abc\" removed",
       R"({"operation":"deleteNetworkDevice","device":"abc","detail":"de","status":0})"},
      {"NewDeviceConnect",
       {"new-device", "connect", "0x0102030405060708", "--type", "65535", "--auto-connect", "1",
        "--popup", "2", "--vm", "win11"},
       {"configNewDeviceAsConnect(int32 101, bytes[8] 08 07 06 05 04 03 02 01, int32 65535, int32 "
        "1, int32 2)"},
       Answer::kStatus,
       kDone,
       "win11: source 72623859790382856 connected",
       R"({"operation":"configNewDeviceAsConnect","vm":"win11","number":101,)"
       R"("source":72623859790382856,"type":65535,"autoConnect":1,"popup":2,"status":0})"},
      {"NewDeviceIgnore",
       {"new-device", "ignore", "1", "--popup", "65535"},
       {"configNewDeviceAsIgnore(bytes[8] 01 00 00 00 00 00 00 00, int32 0, int32 0, int32 "
        "65535)"},
       Answer::kStatus,
       kDone,
       "source 1 ignored",
       R"({"operation":"configNewDeviceAsIgnore","source":1,"type":0,"autoConnect":0,)"
       R"("popup":65535,"status":0})"},
      {"NewDeviceStorage",
       {"new-device", "storage", "258", "65535", "--vm", "win11"},
       {"ConfigUdisks2Command(int32 101, bytes[8] 02 01 00 00 00 00 00 00, int32 65535)"},
       Answer::kStatus,
       kDone,
       "win11: command 65535 done for the storage of source 258",
       R"({"operation":"ConfigUdisks2Command","vm":"win11","number":101,"source":258,)"
       R"("command":65535,"status":0})"},
      {"UsbStatus",
       {"usb", "status", "0102030405060aFF", "65535", "--vm", "win11"},
       {"setUsbredirStatus(int32 101, int16 -1, bytes[8] 01 02 03 04 05 06 0a ff)"},
       Answer::kStatus,
       kDone,
       "win11: USB device 0102030405060aff has status 65535",
       R"({"operation":"setUsbredirStatus","vm":"win11","number":101,)"
       R"("device":"0102030405060aff","deviceStatus":65535,"status":0})"},
      {"Camera",
       {"camera"},
       {"CheckCameraAuthStat()"},
       Answer::kContent,
       {std::int32_t{3}},
       "3",
       R"({"operation":"CheckCameraAuthStat","authorization":3})"},
  };
}

}  // namespace velctl_tests
