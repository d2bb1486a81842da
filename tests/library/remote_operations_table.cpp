#include "tests/library/remote_operations.h"

#include <cstdint>
#include <ostream>

using scripted::debugLine;
using scripted::errorLine;
using scripted::Reply;
using Lock = RemoteOperation::Lock;

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

}  // namespace

// The rows of remote_operations_devices.cpp.
std::vector<RemoteOperation> deviceOperations();
// The rows of remote_operations_rest.cpp.
std::vector<RemoteOperation> remainingOperations();

std::vector<RemoteOperation> remoteOperations() {
  std::vector<RemoteOperation> operations = {
      // --- Connection --------------------------------------------------------------------------

      RemoteOperation(
          "ResetService", [](qx::VelProxy& proxy) { return shown(proxy.ResetService()); },
          "resetService()")
          .logsFirst({debugLine("ResetService", "enter")})
          .answered(Reply().int32(-77), "0"),

      // --- VM ids ------------------------------------------------------------------------------

      RemoteOperation(
          "GetVmIdInt", [](qx::VelProxy& proxy) { return shown(proxy.GetVmIdInt("linux9")); },
          "getVmListSize(string \"linux9\")")
          .locking(Lock::kNone)
          .failing("0")
          .logsAfterReply({debugLine("GetVmIdInt", "vmid[%s]~ maped to id[%d] from hulservice",
                                     "vmid[linux9]~ maped to id[5] from hulservice")})
          .logsWithoutService({})
          .logsError([](int, const std::string&) { return RemoteOperation::Lines(); }),

      RemoteOperation(
          "GetVmList", [](qx::VelProxy& proxy) { return shown(proxy.GetVmList()); },
          "getVmList(int32 0)")
          .answered(Reply().int32(2).string("win11").int32(21).string("linux9").int32(22),
                    "linux9=22 win11=21")
          .failing("")
          .givenNothing("")
          .logsAfterReply(
              {debugLine("GetVmList", "vm list size: %d", "vm list size: 2"),
               debugLine("GetVmList", "vmid[%s]~ maped to id[%d]", "vmid[win11]~ maped to id[21]"),
               debugLine("GetVmList", "vmid[%s]~ maped to id[%d]",
                         "vmid[linux9]~ maped to id[22]")}),

      // --- VM sessions -------------------------------------------------------------------------

      RemoteOperation(
          "ConnectVm", [](qx::VelProxy& proxy) { return shown(proxy.ConnectVm(vmInfo())); },
          "connectVm(int32 7001, int32 11, int32 -12, int32 13)")
          .within(2000)
          .logsFirst({debugLine("ConnectVm", kVmInfoFormat, kVmInfoMessage)})
          .logsBeforeCall({debugLine("ConnectVm", "ConnectVM vmId:%s, vmid:%d",
                                     "ConnectVM vmId:win11, vmid:7001")})
          .logsReply(),

      RemoteOperation(
          "DisconnectVm", [](qx::VelProxy& proxy) { return shown(proxy.DisconnectVm(kVm)); },
          "disconnectVm(int32 7001)")
          .sentOnly(),

      RemoteOperation(
          "StartVm", [](qx::VelProxy& proxy) { return shown(proxy.StartVm(kVm)); },
          "startManager(int32 7001)")
          .sentOnly()
          .logsFirst({debugLine("StartVm", "vmId: %s ", "vmId: win11 "),
                      debugLine("StartVm", "call startmanager")}),

      RemoteOperation(
          "CreatePipe", [](qx::VelProxy& proxy) { return shown(proxy.CreatePipe(kVm, {})); },
          "createPipe(int32 7001, int32 0)")
          .logsBeforeCall({debugLine("CreatePipe", "vmId: %s, list size: %ld id:%d",
                                     "vmId: win11, list size: 0 id:7001")})
          .logsReply()
          .logsAfterReply({errorLine("CreatePipe", "ret = %d", "ret = 5")}),

      RemoteOperation(
          "DestroyPipe", [](qx::VelProxy& proxy) { return shown(proxy.DestroyPipe(kVm, {})); },
          "destroyPipe(int32 7001, int32 0)")
          .logsFirst(
              {debugLine("DestroyPipe", "vmId: %s, list size: %ld", "vmId: win11, list size: 0")})
          .logsAfterReply({errorLine("DestroyPipe", "ret = %d", "ret = 5")}),

      RemoteOperation(
          "SetPortChannelStatus",
          [](qx::VelProxy& proxy) { return shown(proxy.SetPortChannelStatus(kVm, 31, -32)); },
          "setPortChannelStatus(int32 7001, int32 31, int32 -32)")
          .logsFirst({debugLine("SetPortChannelStatus", "vmId:%s, port:%d, status:%d",
                                "vmId:win11, port:31, status:-32")})
          .logsAfterReply({debugLine("SetPortChannelStatus", "ret: %d", "ret: 5")}),

      RemoteOperation(
          "OnFocusChanged",
          [](qx::VelProxy& proxy) { return shown(proxy.OnFocusChanged(kVm, 0x123456789A, 42)); },
          "onFocusChanged(int32 7001, int32 42, uint64 78187493530)")
          .within(500)
          .logsFirst({debugLine("OnFocusChanged", "vmId:%s, gainFocus:%d windowId:%lld",
                                "vmId:win11, gainFocus:42 windowId:78187493530")})
          .logsAfterReply({debugLine("OnFocusChanged", "ret: %d", "ret: 5")}),

      RemoteOperation(
          "UpdateDriveToken",
          [](qx::VelProxy& proxy) { return shown(proxy.UpdateDriveToken("AbZ9")); },
          "updateDriveToken(bytes[4] 41625a39)")
          .logsFirst({debugLine("UpdateDriveToken", "token:%s", "token:AbZ9")})
          .refusing("EmptyToken",
                    [](qx::VelProxy& proxy) { return shown(proxy.UpdateDriveToken("")); }, "-1",
                    {debugLine("UpdateDriveToken", "token:%s", "token:"),
                     errorLine("UpdateDriveToken", "token is NULL")}),
  };
  for (const auto& rows : {deviceOperations(), remainingOperations()}) {
    operations.insert(operations.end(), rows.begin(), rows.end());
  }
  return operations;
}

// ------------------------------------------------------------------------------------------------

std::string shown(int status) {
  return std::to_string(status);
}

std::string shown(unsigned int status) {
  return shown(static_cast<int>(status));
}

std::string shown(const std::string& text) {
  return text;
}

std::string shown(const std::map<std::string, unsigned int>& numbers) {
  std::string text;
  for (const auto& [name, number] : numbers) {
    text += (text.empty() ? "" : " ") + name + "=" + std::to_string(number);
  }
  return text;
}

void PrintTo(const RemoteOperation& operation, std::ostream* out) {
  *out << operation.testName();
}

RemoteOperation& RemoteOperation::sentOnly(std::optional<Lines> completion) {
  waits_ = false;
  timeoutMs_ = -1;
  passesStatusOn_ = false;
  result_ = "0";
  afterError_ = "0";
  completion_ = completion.value_or(Lines{debugLine("operator()", "ret: %d", "ret: 5")});
  return *this;
}

std::string RemoteOperation::requestForVm(unsigned int number) const {
  std::string request = request_;
  const std::size_t at = request.find(kVmArgument);
  if (at != std::string::npos) {
    request.replace(at, sizeof kVmArgument - 1,
                    "int32 " + std::to_string(static_cast<int>(number)));
  }
  return request;
}

RemoteOperation RemoteOperation::sentBy(const qx::VelProxy& proxy) const {
  const auto address = reinterpret_cast<std::uintptr_t>(&proxy);
  const std::string bytes = scripted::show(scripted::bytesOf(&address, sizeof address));
  const std::map<std::string, std::string> meanings = {
      {kProxyBytes, bytes.substr(bytes.find(' ') + 1)},
      {kProxyNumber, std::to_string(static_cast<long>(address))},
  };
  const auto fill = [&meanings](std::string& text) {
    for (const auto& [placeholder, meaning] : meanings) {
      const std::size_t at = text.find(placeholder);
      if (at != std::string::npos) {
        text.replace(at, placeholder.size(), meaning);
      }
    }
  };
  RemoteOperation row = *this;
  fill(row.request_);
  for (std::string& line : row.beforeCall_) {
    fill(line);
  }
  return row;
}

RemoteOperation::Lines RemoteOperation::replyLine(const Reply& reply) const {
  return logsReply_ ? Lines{debugLine(name_, "reply: %s", "reply: " + reply.debugString())}
                    : Lines();
}

RemoteOperation::Lines RemoteOperation::withoutServiceLines() const {
  return withoutServiceLines_.value_or(
      Lines{errorLine(name_, "wait velserviced restart when it death")});
}

RemoteOperation::Lines RemoteOperation::errorLines(int type, const std::string& text) const {
  if (errorLines_) {
    return errorLines_(type, text);
  }
  return waits_ ? Lines{errorLine(name_, "reply type: %d(%s)",
                                  "reply type: " + std::to_string(type) + "(" + text + ")")}
                : Lines();
}
