// Reports devices as they come and go, and gives each camera that is plugged in to a VM. Ends when
// standard input does: Ctrl-D.
//
//   hot_plug [VM]          win11 if absent

#include <cstdio>
#include <cstring>
#include <string>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

constexpr unsigned short kPlugged = 4;
constexpr unsigned short kUnplugged = 5;
constexpr unsigned short kAttached = 6;
constexpr unsigned short kDetached = 7;

const char* nameOf(unsigned short code) {
  switch (code) {
    case kPlugged:
      return "device plugged in";
    case kUnplugged:
      return "device unplugged";
    case kAttached:
      return "device attached";
    case kDetached:
      return "device detached";
    default:
      return "device changed";
  }
}

// Runs on a thread of the bus, one callback at a time. Every field of the record may be read until
// the function returns.
int handle(unsigned short code, CommonDevice* device, void* userData) {
  std::printf("%s: %d %.128s\n", nameOf(code), device->devNumber, device->name);
  std::fflush(stdout);
  // The interface leaves the type of a device to the service, so the name has to do.
  if (code == kPlugged && std::strstr(device->name, "camera") != nullptr) {
    // A callback may call remote operations, and must not register or unregister.
    const std::string& vm = *static_cast<const std::string*>(userData);
    const int status = qx::VelProxy::getInstance()->ConnectDevice(vm, device->devNumber);
    if (status != 0) {
      std::fprintf(stderr, "not attached: status %d\n", status);
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string vm = argc > 1 ? argv[1] : "win11";
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  // Events of a VM arrive once this process has looked its number up.
  if (proxy->GetVmIdInt(vm) == 0) {
    std::fprintf(stderr, "%s\n", qx::VelProxy::lastError().text.c_str());
    return 1;
  }
  proxy->RegisterDeviceCallback(&handle, &vm);

  std::puts("waiting for devices");
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  // Waits for a callback that runs, so vm may go after it.
  proxy->UnregisterDeviceCallback(&vm);
}
