// Attaches a VM session, and lists the devices that the VM can have.
//
//   list_devices [VM]      win11 if absent

#include <cstddef>
#include <cstdio>
#include <list>
#include <vector>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

// The reason of the last operation of this thread, or the status with which the service refused.
int failed(unsigned int status) {
  const qx::VelError error = qx::VelProxy::lastError();
  if (error.kind == qx::VelError::Kind::kNone) {
    std::fprintf(stderr, "the service refused with status %u\n", status);
  } else {
    std::fprintf(stderr, "%s: %s\n", error.method.c_str(), error.text.c_str());
  }
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  VmInfo session;
  session.vmId = argc > 1 ? argv[1] : "win11";
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  if (const unsigned int status = proxy->ConnectVm(session); status != 0) {
    return failed(status);
  }

  const std::list<CommonDevice*> devices = proxy->GetDeviceList(session.vmId);
  const std::vector<std::size_t> lengths = qx::VelProxy::lastRecordLengths();
  if (qx::VelProxy::lastError().kind != qx::VelError::Kind::kNone) {
    return failed(0);
  }
  std::size_t index = 0;
  for (const CommonDevice* const device : devices) {
    // The service chooses the length of a record: behind it there is no memory.
    if (lengths[index++] >= offsetof(CommonDevice, policyText)) {
      std::printf("%d  %.128s  %d\n", device->devNumber, device->name, device->status);
    }
  }
  proxy->FreeDeviceList(devices);

  // Does not wait: the result says whether the request was sent.
  if (const unsigned int status = proxy->DisconnectVm(session.vmId); status != 0) {
    return failed(status);
  }
}
