// Policies and properties of devices, by type or by USB vendor and product id. They belong to this
// machine and not to a VM, so each request begins with 0 in place of the number of a VM.

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

constexpr int kNoVm = 0;
// The failure value of some operations, the same as that of a service which answers 0.
constexpr int kFailsWithZero = 0;

// The service expects the product id also in place of the device type.
int propertyOf(Request& call, const char* method, unsigned short vid, unsigned short pid) {
  call.method(method).int32(kNoVm).int16(vid).int16(pid).int32(int{pid});
  return call.status(kFailsWithZero);
}

}  // namespace

int VelProxy::SetDeviceLocalPolicy(CommonDevice* device) {
  static constexpr char kMethod[] = "setLocalPolicy";
  if (!device) {
    ErrorReport(kMethod).refuse("the device is null");
    return RemoteCall::kNoAnswer;
  }
  return RemoteCall(*this)
      .method(kMethod)
      .int16(device->devNumber)
      .int16(static_cast<unsigned short>(device->policy))
      .bytes(textIn(device->name))
      .bytes(textIn(device->policyText))
      .status();
}

int VelProxy::SetAutoConnect(unsigned short deviceType, int autoConnect) {
  return RemoteCall(*this)
      .method("setAutoConnect")
      .int32(kNoVm)
      .int16(deviceType)
      .int16(static_cast<unsigned short>(autoConnect))
      .status();
}

int VelProxy::GetAutoConnect(unsigned short deviceType) {
  return RemoteCall(*this)
      .method("getAutoConnect")
      .int32(kNoVm)
      .int16(deviceType)
      .status(kFailsWithZero);
}

int VelProxy::SetDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                          unsigned short deviceType, int value) {
  return RemoteCall(*this)
      .method("setDevicePropertyWithVidPid")
      .int32(kNoVm)
      .int16(vid)
      .int16(pid)
      .int32(int{deviceType})
      .int32(value)
      .status();
}

int VelProxy::GetDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                          unsigned short /*deviceType*/) {
  RemoteCall call(*this);
  return propertyOf(call, "getDevicePropertyWithVidPid", vid, pid);
}

int VelProxy::GetLocalDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                               unsigned short /*deviceType*/) {
  RemoteCall call(*this);
  return propertyOf(call, "getLocalDevicePropertyWithVidPid", vid, pid);
}

std::list<CommonVidPidPolicy*> VelProxy::GetPolicyListByVidPid() {
  VEL_DEBUG("");
  RemoteCall call(*this);
  const BlockList policies = call.method("getPolicyListByVidPid").int32(kNoVm).blocks();
  if (policies) {
    VEL_DEBUG("list size: %d", policies.count());
  }
  return policies.copies<CommonVidPidPolicy>(BlockList::EmptyBlock::kDebug);
}

int VelProxy::FreePolicyList(std::list<CommonVidPidPolicy*> list) {
  const ErrorReport report;
  freeEach(list);
  return 0;
}

std::string VelProxy::GetTurboConfigWithVidPid(unsigned short vid, unsigned short pid) {
  return RemoteCall(*this)
      .method("getTurboConfigWithVidPid")
      .int32(kNoVm)
      .int16(vid)
      .int16(pid)
      .text()
      .value_or("");
}

int VelProxy::SetTurboConfigWithVidPid(unsigned short vid, unsigned short pid,
                                       const std::string& config) {
  return RemoteCall(*this)
      .method("setTurboConfigWithVidPid")
      .int32(kNoVm)
      .int16(vid)
      .int16(pid)
      .bytes(config)
      .status(kFailsWithZero);
}

int VelProxy::ResetAllDeviceProperty() {
  return RemoteCall(*this).method("resetAllDeviceProperty").int32(kNoVm).status(kFailsWithZero);
}

}  // namespace qx
