#include "vel/apps/local/velproxy/vel_proxy.h"

static_assert(__cplusplus >= 201703L, "velproxy::velproxy does not ask for its version of C++");

int devicesOf(const char* vm) {
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  const std::list<CommonDevice*> devices = proxy->GetDeviceList(vm);
  const auto count = static_cast<int>(devices.size());
  proxy->FreeDeviceList(devices);
  return count;
}
