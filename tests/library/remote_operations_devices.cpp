// The rows of the printers' and devices' operations. GetLocalDeviceList has none, because it is
// GetDeviceList under another name: see devices_test.cpp.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <list>

#include "tests/library/remote_operations.h"

using scripted::Bytes;
using scripted::debugLine;
using scripted::errorLine;
using scripted::Reply;
using Lines = RemoteOperation::Lines;
using Lock = RemoteOperation::Lock;

namespace {

constexpr unsigned long long kSourceId = 0x0102030405060708;

// A record of a printer or a device: its number, then the rest of it.
Bytes record(std::size_t size, unsigned short number, std::size_t nameAt, const std::string& name) {
  Bytes bytes(size, 0);
  std::memcpy(bytes.data(), &number, sizeof number);
  std::copy(name.begin(), name.end(), bytes.begin() + static_cast<std::ptrdiff_t>(nameAt));
  return bytes;
}

Bytes printer(unsigned short number, const std::string& name) {
  return record(40, number, offsetof(PrinterDevice, name), name);
}

Bytes device(unsigned short number, const std::string& name) {
  return record(700, number, offsetof(CommonDevice, name), name);
}

std::string shownAndFreed(const std::list<PrinterDevice*>& printers) {
  std::string text;
  for (PrinterDevice* const printer : printers) {
    text += std::to_string(printer->devNum) + "=" + printer->name + ";";
    std::free(printer);
  }
  return text;
}

std::string shownAndFreed(const std::list<CommonDevice*>& devices) {
  std::string text;
  for (CommonDevice* const device : devices) {
    text += std::to_string(device->devNumber) + "=" + device->name + ";";
    std::free(device);
  }
  return text;
}

}  // namespace

std::vector<RemoteOperation> deviceOperations() {
  return {
      // --- Printers ----------------------------------------------------------------------------

      RemoteOperation(
          "GetPrinterList",
          [](qx::VelProxy& proxy) { return shownAndFreed(proxy.GetPrinterList(kVm)); },
          "getPrinterList(int32 7001)")
          .answered(Reply().int32(2).bytes(printer(51, "Laser")).bytes(printer(52, "Labels")),
                    "51=Laser;52=Labels;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetPrinterList", "vmId: %s", "vmId: win11")})
          .logsAfterReply({debugLine("GetPrinterList", "vmId: %s, list size: %d",
                                     "vmId: win11, list size: 2")}),

      RemoteOperation(
          "GetPrinterStatus",
          [](qx::VelProxy& proxy) { return shownAndFreed(proxy.GetPrinterStatus(51)); },
          "getPrinterStatus(int16 51)")
          .answered(Reply().int32(1).bytes(printer(51, "Laser")), "51=Laser;")
          .failing("")
          .givenNothing("")
          .logsUnderLock({debugLine("GetPrinterStatus", "devNumber:%d", "devNumber:51")})
          .logsBeforeCall({debugLine("GetPrinterStatus", "devNumber: %d", "devNumber: 51")})
          .logsAfterReply({debugLine("GetPrinterStatus", "devNumber: %d, list size: %d",
                                     "devNumber: 51, list size: 1")}),

      RemoteOperation(
          "ConnectPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.ConnectPrinter(kVm, 51)); },
          "connectPrinter(int32 7001, int16 51)")
          .locking(Lock::kReleased)
          .logsFirst(
              {debugLine("ConnectPrinter", "vmId:%s, devNumber:%d", "vmId:win11, devNumber:51")}),

      RemoteOperation(
          "DisconnectPrinter",
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectPrinter(kVm, 51)); },
          "disconnectPrinter(int32 7001, int16 51)")
          .locking(Lock::kReleased)
          .logsFirst({debugLine("DisconnectPrinter", "vmId:%s, devNumber:%d",
                                "vmId:win11, devNumber:51")}),

      RemoteOperation(
          "ConfigPrinterCommand",
          [](qx::VelProxy& proxy) { return shown(proxy.ConfigPrinterCommand(kVm, kSourceId, 51)); },
          "ConfigPrinterCommand(int32 7001, bytes[8] 0807060504030201, int32 51)")
          .within(10000)
          .answered(Reply().int32(-1), "0")
          .logsFirst({debugLine("ConfigPrinterCommand", "enter")})
          .logsBeforeCall(
              {debugLine("ConfigPrinterCommand",
                         "ConfigPrinterCommand vmId:%s, vmid:%d, sourceId:%ld, command:%d",
                         "ConfigPrinterCommand vmId:win11, vmid:7001, sourceId:72623859790382856, "
                         "command:51")})
          .logsReply(),

      // --- Devices -----------------------------------------------------------------------------

      RemoteOperation(
          "GetDeviceList",
          [](qx::VelProxy& proxy) { return shownAndFreed(proxy.GetDeviceList(kVm)); },
          "getDeviceList(int32 7001)")
          .answered(Reply().int32(2).bytes(device(61, "Camera")).bytes(device(62, "Tablet")),
                    "61=Camera;62=Tablet;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetDeviceList", "vmId: %s", "vmId: win11")})
          .logsAfterReply(
              {debugLine("GetDeviceList", "vmId: %s, list size: %d", "vmId: win11, list size: 2")}),

      RemoteOperation(
          "GetDeviceStatus",
          [](qx::VelProxy& proxy) { return shownAndFreed(proxy.GetDeviceStatus(61)); },
          "getDeviceStatus(int16 61)")
          .answered(Reply().int32(1).bytes(device(61, "Camera")), "61=Camera;")
          .failing("")
          .givenNothing("")
          .logsBeforeCall({debugLine("GetDeviceStatus", "devNumber: %d", "devNumber: 61")})
          .logsAfterReply({debugLine("GetDeviceStatus", "devNumber: %d, list size: %d",
                                     "devNumber: 61, list size: 1"),
                           debugLine("GetDeviceStatus", "vmId:%d, devNumber:%d, status:%d, name:%s",
                                     "vmId:0, devNumber:61, status:0, name:Camera")}),

      RemoteOperation(
          "ConnectDevice", [](qx::VelProxy& proxy) { return shown(proxy.ConnectDevice(kVm, 61)); },
          "connectDevice(int32 7001, int16 61)")
          .logsFirst(
              {debugLine("ConnectDevice", "vmId:%s, devNumber: %d", "vmId:win11, devNumber: 61")}),

      RemoteOperation(
          "DisconnectDevice",
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectDevice(kVm, 61)); },
          "disconnectDevice(int32 7001, int16 61)")
          .logsFirst({debugLine("DisconnectDevice", "vmId:%s, devNumber: %d",
                                "vmId:win11, devNumber: 61")}),

      RemoteOperation(
          "ConnectDeviceBySrcId",
          [](qx::VelProxy& proxy) { return shown(proxy.ConnectDeviceBySrcId(kVm, kSourceId)); },
          "connectDeviceBySrcId(int32 7001, uint64 72623859790382856)")
          .logsFirst({debugLine("ConnectDeviceBySrcId", "vmId:%s, srcid: %lld",
                                "vmId:win11, srcid: 72623859790382856")}),

      RemoteOperation(
          "DisconnectDeviceBySrcId",
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectDeviceBySrcId(kVm, kSourceId)); },
          "disconnectDeviceBySrcId(int32 7001, uint64 72623859790382856)")
          .logsFirst({debugLine("DisconnectDeviceBySrcId", "vmId:%s,src: %lld",
                                "vmId:win11,src: 72623859790382856")}),

      RemoteOperation(
          "RedirectDevice",
          [](qx::VelProxy& proxy) { return shown(proxy.RedirectDevice(kVm, 61, 62)); },
          "redirectDevice(int32 7001, int16 61, int16 62)"),

      // --- New devices -------------------------------------------------------------------------

      RemoteOperation(
          "ConfigNewDeviceAsConnect",
          [](qx::VelProxy& proxy) {
            return shown(proxy.ConfigNewDeviceAsConnect(kVm, kSourceId, 71, 72, 73));
          },
          "configNewDeviceAsConnect(int32 7001, bytes[8] 0807060504030201, int32 71, int32 72, "
          "int32 73)")
          .within(10000)
          .logsFirst({debugLine(
              "ConfigNewDeviceAsConnect",
              "ConfigNewDeviceAsConnect: vmId=%s, sourceId=%ld, type=%d, autoConnect=%d, "
              "popupCardConfig=%d",
              "ConfigNewDeviceAsConnect: vmId=win11, sourceId=72623859790382856, type=71, "
              "autoConnect=72, popupCardConfig=73")})
          .logsAfterReply(
              {debugLine("ConfigNewDeviceAsConnect", "Response: %s", "Response: type 2 (int32 5)")})
          .logsWithoutService(
              {errorLine("ConfigNewDeviceAsConnect", "VelService is not available")})
          .logsError([](int type, const std::string& text) {
            return Lines{
                debugLine("ConfigNewDeviceAsConnect", "Response: %s",
                          "Response: " + Reply::error(text, type).debugString()),
                errorLine("ConfigNewDeviceAsConnect", "Failed to config new device as connect: %s",
                          "Failed to config new device as connect: " + text)};
          }),

      RemoteOperation(
          "ConfigNewDeviceAsIgnore",
          [](qx::VelProxy& proxy) {
            return shown(proxy.ConfigNewDeviceAsIgnore(kSourceId, 71, 72, 73));
          },
          "configNewDeviceAsIgnore(bytes[8] 0807060504030201, int32 71, int32 72, int32 73)")
          .within(2000)
          .logsFirst(
              {debugLine("ConfigNewDeviceAsIgnore",
                         "ConfigNewDeviceAsIgnore: sourceId=%ld, deviceType=%d, autoConnect=%d, "
                         "popupCardConfig=%d",
                         "ConfigNewDeviceAsIgnore: sourceId=72623859790382856, deviceType=71, "
                         "autoConnect=72, popupCardConfig=73")})
          .logsWithoutService({errorLine("ConfigNewDeviceAsIgnore", "VelService is not available")})
          .logsError([](int, const std::string& text) {
            return Lines{errorLine("ConfigNewDeviceAsIgnore",
                                   "Failed to config new device as ignore: %s",
                                   "Failed to config new device as ignore: " + text)};
          }),

      RemoteOperation(
          "ConfigUdisks2Command",
          [](qx::VelProxy& proxy) { return shown(proxy.ConfigUdisks2Command(kVm, kSourceId, 71)); },
          "ConfigUdisks2Command(int32 7001, bytes[8] 0807060504030201, int32 71)")
          .within(10000)
          .logsFirst({debugLine("ConfigUdisks2Command", "enter")})
          .logsBeforeCall(
              {debugLine("ConfigUdisks2Command",
                         "ConfigUdisks2Command vmId:%s, vmid:%d, sourceId:%ld, command:%d",
                         "ConfigUdisks2Command vmId:win11, vmid:7001, sourceId:72623859790382856, "
                         "command:71")})
          .logsReply(),
  };
}
