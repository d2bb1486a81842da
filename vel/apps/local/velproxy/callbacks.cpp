// Registering for events.

#include "vel/apps/local/velproxy/internal/vel_log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace qx {

int VelProxy::RegisterCallback(std::string vmId, VmCallback callback, void* userData) {
  VEL_DEBUG("registerCallback:vmId:%s callback %p userdata:%p", vmId.c_str(),
            reinterpret_cast<void*>(callback), userData);
  {
    const std::lock_guard<std::mutex> lock(callbackMutex_);
    vmCallbacks_[vmId] = {callback, userData};
  }
  VEL_DEBUG("end");
  return 0;
}

int VelProxy::UnregisterCallback(std::string vmId) {
  VEL_DEBUG("unregistercallback vmid:%s", vmId.c_str());
  const std::lock_guard<std::mutex> lock(callbackMutex_);
  vmCallbacks_.erase(vmId);
  return 0;
}

}  // namespace qx
