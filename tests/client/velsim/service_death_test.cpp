// A velsim that dies and comes back.

#include <algorithm>

#include "tests/client/velsim/velsim_test.h"

namespace {

// Behind all others: the next velsim is another process.
TEST_F(VelsimTest, AServiceThatDiesIsReportedAndItsEventsArriveAgain) {
  platform::Mutex mutex;
  std::vector<std::string> ended;
  std::vector<std::string> restored;
  const auto has = [&mutex](const std::vector<std::string>& vms) {
    return processes::comesTrue([&] {
      const platform::MutexLock lock(mutex);
      return std::find(vms.begin(), vms.end(), kWindows) != vms.end();
    });
  };
  Events events;
  ASSERT_THAT(client.vmNumber(kWindows), Succeeds());
  const vel::Subscription deaths = client.onServiceDeath([&](const vel::ServiceDeath& death) {
    const platform::MutexLock lock(mutex);
    ended = death.vms;
  });
  const vel::Subscription returns = client.onServiceReturn([&](const vel::ServiceReturn& back) {
    const platform::MutexLock lock(mutex);
    restored = back.vms;
  });
  const vel::Subscription devices =
      client.onDevice([&](const vel::DeviceEvent& event) { events.add(event); });

  velsim().kill();
  EXPECT_TRUE(has(ended));
  const vel::Result<void> meanwhile = client.reset();
  ASSERT_FALSE(meanwhile);
  EXPECT_EQ(nameOf(meanwhile.error().kind()), nameOf(vel::ErrorKind::kNoService));
  velsim().start();
  EXPECT_TRUE(has(restored));

  // The log is written by a thread of its own.
  EXPECT_TRUE(processes::comesTrue(
      [] { return velsim().log().find("getVmListSize") != std::string::npos; }));
  velsim().control("plug camera \"Front camera\"");
  EXPECT_TRUE(events.contain("device plugged in vm 0 \"\": 31 \"Front camera\"")) << events.all();
  velsim().control("unplug 31");
}

}  // namespace
