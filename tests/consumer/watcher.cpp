#include "watcher.h"

#include <chrono>
#include <future>

#include "vel/client/client.h"

#define TEXT_OF(name) TEXT_OF_(name)
#define TEXT_OF_(name) #name

namespace {

std::promise<std::string> attached;
vel::Subscription subscription;

}  // namespace

void watch() {
  subscription = vel::Client().onDevice([](const vel::DeviceEvent& event) {
    if (event.code == vel::EventCode::kDeviceAttached) {
      subscription.stop();
      attached.set_value(event.device.name);
    }
  });
}

std::string attachedDevice() {
  std::future<std::string> device = attached.get_future();
  const bool isThere = device.wait_for(std::chrono::minutes(1)) == std::future_status::ready;
  subscription.end();
  return isThere ? device.get() : std::string();
}

std::string variantOfTheWatcher() {
  return TEXT_OF(VEL_CLIENT_VARIANT);
}
