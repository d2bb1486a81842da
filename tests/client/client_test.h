// Fixtures of the tests of vel::Client.

#ifndef TESTS_CLIENT_CLIENT_TEST_H
#define TESTS_CLIENT_CLIENT_TEST_H

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/library/proxy_test.h"
#include "vel/client/client.h"

// Records as the service sends them.
inline Bytes deviceRecord(std::uint16_t number, const std::string& name,
                          vel::DeviceStatus status = vel::DeviceStatus::kAvailable) {
  vel::Device device;
  device.number = vel::DeviceNumber(number);
  device.name = name;
  device.status = status;
  vel::internal::DeviceRecord record(device);
  return bytesOf(record.get(), velprotocol::device::kLayout.size());
}

inline EventArguments eventOf(vel::EventCode code, const Bytes& record, std::int32_t vm = 0) {
  return EventArguments().int32(vm).int32(vel::number(code)).bytes(record);
}

// A client of a proxy of its own, on a scripted bus.
class ClientTest : public ProxyTest {
 protected:
  ClientTest() : client(*proxy) { forget(); }

  // The service sends a device event.
  void emitDevice(const std::string& name, vel::EventCode code = vel::EventCode::kDevicePlugged) {
    bus.emit("velevent", eventOf(code, deviceRecord(12, name)));
  }

  // The service dies; the library finds the next one at once.
  void restartService() {
    timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
    bus.serviceDies();
    bus.waitForDeaths();
  }

  vel::Client client;
};

// Keeps actions until a test runs them, as an event loop does.
class Loop {
 public:
  void post(vel::Action action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    actions_.push_back(std::move(action));
  }

  // Returns the number of actions that have run.
  std::size_t run() {
    std::vector<vel::Action> actions;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      actions.swap(actions_);
    }
    for (const vel::Action& action : actions) {
      action();
    }
    return actions.size();
  }

 private:
  std::mutex mutex_;
  std::vector<vel::Action> actions_;
};

#endif  // TESTS_CLIENT_CLIENT_TEST_H
