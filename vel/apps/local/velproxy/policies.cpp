// How the service treats devices in general: policies and properties, by type or by USB vendor and
// product id. They belong to this machine, so each request begins with the number of no VM.

#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

constexpr int kNoVm = 0;
// Where an operation fails with this, its caller cannot tell.
constexpr int kFailsWithZero = 0;

}  // namespace

int VelProxy::SetDeviceLocalPolicy(CommonDevice* device) {
  if (!device) {
    return RemoteCall::kNoAnswer;
  }
  return RemoteCall(*this)
      .method("setLocalPolicy")
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
  RemoteCall call(*this);
  return call.method("getAutoConnect").int32(kNoVm).int16(deviceType).status(kFailsWithZero);
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

// The service relies on the product id in the place of the device type.
int VelProxy::GetDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                          unsigned short /*deviceType*/) {
  return RemoteCall(*this)
      .method("getDevicePropertyWithVidPid")
      .int32(kNoVm)
      .int16(vid)
      .int16(pid)
      .int32(int{pid})
      .status(kFailsWithZero);
}

int VelProxy::GetLocalDevicePropertyWithVidPid(unsigned short vid, unsigned short pid,
                                               unsigned short /*deviceType*/) {
  return RemoteCall(*this)
      .method("getLocalDevicePropertyWithVidPid")
      .int32(kNoVm)
      .int16(vid)
      .int16(pid)
      .int32(int{pid})
      .status(kFailsWithZero);
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
  freeEach(list);
  return 0;
}

std::string VelProxy::GetTurboConfigWithVidPid(unsigned short vid, unsigned short pid) {
  RemoteCall call(*this);
  call.method("getTurboConfigWithVidPid").int32(kNoVm).int16(vid).int16(pid);
  return call.text().value_or("");
}

int VelProxy::SetTurboConfigWithVidPid(unsigned short vid, unsigned short pid,
                                       const std::string& config) {
  RemoteCall call(*this);
  call.method("setTurboConfigWithVidPid").int32(kNoVm).int16(vid).int16(pid).bytes(config);
  return call.status(kFailsWithZero);
}

int VelProxy::ResetAllDeviceProperty() {
  return RemoteCall(*this).method("resetAllDeviceProperty").int32(kNoVm).status(kFailsWithZero);
}

}  // namespace qx
