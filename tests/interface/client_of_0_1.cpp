// A client as version 0.1 knew the library. It calls an operation near the beginning of the virtual
// table, one in its middle and one near its end, and writes what it got to standard
// error, one line each. (The library writes to standard output.)

#include <cstdio>
#include <future>

#include "tests/interface/vel_proxy_of_0_1.h"

namespace {

std::promise<std::string> attached;

int onDevice(unsigned short code, CommonDevice* device, void* userData) {
  constexpr unsigned short kAttached = 6;
  if (code == kAttached) {
    static_cast<std::promise<std::string>*>(userData)->set_value(device->name);
  }
  return 0;
}

}  // namespace

int main() {
  qx::VelProxy own;
  std::fprintf(stderr, "own %u\n", own.Init());
  std::fprintf(stderr, "policy %d\n", own.SetAutoConnect(12, 1));

  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  proxy->RegisterDeviceCallback(onDevice, &attached);
  const std::map<std::string, unsigned int> vms = proxy->GetVmList();
  std::fprintf(stderr, "VMs %zu\n", vms.size());
  const std::list<CommonDevice*> devices = proxy->GetLocalDeviceList();
  for (const CommonDevice* const device : devices) {
    std::fprintf(stderr, "device %u %s\n", device->devNumber, device->name);
  }
  proxy->FreeDeviceList(devices);
  std::fprintf(stderr, "attach %d\n", proxy->ConnectDevice("win11", 12));
  std::fprintf(stderr, "attached %s\n", attached.get_future().get().c_str());
  proxy->UnregisterDeviceCallback();
  std::fprintf(stderr, "joysticks %zu\n", proxy->GetJoystickDevList().size());
  std::fprintf(stderr, "address %d\n", qx::checkIpAddr("10.0.0.7:631") ? 1 : 0);
  return 0;
}
