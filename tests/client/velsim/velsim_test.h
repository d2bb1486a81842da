// vel::Client and a real velsim with its built-in machine, over a direct connection.

#ifndef TESTS_CLIENT_VELSIM_VELSIM_TEST_H
#define TESTS_CLIENT_VELSIM_VELSIM_TEST_H

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mutex.h"
#include "tests/client/values.h"
#include "tests/processes/process.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"
#include "vel/client/client.h"

constexpr char kWindows[] = "win11";
constexpr char kUbuntu[] = "ubuntu";
constexpr vel::DeviceNumber kStick(11);
constexpr vel::DeviceNumber kCamera(12);
constexpr vel::PrinterNumber kLaser(21);

// The value of a result; without one the test fails.
template <typename Value>
Value valueOf(const vel::Result<Value>& result) {
  if (!result) {
    ADD_FAILURE() << result.error().message();
    return Value();
  }
  return *result;
}

MATCHER(Succeeds, "") {
  if (!arg) {
    *result_listener << arg.error().message();
  }
  return arg.has_value();
}

MATCHER_P(IsRefusedWith, status, "") {
  if (arg) {
    *result_listener << "succeeded";
    return false;
  }
  *result_listener << arg.error().message();
  return arg.error().kind() == vel::ErrorKind::kRefused && arg.error().status() == status;
}

// Events as texts, from any thread.
class Events {
 public:
  template <typename Event>
  void add(const Event& event) {
    const platform::MutexLock lock(mutex_);
    texts_.push_back(shown(event));
  }

  // Waits for an event that contains a text.
  bool contain(const std::string& part) const {
    return processes::comesTrue([&] { return all().find(part) != std::string::npos; });
  }
  std::string all() const {
    const platform::MutexLock lock(mutex_);
    std::string text;
    for (const std::string& each : texts_) {
      text += each + '\n';
    }
    return text;
  }

 private:
  mutable platform::Mutex mutex_;
  std::vector<std::string> texts_ QX_GUARDED_BY(mutex_);
};

// One velsim serves all tests of the program; each begins with a machine that has been reset.
class VelsimTest : public testing::Test {
 protected:
  static velsim_testing::VelsimProcess& velsim() {
    static velsim_testing::VelsimProcess velsim;
    return velsim;
  }

  VelsimTest() : client(connected()) { EXPECT_THAT(client.reset(), Succeeds()); }

  vel::SourceId sourceOf(vel::DeviceNumber number) const {
    const std::vector<vel::Device> devices = valueOf(client.device(number));
    return devices.empty() ? vel::SourceId() : devices.front().source;
  }
  std::string shownDevice(vel::DeviceNumber number) const {
    return shown(valueOf(client.device(number)));
  }

  const vel::Client client;

 private:
  static vel::Client connected() {
    static const vel::Client client = [] {
      velsim().exportAddress();
      return vel::Client();
    }();
    return client;
  }
};

#endif  // TESTS_CLIENT_VELSIM_VELSIM_TEST_H
