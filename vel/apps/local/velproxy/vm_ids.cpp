// The service's numbers for VMs.

#include <algorithm>

#include "vel/apps/local/velproxy/internal/arguments.h"
#include "vel/apps/local/velproxy/internal/remote_call.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {
namespace {

// The method returns the number of one VM, whatever its name suggests.
constexpr char kLookUp[] = "getVmListSize";

}  // namespace

unsigned int VelProxy::GetVmIdInt(std::string vmId) {
  getInstance();
  LookUp call(*this);
  call.report().setMethod(kLookUp);
  if (vmId.empty()) {
    return 0;
  }
  unsigned int generation = 0;
  {
    const platform::MutexLock lock(vmIdMutex_);
    const auto known =
        std::find_if(vmIds_.begin(), vmIds_.end(),
                     [&vmId](const auto& numberAndName) { return numberAndName.second == vmId; });
    if (known != vmIds_.end()) {
      return known->first;
    }
    generation = vmIdGeneration_;
  }
  const std::optional<int> answer = call.method(kLookUp).string(vmId).answer();
  if (!answer) {
    return 0;
  }
  const auto id = static_cast<unsigned int>(*answer);
  VEL_DEBUG("vmid[%s]~ maped to id[%d] from hulservice", vmId.c_str(), id);
  if (id == 0) {
    call.report().failUnknownVm(vmId);
  } else {
    const platform::MutexLock lock(vmIdMutex_);
    // Not when the service has died meanwhile: the next one gives other numbers.
    if (generation == vmIdGeneration_) {
      vmIds_[id] = std::move(vmId);
    }
  }
  return id;
}

std::string VelProxy::GetVmIdString(unsigned int id) {
  const ErrorReport report;
  const platform::MutexLock lock(vmIdMutex_);
  const auto known = vmIds_.find(id);
  return known != vmIds_.end() ? known->second : std::string();
}

std::map<std::string, unsigned int> VelProxy::GetVmList() {
  RemoteCall call(*this);
  const std::shared_ptr<QXBusMessage> reply = call.method("getVmList").int32(0).reply();
  std::map<std::string, unsigned int> vms;
  if (!reply) {
    return vms;
  }
  const int count = countAt(*reply, 0, call.report());
  VEL_DEBUG("vm list size: %d", count);
  const int whole = (reply->argCount() - 1) / 2;
  const int present = std::min(count, whole);
  for (int k = 0; k < present; ++k) {
    const std::string vmId = textAt(*reply, 2 * k + 1, call.report());
    const auto id = static_cast<unsigned int>(integerAt(*reply, 2 * k + 2, call.report()));
    vms[vmId] = id;
    VEL_DEBUG("vmid[%s]~ maped to id[%d]", vmId.c_str(), id);
  }
  if (present < count) {
    reportEarlyEnd(present, count, call.report());
  }
  return vms;
}

}  // namespace qx
