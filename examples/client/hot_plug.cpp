// Reports devices as they come and go, and gives each camera that is plugged in to a VM. Ends when
// standard input does: Ctrl-D.
//
//   hot_plug [VM]          win11 if absent

#include <iostream>
#include <limits>
#include <string>
#include <utility>

#include "vel/client/client.h"

namespace {

class HotPlug {
 public:
  explicit HotPlug(std::string vm) : vm_(std::move(vm)) {}

  // Runs on a thread of the bus, one event at a time.
  void handle(const vel::DeviceEvent& event) const {
    const vel::Device& device = event.device;
    std::cout << vel::name(event.code) << ": " << device.number << ' ' << device.name << std::endl;
    if (event.code == vel::EventCode::kDevicePlugged && device.type == vel::DeviceType::kCamera) {
      // A callback may call every operation.
      if (const auto attached = client_.attach(vm_, device.number); !attached) {
        std::cerr << attached.error().message() << '\n';
      }
    }
  }

  const vel::Client& client() const { return client_; }

 private:
  const vel::Client client_;
  const std::string vm_;
};

}  // namespace

int main(int argc, char** argv) {
  const std::string vm = argc > 1 ? argv[1] : "win11";
  const HotPlug hotPlug(vm);
  // Events of a VM arrive once this process has named it.
  if (const auto number = hotPlug.client().vmNumber(vm); !number) {
    std::cerr << number.error().message() << '\n';
    return 1;
  }
  const vel::Subscription events = hotPlug.client().onDevice(
      [&hotPlug](const vel::DeviceEvent& event) { hotPlug.handle(event); });

  std::cout << "waiting for devices" << std::endl;
  std::cin.ignore(std::numeric_limits<std::streamsize>::max());
  // The end of the subscription waits for a callback that runs, so hotPlug may go after it.
}
