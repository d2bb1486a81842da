// Attaching VM sessions, their pipes and channels, window focus and drive tokens.

#include <array>

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace qx {
namespace {

using velprotocol::write;
namespace pipe = velprotocol::pipe;

constexpr int kConnectTimeoutMs = 2000;
// Short, because each change of focus waits for it.
constexpr int kFocusTimeoutMs = 500;

void appendPipes(Request& call, const std::list<_CHANNEL_HANDLE>& pipes) {
  call.int32(static_cast<int>(pipes.size()));
  for (const _CHANNEL_HANDLE& pipe : pipes) {
    const unsigned int vm = call.numberOf(pipe.vmId);
    std::array<unsigned char, pipe::kLayout.size()> block = {};
    write(block, pipe::kVm, vm);
    write(block, pipe::kHandle, pipe.handle);
    write(block, pipe::kName1, textIn(pipe.name1));
    write(block, pipe::kName2, textIn(pipe.name2));
    call.bytes(block.data(), block.size());
  }
}

}  // namespace

unsigned int VelProxy::ConnectVm(VmInfo info) {
  VEL_DEBUG(
      "vmId:%s, systemType:%d, shareMode:%d, sessionId:%u, kstMajorVer:%u, kstMinorVer:%u "
      "kstStreamCollaborateType:%u",
      info.vmId.c_str(), info.systemType, info.shareMode, info.sessionId, info.kstMajorVer,
      info.kstMinorVer, info.kstStreamCollaborateType);
  static constexpr char kMethod[] = "connectVm";
  RemoteCall call(*this);
  if (call.connected(kMethod) &&
      info.kstStreamCollaborateType == VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR) {
    VEL_DEBUG("don't ConnectVm when VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR");
    call.report().refuse("a collaborator does not attach the session");
    return RemoteCall::kNoAnswerUnsigned;
  }
  if (!call.method(kMethod, kConnectTimeoutMs)) {
    return RemoteCall::kNoAnswerUnsigned;
  }
  const unsigned int vm = call.numberOf(info.vmId);
  VEL_DEBUG("ConnectVM vmId:%s, vmid:%d", info.vmId.c_str(), vm);
  call.int32(vm).int32(info.systemType).int32(info.shareMode).int32(info.connectParam);
  return static_cast<unsigned int>(call.loggingReply().status());
}

unsigned int VelProxy::DisconnectVm(std::string vmId) {
  return static_cast<unsigned int>(RemoteCall(*this).method("disconnectVm").vm(vmId).sendOnly());
}

unsigned int VelProxy::StartVm(std::string vmId) {
  VEL_DEBUG("vmId: %s ", vmId.c_str());
  VEL_DEBUG("call startmanager");
  return static_cast<unsigned int>(RemoteCall(*this).method("startManager").vm(vmId).sendOnly());
}

unsigned int VelProxy::CreatePipe(std::string vmId, std::list<_CHANNEL_HANDLE> handles) {
  RemoteCall call(*this);
  if (!call.method("createPipe")) {
    return RemoteCall::kNoAnswerUnsigned;
  }
  const unsigned int vm = call.numberOf(vmId);
  VEL_DEBUG("vmId: %s, list size: %ld id:%d", vmId.c_str(), static_cast<long>(handles.size()), vm);
  appendPipes(call.int32(vm), handles);
  const std::optional<int> result = call.loggingReply().answer();
  if (result.value_or(0) != 0) {
    VEL_ERROR("ret = %d", *result);
  }
  return static_cast<unsigned int>(result.value_or(RemoteCall::kNoAnswer));
}

unsigned int VelProxy::DestroyPipe(std::string vmId, std::list<_CHANNEL_HANDLE> handles) {
  VEL_DEBUG("vmId: %s, list size: %ld", vmId.c_str(), static_cast<long>(handles.size()));
  RemoteCall call(*this);
  appendPipes(call.method("destroyPipe").vm(vmId), handles);
  const std::optional<int> result = call.answer();
  if (result.value_or(0) != 0) {
    VEL_ERROR("ret = %d", *result);
  }
  return static_cast<unsigned int>(result.value_or(RemoteCall::kNoAnswer));
}

unsigned int VelProxy::SetPortChannelStatus(std::string vmId, unsigned int port, int status) {
  VEL_DEBUG("vmId:%s, port:%d, status:%d", vmId.c_str(), port, status);
  RemoteCall call(*this);
  const std::optional<int> result =
      call.method("setPortChannelStatus").vm(vmId).int32(port).int32(status).answer();
  if (result) {
    VEL_DEBUG("ret: %d", *result);
  }
  return static_cast<unsigned int>(result.value_or(RemoteCall::kNoAnswer));
}

unsigned int VelProxy::OnFocusChanged(std::string vmId, unsigned long long windowId,
                                      unsigned int gainFocus) {
  VEL_DEBUG("vmId:%s, gainFocus:%d windowId:%lld", vmId.c_str(), gainFocus,
            static_cast<long long>(windowId));
  RemoteCall call(*this);
  const std::optional<int> result = call.method("onFocusChanged", kFocusTimeoutMs)
                                        .vm(vmId)
                                        .int32(gainFocus)
                                        .uint64(windowId)
                                        .answer();
  if (result) {
    VEL_DEBUG("ret: %d", *result);
  }
  return static_cast<unsigned int>(result.value_or(RemoteCall::kNoAnswer));
}

unsigned int VelProxy::UpdateDriveToken(std::string token) {
  static constexpr char kMethod[] = "updateDriveToken";
  VEL_DEBUG("token:%s", token.c_str());
  if (token.empty()) {
    VEL_ERROR("token is NULL");
    ErrorReport(kMethod).refuse("the token is empty");
    return RemoteCall::kNoAnswerUnsigned;
  }
  return static_cast<unsigned int>(RemoteCall(*this).method(kMethod).bytes(token).status());
}

}  // namespace qx
