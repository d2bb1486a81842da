// Devices. GetLocalDeviceList has no row, because it calls GetDeviceList: see devices_test.cpp.

#include "tests/library/rows/rows.h"

#include <cstddef>
#include <cstdlib>
#include <list>
#include <string>

using scripted::Bytes;
using scripted::debugLine;
using scripted::Reply;

namespace {

Bytes device(unsigned short number, const std::string& name) {
  return recordOf(700, number, offsetof(CommonDevice, name), name);
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

std::vector<RemoteOperation> deviceRows() {
  return {
      RemoteOperation(
          SLOT(28, std::list<CommonDevice*>, GetDeviceList, (std::string)),
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
          SLOT(29, std::list<CommonDevice*>, GetDeviceStatus, (unsigned short)),
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
          SLOT(31, int, ConnectDevice, (std::string, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.ConnectDevice(kVm, 61)); },
          "connectDevice(int32 7001, int16 61)")
          .logsFirst(
              {debugLine("ConnectDevice", "vmId:%s, devNumber: %d", "vmId:win11, devNumber: 61")}),

      RemoteOperation(
          SLOT(32, int, DisconnectDevice, (std::string, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectDevice(kVm, 61)); },
          "disconnectDevice(int32 7001, int16 61)")
          .logsFirst({debugLine("DisconnectDevice", "vmId:%s, devNumber: %d",
                                "vmId:win11, devNumber: 61")}),

      RemoteOperation(
          SLOT(56, int, ConnectDeviceBySrcId, (std::string, unsigned long long)),
          [](qx::VelProxy& proxy) { return shown(proxy.ConnectDeviceBySrcId(kVm, kSourceId)); },
          "connectDeviceBySrcId(int32 7001, uint64 72623859790382856)")
          .logsFirst({debugLine("ConnectDeviceBySrcId", "vmId:%s, srcid: %lld",
                                "vmId:win11, srcid: 72623859790382856")}),

      RemoteOperation(
          SLOT(57, int, DisconnectDeviceBySrcId, (std::string, unsigned long long)),
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectDeviceBySrcId(kVm, kSourceId)); },
          "disconnectDeviceBySrcId(int32 7001, uint64 72623859790382856)")
          .logsFirst({debugLine("DisconnectDeviceBySrcId", "vmId:%s,src: %lld",
                                "vmId:win11,src: 72623859790382856")}),

      RemoteOperation(
          SLOT(53, int, RedirectDevice, (std::string, unsigned short, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.RedirectDevice(kVm, 61, 62)); },
          "redirectDevice(int32 7001, int16 61, int16 62)"),
  };
}
