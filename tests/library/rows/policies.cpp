// Policies and properties.

#include "tests/library/rows/rows.h"

#include <cstring>
#include <list>
#include <string>

using scripted::debugLine;

namespace {

CommonDevice policyDevice() {
  CommonDevice device = {};
  device.devNumber = 65401;
  device.policy = -402;
  std::strcpy(device.name, "cam");
  std::strcpy(device.policyText, "ask");
  return device;
}

}  // namespace

std::vector<RemoteOperation> policyRows() {
  return {
      RemoteOperation(
          SLOT(48, int, SetDeviceLocalPolicy, (CommonDevice*)),
          [](qx::VelProxy& proxy) {
            CommonDevice device = policyDevice();
            return shown(proxy.SetDeviceLocalPolicy(&device));
          },
          "setLocalPolicy(int16 -135, int16 -402, bytes[3] 63616d, bytes[3] 61736b)"),

      RemoteOperation(
          SLOT(54, int, SetAutoConnect, (unsigned short, int)),
          [](qx::VelProxy& proxy) { return shown(proxy.SetAutoConnect(65531, 0x7FFF8001)); },
          "setAutoConnect(int32 0, int16 -5, int16 -32767)"),

      RemoteOperation(
          SLOT(55, int, GetAutoConnect, (unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.GetAutoConnect(65532)); },
          "getAutoConnect(int32 0, int16 -4)")
          .failing("0"),

      RemoteOperation(
          SLOT(66, int, SetDevicePropertyWithVidPid,
               (unsigned short, unsigned short, unsigned short, int)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.SetDevicePropertyWithVidPid(0xFEDC, 0xBA98, 65511, -40001));
          },
          "setDevicePropertyWithVidPid(int32 0, int16 -292, int16 -17768, int32 65511, "
          "int32 -40001)"),

      RemoteOperation(
          SLOT(67, int, GetDevicePropertyWithVidPid,
               (unsigned short, unsigned short, unsigned short)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.GetDevicePropertyWithVidPid(0xFEDC, 0xBA98, 3));
          },
          "getDevicePropertyWithVidPid(int32 0, int16 -292, int16 -17768, int32 47768)")
          .failing("0"),

      RemoteOperation(
          SLOT(68, int, GetLocalDevicePropertyWithVidPid,
               (unsigned short, unsigned short, unsigned short)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.GetLocalDevicePropertyWithVidPid(0xFEDC, 0xBA98, 3));
          },
          "getLocalDevicePropertyWithVidPid(int32 0, int16 -292, int16 -17768, int32 47768)")
          .failing("0"),

      RemoteOperation(
          SLOT(69, std::list<CommonVidPidPolicy*>, GetPolicyListByVidPid, ()),
          [](qx::VelProxy& proxy) { return shownRecordsAndFreed(proxy.GetPolicyListByVidPid()); },
          "getPolicyListByVidPid(int32 0)")
          .answered(twoRecords(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetPolicyListByVidPid", "")})
          .logsAfterReply({debugLine("GetPolicyListByVidPid", "list size: %d", "list size: 2")}),

      RemoteOperation(
          SLOT(71, std::string, GetTurboConfigWithVidPid, (unsigned short, unsigned short)),
          [](qx::VelProxy& proxy) { return proxy.GetTurboConfigWithVidPid(0xFEDC, 0x1234); },
          "getTurboConfigWithVidPid(int32 0, int16 -292, int16 4660)")
          .answered(textAndMore("fast=1"), "fast=1")
          .failing("")
          .givenNothing(""),

      RemoteOperation(
          SLOT(72, int, SetTurboConfigWithVidPid,
               (unsigned short, unsigned short, const std::string&)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.SetTurboConfigWithVidPid(0xFEDC, 0x1234, "fast"));
          },
          "setTurboConfigWithVidPid(int32 0, int16 -292, int16 4660, bytes[4] 66617374)")
          .failing("0"),

      RemoteOperation(
          SLOT(73, int, ResetAllDeviceProperty, ()),
          [](qx::VelProxy& proxy) { return shown(proxy.ResetAllDeviceProperty()); },
          "resetAllDeviceProperty(int32 0)")
          .failing("0"),
  };
}
