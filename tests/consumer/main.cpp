// Attaches a device to a VM and waits for the event of it, in this source and in another.

#include <chrono>
#include <future>
#include <iostream>
#include <string>
#include <vector>

#include "vel/client/client.h"
#include "watcher.h"

#define TEXT_OF(name) TEXT_OF_(name)
#define TEXT_OF_(name) #name

int main() {
  const vel::Client client;
  const vel::Result<std::vector<vel::Device>> devices = client.localDevices();
  if (!devices) {
    std::cerr << devices.error().message() << '\n';
    return 1;
  }

  std::promise<std::string> attached;
  vel::Subscription subscription = client.onDevice([&](const vel::DeviceEvent& event) {
    if (event.code == vel::EventCode::kDeviceAttached) {
      subscription.stop();
      attached.set_value(event.device.name);
    }
  });
  watch();
  const vel::Result<void> result = client.attach("win11", devices->front().number);
  if (!result) {
    std::cerr << result.error().message() << '\n';
    return 1;
  }
  std::future<std::string> device = attached.get_future();
  const bool isThere = device.wait_for(std::chrono::minutes(1)) == std::future_status::ready;
  subscription.end();

  std::cout << TEXT_OF(VEL_CLIENT_VARIANT) << ": " << (isThere ? device.get() : "nothing") << '\n'
            << variantOfTheWatcher() << ": " << attachedDevice() << '\n';
  return 0;
}
