// Rows of velctl device, network-device, new-device, storage, usb and camera.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

namespace device = velprotocol::device;

// Attached to the VM that the service knows, to another, and to none.
Reply devices() {
  return Reply()
      .int32(3)
      .bytes(deviceBlock(12, 2, -3, kVmNumber, "Front camera", "allow"))
      .bytes(deviceBlock(65535, 2, 0, 999, "Tablet", ""))
      .bytes(deviceBlock(7, 1, 2, 0, "", ""));
}

// With a value in every field.
Reply camera() {
  Bytes block = deviceBlock(12, 2, 1, kVmNumber, "Front camera", "allow");
  velprotocol::write(block, device::kSourceId, std::uint64_t{18446744073709551615U});
  velprotocol::write(block, device::kVid, std::uint16_t{0x046d});
  velprotocol::write(block, device::kPid, std::uint16_t{0xc52b});
  velprotocol::write(block, device::kType, std::uint16_t{2});
  velprotocol::write(block, device::kIsMounted, std::uint16_t{1});
  return Reply().int32(1).bytes(block);
}

// The members behind the name, where the record has none of them.
constexpr char kNoMore[] =
    R"("source":"0","usbId":"0000:0000","type":0,"typeName":null,"isMounted":false})";

}  // namespace

std::vector<Command> deviceCommands() {
  return {
      Command("DeviceListOfThisMachine", "device list")
          .sends("getDeviceList(int32 0)")
          .sends(kConfirmation)
          .reads(Answer::kContent)
          .answered(devices())
          .prints("NUMBER  STATUS         POLICY         VM     NAME\n"
                  "12      attached (2)   -3             win11  Front camera\n"
                  "65535   attached (2)   none (0)       999    Tablet\n"
                  "7       available (1)  forbidden (2)  -")
          .printsJson(
              R"({"operation":"getDeviceList","devices":[)"
              R"({"device":12,"status":2,"statusName":"attached","policy":-3,"policyName":null,)"
              R"("policyText":"allow","vm":"win11","vmNumber":101,"name":"Front camera",)" +
              std::string(kNoMore) +
              R"(,{"device":65535,"status":2,"statusName":"attached","policy":0,)"
              R"("policyName":"none","policyText":"","vm":null,"vmNumber":999,"name":"Tablet",)" +
              kNoMore +
              R"(,{"device":7,"status":1,"statusName":"available","policy":2,)"
              R"("policyName":"forbidden","policyText":"","vm":null,"vmNumber":0,"name":"",)" +
              kNoMore + "]}"),
      Command("DeviceListForAVm", "device list --vm win11")
          .sends("getDeviceList(int32 101)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(deviceBlock(12, 2, 0, kVmNumber, "Front camera", "")))
          .prints("NUMBER  STATUS        POLICY    VM     NAME\n"
                  "12      attached (2)  none (0)  win11  Front camera")
          .printsJson(
              R"({"operation":"getDeviceList","vm":"win11","vmNumber":101,"devices":[)"
              R"({"device":12,"status":2,"statusName":"attached","policy":0,"policyName":"none",)"
              R"("policyText":"","vm":"win11","vmNumber":101,"name":"Front camera",)" +
              std::string(kNoMore) + "]}"),
      Command("DeviceShow", "device show 12")
          .sends("getDeviceStatus(int16 12)")
          .sends(kConfirmation)
          .reads(Answer::kContent)
          .answered(camera())
          .prints("device      12\n"
                  "status      attached (2)\n"
                  "policy      allowed (1)\n"
                  "policyText  allow\n"
                  "vm          win11\n"
                  "name        Front camera\n"
                  "source      18446744073709551615\n"
                  "usbId       046d:c52b\n"
                  "type        camera (2)\n"
                  "isMounted   yes")
          .printsJson(
              R"({"operation":"getDeviceStatus","device":12,"status":2,"statusName":"attached",)"
              R"("policy":1,"policyName":"allowed","policyText":"allow","vm":"win11",)"
              R"("vmNumber":101,"name":"Front camera","source":"18446744073709551615",)"
              R"("usbId":"046d:c52b","type":2,"typeName":"camera","isMounted":true})"),
      Command("DeviceAttach", "device attach 12 --vm win11")
          .sends("connectDevice(int32 101, int16 12)")
          .prints("device 12 attached to win11")
          .printsJson(R"({"operation":"connectDevice","vm":"win11","vmNumber":101,"device":12,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("DeviceAttachWithTheLargestNumber", "device attach 65535 --vm ''")
          .sends("connectDevice(int32 0, int16 -1)")
          .prints("device 65535 attached to this machine")
          .printsJson(R"({"operation":"connectDevice","vm":"","vmNumber":0,"device":65535,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("DeviceAttachBySource", "device attach --source 18446744073709551615 --vm win11")
          .sends("connectDeviceBySrcId(int32 101, uint64 18446744073709551615)")
          .prints("source 18446744073709551615 attached to win11")
          .printsJson(R"({"operation":"connectDeviceBySrcId","vm":"win11","vmNumber":101,)"
                      R"("source":"18446744073709551615","status":0,"statusName":"ok"})"),
      Command("DeviceDetach", "device detach 0xc --vm win11")
          .sends("disconnectDevice(int32 101, int16 12)")
          .prints("device 12 detached from win11")
          .printsJson(R"({"operation":"disconnectDevice","vm":"win11","vmNumber":101,"device":12,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("DeviceDetachBySource", "device detach --source 7 --vm win11")
          .sends("disconnectDeviceBySrcId(int32 101, uint64 7)")
          .prints("source 7 detached from win11")
          .printsJson(R"({"operation":"disconnectDeviceBySrcId","vm":"win11","vmNumber":101,)"
                      R"("source":"7","status":0,"statusName":"ok"})"),
      Command("DeviceRedirect", "device redirect 12 65535 --vm win11")
          .sends("redirectDevice(int32 101, int16 12, int16 -1)")
          .prints("device 12 redirected for win11: 65535")
          .printsJson(R"({"operation":"redirectDevice","vm":"win11","vmNumber":101,"device":12,)"
                      R"("direction":65535,"status":0,"statusName":"ok"})"),
      Command("NetworkDeviceAdd", "network-device add -3 scanner")
          .sends("addNetworkDevice(int32 -3, bytes[7] 7363616e6e6572)")
          .prints("\"scanner\" added")
          .printsJson(R"({"operation":"addNetworkDevice","type":-3,"text":"scanner",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("NetworkDeviceRemove", "network-device remove abc de")
          .sends("deleteNetworkDevice(bytes[3] 616263, bytes[2] 6465)")
          .prints("\"abc\" removed")
          .printsJson(R"({"operation":"deleteNetworkDevice","text":"abc","detail":"de",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("NewDeviceAttach",
              "new-device attach 0x0102030405060708 --type 65535 --auto-connect 1 --popup 2 --vm "
              "win11")
          .sends("configNewDeviceAsConnect(int32 101, bytes[8] 0807060504030201, int32 65535, "
                 "int32 1, int32 2)")
          .prints("source 72623859790382856 attached to win11")
          .printsJson(R"({"operation":"configNewDeviceAsConnect","vm":"win11","vmNumber":101,)"
                      R"("source":"72623859790382856","type":65535,"autoConnect":1,"popup":2,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("NewDeviceIgnore", "new-device ignore 1 --type camera --popup 65535")
          .sends(
              "configNewDeviceAsIgnore(bytes[8] 0100000000000000, int32 2, int32 0, int32 65535)")
          .prints("source 1 ignored")
          .printsJson(
              R"({"operation":"configNewDeviceAsIgnore","source":"1","type":2,"autoConnect":0,)"
              R"("popup":65535,"status":0,"statusName":"ok"})"),
      Command("StorageCommand", "storage command 258 65535 --vm win11")
          .sends("ConfigUdisks2Command(int32 101, bytes[8] 0201000000000000, int32 65535)")
          .prints("command 65535 done for the storage of source 258")
          .printsJson(
              R"({"operation":"ConfigUdisks2Command","vm":"win11","vmNumber":101,"source":"258",)"
              R"("command":65535,"status":0,"statusName":"ok"})"),
      Command("UsbSet", "usb set 0102030405060aFF 65535 --vm win11")
          .sends("setUsbredirStatus(int32 101, int16 -1, bytes[8] 0102030405060aff)")
          .prints("USB device 0102030405060aff of win11 has status 65535")
          .printsJson(R"({"operation":"setUsbredirStatus","vm":"win11","vmNumber":101,)"
                      R"("usb":"0102030405060aff","deviceStatus":65535,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("CameraShow", "camera show")
          .sends("CheckCameraAuthStat()")
          .reads(Answer::kContent)
          .answered(Reply().int32(1))
          .prints("denied (1)")
          .printsJson(R"({"operation":"CheckCameraAuthStat","authorization":1,)"
                      R"("authorizationName":"denied"})"),
      Command("CameraShowOfAnUnknownNumber", "camera show")
          .sends("CheckCameraAuthStat()")
          .reads(Answer::kContent)
          .answered(Reply().int32(3))
          .prints("3")
          .printsJson(R"({"operation":"CheckCameraAuthStat","authorization":3,)"
                      R"("authorizationName":null})"),
  };
}

}  // namespace velctl_tests
