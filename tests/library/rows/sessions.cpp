// VM sessions.

#include "tests/library/rows/rows.h"

#include <list>
#include <string>

using scripted::debugLine;
using scripted::errorLine;

namespace {

VmInfo vmInfo() {
  VmInfo info;
  info.vmId = kVm;
  info.systemType = 11;
  info.shareMode = -12;
  info.connectParam = 13;
  info.sessionId = 0xFFFFFF0E;
  info.kstMajorVer = 15;
  info.kstMinorVer = 16;
  info.kstStreamCollaborateType = 17;
  return info;
}

constexpr char kVmInfoFormat[] =
    "vmId:%s, systemType:%d, shareMode:%d, sessionId:%u, kstMajorVer:%u, kstMinorVer:%u "
    "kstStreamCollaborateType:%u";
constexpr char kVmInfoMessage[] =
    "vmId:win11, systemType:11, shareMode:-12, sessionId:4294967054, kstMajorVer:15, "
    "kstMinorVer:16 kstStreamCollaborateType:17";

// Without a name of a VM, so that no number is asked for.
std::list<_CHANNEL_HANDLE> twoPipes() {
  return std::list<_CHANNEL_HANDLE>(2);
}

}  // namespace

std::vector<RemoteOperation> sessionRows() {
  return {
      RemoteOperation(
          SLOT(7, unsigned int, ConnectVm, (VmInfo)),
          [](qx::VelProxy& proxy) { return shown(proxy.ConnectVm(vmInfo())); },
          "connectVm(int32 7001, int32 11, int32 -12, int32 13)")
          .within(2000)
          .logsFirst({debugLine("ConnectVm", kVmInfoFormat, kVmInfoMessage)})
          .logsBeforeCall({debugLine("ConnectVm", "ConnectVM vmId:%s, vmid:%d",
                                     "ConnectVM vmId:win11, vmid:7001")})
          .logsReply(),

      RemoteOperation(
          SLOT(8, unsigned int, DisconnectVm, (std::string)),
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectVm(kVm)); },
          "disconnectVm(int32 7001)")
          .sentOnly(),

      RemoteOperation(
          SLOT(13, unsigned int, StartVm, (std::string)),
          [](qx::VelProxy& proxy) { return shown(proxy.StartVm(kVm)); }, "startManager(int32 7001)")
          .sentOnly()
          .logsFirst({debugLine("StartVm", "vmId: %s ", "vmId: win11 "),
                      debugLine("StartVm", "call startmanager")}),

      RemoteOperation(
          SLOT(9, unsigned int, CreatePipe, (std::string, std::list<_CHANNEL_HANDLE>)),
          [](qx::VelProxy& proxy) { return shown(proxy.CreatePipe(kVm, {})); },
          "createPipe(int32 7001, int32 0)")
          .also([](qx::VelProxy& proxy) { return shown(proxy.CreatePipe(kVm, twoPipes())); })
          .logsBeforeCall({debugLine("CreatePipe", "vmId: %s, list size: %ld id:%d",
                                     "vmId: win11, list size: 0 id:7001")})
          .logsReply()
          .logsAfterReply({errorLine("CreatePipe", "ret = %d", "ret = 5")}),

      RemoteOperation(
          SLOT(10, unsigned int, DestroyPipe, (std::string, std::list<_CHANNEL_HANDLE>)),
          [](qx::VelProxy& proxy) { return shown(proxy.DestroyPipe(kVm, {})); },
          "destroyPipe(int32 7001, int32 0)")
          .also([](qx::VelProxy& proxy) { return shown(proxy.DestroyPipe(kVm, twoPipes())); })
          .logsFirst(
              {debugLine("DestroyPipe", "vmId: %s, list size: %ld", "vmId: win11, list size: 0")})
          .logsAfterReply({errorLine("DestroyPipe", "ret = %d", "ret = 5")}),

      RemoteOperation(
          SLOT(17, unsigned int, SetPortChannelStatus, (std::string, unsigned int, int)),
          [](qx::VelProxy& proxy) { return shown(proxy.SetPortChannelStatus(kVm, 31, -32)); },
          "setPortChannelStatus(int32 7001, int32 31, int32 -32)")
          .logsFirst({debugLine("SetPortChannelStatus", "vmId:%s, port:%d, status:%d",
                                "vmId:win11, port:31, status:-32")})
          .logsAfterReply({debugLine("SetPortChannelStatus", "ret: %d", "ret: 5")}),

      RemoteOperation(
          SLOT(38, unsigned int, OnFocusChanged, (std::string, unsigned long long, unsigned int)),
          [](qx::VelProxy& proxy) { return shown(proxy.OnFocusChanged(kVm, 0x123456789A, 42)); },
          "onFocusChanged(int32 7001, int32 42, uint64 78187493530)")
          .within(500)
          .logsFirst({debugLine("OnFocusChanged", "vmId:%s, gainFocus:%d windowId:%lld",
                                "vmId:win11, gainFocus:42 windowId:78187493530")})
          .logsAfterReply({debugLine("OnFocusChanged", "ret: %d", "ret: 5")}),

      RemoteOperation(
          SLOT(39, unsigned int, UpdateDriveToken, (std::string)),
          [](qx::VelProxy& proxy) { return shown(proxy.UpdateDriveToken("AbZ9")); },
          "updateDriveToken(bytes[4] 41625a39)")
          .logsFirst({debugLine("UpdateDriveToken", "token:%s", "token:AbZ9")})
          .refusing("EmptyToken",
                    [](qx::VelProxy& proxy) { return shown(proxy.UpdateDriveToken("")); }, "-1",
                    {debugLine("UpdateDriveToken", "token:%s", "token:"),
                     errorLine("UpdateDriveToken", "token is NULL")}),
  };
}
