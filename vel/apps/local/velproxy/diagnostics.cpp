// Service commands, diagnoses and stream quality.

#include <cstdio>
#include <cstring>

#include "vel/apps/local/velproxy/internal/client_code.h"
#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

constexpr char kNoDiagnosis[] = "{\"velservice\":4097}";
// Only quality reports of this type have a figure.
constexpr unsigned int kTypeWithFigure = 1;

struct VmToDiagnose {
  unsigned int number;  // 0: the VM has none, and the log says so
  // One attempt to connect per operation: kNo when the look-up of the number has made it.
  Reconnect reconnect;
};

VmToDiagnose vmToDiagnose(VelProxy& proxy, const char* method, const std::string& vmId,
                          const char* function = __builtin_FUNCTION()) {
  ErrorReport report(method);
  const unsigned int before = attemptsToConnect();
  const unsigned int number = report.numberOf(proxy, vmId);
  if (number == 0) {
    VEL_ERROR_AT(function, __LINE__, "no desktop connected");
    report.refuse("the name of the VM is empty");
  }
  return {number, attemptsToConnect() == before ? Reconnect::kYes : Reconnect::kNo};
}

}  // namespace

int VelProxy::DoVelTest(std::string vmId, unsigned int flag) {
  RemoteCall call(*this);
  VEL_DEBUG("vmId:%s, flag: %ld", vmId.c_str(), static_cast<long>(flag));
  // The service expects 0 in place of the number of a VM.
  return call.method("doveltest").int32(0).int16(static_cast<unsigned short>(flag)).status();
}

int VelProxy::DoVelCmd(std::string vmId, std::string args, int cmdId) {
  RemoteCall call(*this);
  VEL_DEBUG("vmId:%s, args: %s", vmId.c_str(), args.c_str());
  std::printf("vmId:%s, args: %s \n", vmId.c_str(), args.c_str());
  if (!call.method("dovelcmd")) {
    return RemoteCall::kNoAnswer;
  }
  const std::optional<int> result = call.vm(vmId).string(args).int32(cmdId).answer();
  if (!result) {
    const CmdRegistration registered = cmdRegistration();
    if (registered.callback) {
      VEL_DEBUG("do cmd response callback this[%p]", static_cast<void*>(this));
      withoutExceptions([&] {
        registered.callback(static_cast<unsigned short>(cmdId), nullptr, registered.userData);
      });
    }
  }
  return result.value_or(RemoteCall::kNoAnswer);
}

std::string VelProxy::GetVelCmdHelp(std::string vmId) {
  RemoteCall call(*this);
  VEL_DEBUG("vmId:%s", vmId.c_str());
  std::string help = "vm id [\n";
  if (const std::optional<std::string> text = call.method("getvelcmdhelp").vm(vmId).text()) {
    help += *text + "]\n";
  }
  return help;
}

std::string VelProxy::Diagnose(const std::string& vmId, unsigned long long sourceId,
                               VelDiagnoseNotify* notify) {
  static constexpr char kMethod[] = "diagnose";
  diagnoseNotify_.store(notify);
  if (!notify) {
    ErrorReport(kMethod).refuse("there is no object to notify");
    return kNoDiagnosis;
  }
  VEL_DEBUG("diagnose: vmid[%s] sourceId:%lld", vmId.c_str(), static_cast<long long>(sourceId));
  const VmToDiagnose vm = vmToDiagnose(*this, kMethod, vmId);
  if (vm.number == 0) {
    return kNoDiagnosis;
  }
  UnlockedCall call(*this, vm.reconnect);
  const std::optional<std::string> result =
      call.method(kMethod, RemoteCall::kSlowTimeoutMs).int32(vm.number).eightBytes(sourceId).text();
  if (result) {
    VEL_DEBUG("diagnose result[%s]", result->c_str());
  }
  return result.value_or(kNoDiagnosis);
}

std::string VelProxy::DiagnoseDevice(const std::string& vmId, unsigned short devNumber,
                                     VelDiagnoseNotify* notify) {
  static constexpr char kMethod[] = "diagnoseDevice";
  diagnoseNotify_.store(notify);
  if (!notify) {
    ErrorReport(kMethod).refuse("there is no object to notify");
    return kNoDiagnosis;
  }
  VEL_DEBUG("DiagnoseDevice: vmid[%s] devNumber:%d", vmId.c_str(), devNumber);
  const VmToDiagnose vm = vmToDiagnose(*this, kMethod, vmId);
  if (vm.number == 0) {
    return kNoDiagnosis;
  }
  RemoteCall call(*this, vm.reconnect);
  const std::optional<std::string> result = call.method(kMethod, RemoteCall::kSlowTimeoutMs)
                                                .int32(vm.number)
                                                .int32(int{devNumber})
                                                .text();
  if (result) {
    VEL_DEBUG("DiagnoseDevice result[%s]", result->c_str());
  }
  return result.value_or(kNoDiagnosis);
}

int VelProxy::CheckCameraAuthStat() {
  RemoteCall call(*this);
  const std::optional<int> result = call.method("CheckCameraAuthStat").answer();
  if (result) {
    VEL_DEBUG("CheckCameraAuthStat result: %d", *result);
  }
  return result.value_or(RemoteCall::kNoAnswer);
}

void VelProxy::SetBwInfo(const std::string& vmId, unsigned long long first,
                         unsigned long long second) {
  UnlockedCall(*this).method("setBwInfo").vm(vmId).uint64(first).uint64(second).sendOnly();
}

void VelProxy::SetRtcQosInfo(const std::string& vmId, unsigned int type, void* data) {
  UnlockedCall call(*this, [&vmId, function = __func__] {
    VEL_DEBUG_AT(function, __LINE__, "vmId:%s", vmId.c_str());
  });
  call.method("setRtcQosInfo").vm(vmId).uint64(type);
  if (type == kTypeWithFigure && data) {
    unsigned int figure = 0;
    std::memcpy(&figure, data, sizeof figure);
    call.uint64(figure);
  }
  call.sendOnly();
}

}  // namespace qx
