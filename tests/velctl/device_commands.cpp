// Rows of velctl device, new-device, usb and camera.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"

namespace velctl_tests {
namespace {

// Attached to the VM that the service knows, to another, and to none.
Reply devices() {
  return Reply()
      .int32(3)
      .bytes(deviceBlock(12, 2, -3, kVmNumber, "Front camera", "allow"))
      .bytes(deviceBlock(65535, 2, 0, 999, "Tablet", ""))
      .bytes(deviceBlock(7, 1, 4, 0, "", ""));
}

}  // namespace

std::vector<Command> deviceCommands() {
  return {
      Command("DeviceListOfThisMachine", "device list")
          .sends("getDeviceList(int32 0)")
          .reads(Answer::kContent)
          .answered(devices())
          .prints("NUMBER  STATUS  POLICY  VM   NAME\n"
                  "12      2       -3      101  Front camera\n"
                  "65535   2       0       999  Tablet\n"
                  "7       1       4       -    ")
          .printsJson(
              R"({"operation":"getDeviceList","devices":[)"
              R"({"device":12,"status":2,"policy":-3,"policyText":"allow","vmNumber":101,)"
              R"("vm":null,)"
              R"("name":"Front camera"},)"
              R"({"device":65535,"status":2,"policy":0,"policyText":"","vmNumber":999,"vm":null,)"
              R"("name":"Tablet"},)"
              R"({"device":7,"status":1,"policy":4,"policyText":"","vmNumber":0,"vm":null,)"
              R"("name":""}]})"),
      Command("DeviceListForAVm", "device list --vm win11")
          .sends("getDeviceList(int32 101)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(deviceBlock(12, 2, 0, kVmNumber, "Front camera", "")))
          .prints("NUMBER  STATUS  POLICY  VM     NAME\n"
                  "12      2       0       win11  Front camera")
          .printsJson(
              R"({"operation":"getDeviceList","vm":"win11","number":101,"devices":[)"
              R"({"device":12,"status":2,"policy":0,"policyText":"","vmNumber":101,"vm":"win11",)"
              R"("name":"Front camera"}]})"),
      Command("DeviceStatus", "device status 12")
          .sends("getDeviceStatus(int16 12)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(deviceBlock(12, 1, 0, 0, "Front camera", "")))
          .prints("NUMBER  STATUS  POLICY  VM  NAME\n"
                  "12      1       0       -   Front camera")
          .printsJson(
              R"({"operation":"getDeviceStatus","device":12,"devices":[)"
              R"({"device":12,"status":1,"policy":0,"policyText":"","vmNumber":0,"vm":null,)"
              R"("name":"Front camera"}]})"),
      Command("DeviceConnect", "device connect 12 --vm win11")
          .sends("connectDevice(int32 101, int16 12)")
          .prints("win11: device 12 connected")
          .printsJson(
              R"({"operation":"connectDevice","vm":"win11","number":101,"device":12,"status":0})"),
      Command("DeviceConnectWithTheLargestNumber", "device connect 65535 --vm ''")
          .sends("connectDevice(int32 0, int16 -1)")
          .prints("this machine: device 65535 connected")
          .printsJson(
              R"({"operation":"connectDevice","vm":"","number":0,"device":65535,"status":0})"),
      Command("DeviceConnectBySource", "device connect --source 18446744073709551615 --vm win11")
          .sends("connectDeviceBySrcId(int32 101, uint64 18446744073709551615)")
          .prints("win11: source 18446744073709551615 connected")
          .printsJson(R"({"operation":"connectDeviceBySrcId","vm":"win11","number":101,)"
                      R"("source":18446744073709551615,"status":0})"),
      Command("DeviceDisconnect", "device disconnect 0xc --vm win11")
          .sends("disconnectDevice(int32 101, int16 12)")
          .prints("win11: device 12 disconnected")
          .printsJson(R"({"operation":"disconnectDevice","vm":"win11","number":101,"device":12,)"
                      R"("status":0})"),
      Command("DeviceDisconnectBySource", "device disconnect --source 7 --vm win11")
          .sends("disconnectDeviceBySrcId(int32 101, uint64 7)")
          .prints("win11: source 7 disconnected")
          .printsJson(
              R"({"operation":"disconnectDeviceBySrcId","vm":"win11","number":101,"source":7,)"
              R"("status":0})"),
      Command("DeviceRedirect", "device redirect 12 65535 --vm win11")
          .sends("redirectDevice(int32 101, int16 12, int16 -1)")
          .prints("win11: redirected 12 65535")
          .printsJson(R"({"operation":"redirectDevice","vm":"win11","number":101,"first":12,)"
                      R"("second":65535,)"
                      R"("status":0})"),
      Command("DeviceNetworkAdd", "device network add -3 scanner")
          .sends("addNetworkDevice(int32 -3, bytes[7] 7363616e6e6572)")
          .prints("\"scanner\" added")
          .printsJson(
              R"({"operation":"addNetworkDevice","type":-3,"device":"scanner","status":0})"),
      Command("DeviceNetworkRemove", "device network remove abc de")
          .sends("deleteNetworkDevice(bytes[3] 616263, bytes[2] 6465)")
          .prints("\"abc\" removed")
          .printsJson(
              R"({"operation":"deleteNetworkDevice","device":"abc","detail":"de","status":0})"),
      Command("NewDeviceConnect",
              "new-device connect 0x0102030405060708 --type 65535 --auto-connect 1 --popup 2 --vm "
              "win11")
          .sends("configNewDeviceAsConnect(int32 101, bytes[8] 0807060504030201, int32 65535, "
                 "int32 1, int32 2)")
          .prints("win11: source 72623859790382856 connected")
          .printsJson(
              R"({"operation":"configNewDeviceAsConnect","vm":"win11","number":101,)"
              R"("source":72623859790382856,"type":65535,"autoConnect":1,"popup":2,"status":0})"),
      Command("NewDeviceIgnore", "new-device ignore 1 --popup 65535")
          .sends(
              "configNewDeviceAsIgnore(bytes[8] 0100000000000000, int32 0, int32 0, int32 65535)")
          .prints("source 1 ignored")
          .printsJson(
              R"({"operation":"configNewDeviceAsIgnore","source":1,"type":0,"autoConnect":0,)"
              R"("popup":65535,"status":0})"),
      Command("NewDeviceStorage", "new-device storage 258 65535 --vm win11")
          .sends("ConfigUdisks2Command(int32 101, bytes[8] 0201000000000000, int32 65535)")
          .prints("win11: command 65535 done for the storage of source 258")
          .printsJson(
              R"({"operation":"ConfigUdisks2Command","vm":"win11","number":101,"source":258,)"
              R"("command":65535,"status":0})"),
      Command("UsbStatus", "usb status 0102030405060aFF 65535 --vm win11")
          .sends("setUsbredirStatus(int32 101, int16 -1, bytes[8] 0102030405060aff)")
          .prints("win11: USB device 0102030405060aff has status 65535")
          .printsJson(R"({"operation":"setUsbredirStatus","vm":"win11","number":101,)"
                      R"("device":"0102030405060aff","deviceStatus":65535,"status":0})"),
      Command("Camera", "camera")
          .sends("CheckCameraAuthStat()")
          .reads(Answer::kContent)
          .answered(Reply().int32(3))
          .prints("3")
          .printsJson(R"({"operation":"CheckCameraAuthStat","authorization":3})"),
  };
}

}  // namespace velctl_tests
