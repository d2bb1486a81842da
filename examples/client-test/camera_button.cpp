#include "examples/client-test/camera_button.h"

#include <list>
#include <utility>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

// The first device of this machine with "camera" in its name, or why there is none.
struct Search {
  unsigned short number = 0;
  std::string name;
  std::string failure;
};

Search findCamera() {
  qx::VelProxy* const vel = qx::VelProxy::getInstance();
  const std::list<CommonDevice*> devices = vel->GetDeviceList("");
  // Before the next operation, which has a last error of its own.
  const qx::VelError error = qx::VelProxy::lastError();
  Search found;
  for (const CommonDevice* const device : devices) {
    const std::string name = device->name;
    if (found.name.empty() && name.find("camera") != std::string::npos) {
      found.number = device->devNumber;
      found.name = name;
    }
  }
  vel->FreeDeviceList(devices);
  if (found.name.empty()) {
    found.failure = error.kind == qx::VelError::Kind::kNone ? "No camera" : error.text;
  }
  return found;
}

}  // namespace

CameraButton::CameraButton(std::string vm) : vm_(std::move(vm)) {}

std::string CameraButton::label() const {
  const Search camera = findCamera();
  return camera.failure.empty() ? "Attach " + camera.name : camera.failure;
}

std::string CameraButton::press() const {
  const Search camera = findCamera();
  if (!camera.failure.empty()) {
    return camera.failure;
  }
  const int status = qx::VelProxy::getInstance()->ConnectDevice(vm_, camera.number);
  return status == 0 ? camera.name + " is in " + vm_
                     : "Not attached: status " + std::to_string(status);
}
