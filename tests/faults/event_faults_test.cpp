// Events that come twice, in another order, damaged, or in masses.

#include <algorithm>
#include <cstdint>

#include <gmock/gmock.h>

#include "tests/faults/simulated_vel.h"
#include "tests/processes/busy_machine.h"
#include "tests/processes/process.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace fault_tests {
namespace {

using testing::ElementsAre;
using velsim::FaultKind;

class EventFaults : public testing::Test {
 protected:
  EventFaults() {
    vel_.appear();
    EXPECT_EQ(proxy_.Init(), 0u);
    proxy_.RegisterDeviceCallback(&EventFaults::onDevice, this);
  }
  ~EventFaults() override { proxy_.UnregisterDeviceCallback(this); }

  void set(FaultKind kind, const std::string& method = velsim::kMethodOfEvents,
           std::optional<std::uint64_t> number = std::nullopt) {
    vel_.faults().add({kind, method, {}, number, ""});
  }
  void plug(const std::string& name) {
    vel_.simulator().change([&name](velsim::MachineState& machine) {
      machine.plug(velsim::DeviceType::kCamera, name);
    });
  }

  // The names in the events so far, once there are so many.
  std::vector<std::string> names(std::size_t count) {
    EXPECT_TRUE(processes::comesTrue([this, count] {
      const platform::MutexLock lock(mutex_);
      return names_.size() >= count;
    }));
    const platform::MutexLock lock(mutex_);
    return names_;
  }

  void ignoreNames() {
    const platform::MutexLock lock(mutex_);
    isReadingNames_ = false;
  }
  std::size_t count() {
    const platform::MutexLock lock(mutex_);
    return count_;
  }

  SimulatedVel vel_;
  qx::VelProxy proxy_;

 private:
  static int onDevice(unsigned short code, CommonDevice* device, void* self) {
    auto& test = *static_cast<EventFaults*>(self);
    const platform::MutexLock lock(test.mutex_);
    ++test.count_;
    if (test.isReadingNames_) {
      test.names_.push_back(std::to_string(code) + " " + device->name);
    }
    return 0;
  }

  platform::Mutex mutex_;
  std::vector<std::string> names_ QX_GUARDED_BY(mutex_);
  std::size_t count_ QX_GUARDED_BY(mutex_) = 0;
  bool isReadingNames_ QX_GUARDED_BY(mutex_) = true;
};

TEST_F(EventFaults, ComeTwice) {
  set(FaultKind::kDuplicateEvents);

  plug("A");
  plug("B");

  EXPECT_THAT(names(4), ElementsAre("4 A", "4 A", "4 B", "4 B"));
}

TEST_F(EventFaults, ComeInAnotherOrder) {
  set(FaultKind::kReorderedEvents);

  plug("A");
  plug("B");
  plug("C");
  plug("D");

  EXPECT_THAT(names(4), ElementsAre("4 B", "4 A", "4 D", "4 C"));
}

TEST_F(EventFaults, TheLastOneOfAnOddNumberComesAllTheSame) {
  set(FaultKind::kReorderedEvents);

  plug("A");

  EXPECT_THAT(names(1), ElementsAre("4 A"));
}

TEST_F(EventFaults, ConcernOnlyTheEventsThatAreMeant) {
  vel_.faults().add(
      {FaultKind::kDuplicateEvents, velsim::kMethodOfEvents, *velsim::parseCallRange("2"), {}, ""});

  plug("A");
  plug("B");
  plug("C");

  EXPECT_THAT(names(4), ElementsAre("4 A", "4 B", "4 B", "4 C"));
}

TEST_F(EventFaults, DamagedRecordsAreNoHarm) {
  ignoreNames();
  for (const FaultKind kind :
       {FaultKind::kTruncatedBlocks, FaultKind::kEmptyBlocks, FaultKind::kOversizedBlocks,
        FaultKind::kRandomBlocks, FaultKind::kNotUtf8, FaultKind::kEmbeddedNul}) {
    vel_.faults().clearAll();
    set(kind);
    for (int i = 0; i < 20; ++i) {
      plug("A");
    }
  }
  vel_.faults().clearAll();

  plug("the end");

  EXPECT_TRUE(processes::comesTrue([this] { return count() > 0; }));
  EXPECT_EQ(proxy_.CheckCameraAuthStat(), 0);
}

TEST_F(EventFaults, AFloodComesInOrderUntilItIsCleared) {
  std::uint64_t perSecond = 100000;
  const auto startFlood = [&] {
    vel_.faults().add({FaultKind::kEventFlood, "CheckCameraAuthStat", *velsim::parseCallRange("1"),
                       perSecond, ""});
    return proxy_.CheckCameraAuthStat();
  };

  EXPECT_EQ(startFlood(), 0);

  const std::vector<std::string> flood = names(5000);
  for (std::size_t i = 0; i < 5000; ++i) {
    ASSERT_EQ(flood[i], "10 flood " + std::to_string(i));
  }
  // Calls go on meanwhile: on a busy machine beside a flood that it can take.
  const int status = processes::onTime(
      [&](int number) {
        if (number > 1) {
          vel_.faults().clearAll();
          perSecond /= 4;
          startFlood();
        }
        return proxy_.CheckCameraAuthStat();
      },
      [](int result) { return processes::lateUnless(result == 0); });
  EXPECT_EQ(status, 0);
  vel_.faults().clearAll();
  plug("dry");
  EXPECT_TRUE(processes::comesTrue([this] {
    const std::vector<std::string> all = names(0);
    return std::find(all.rbegin(), all.rend(), "4 dry") != all.rend();
  }));
}

}  // namespace
}  // namespace fault_tests
