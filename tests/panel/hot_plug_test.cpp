// A thousand devices that come and go leave nothing behind.

#include <algorithm>
#include <cstdint>
#include <iostream>

#include <malloc.h>

#include <QDir>

#include "examples/panel/desktop/tray.h"
#include "tests/panel/window_test.h"

namespace panel {
namespace {

int entriesOf(const char* folder) {
  return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System).size();
}

struct Use {
  int objects = 0;
  int threads = 0;
  int descriptors = 0;
  std::int64_t heap = 0;
};

std::ostream& operator<<(std::ostream& out, const Use& use) {
  return out << use.objects << " objects, " << use.threads << " threads, " << use.descriptors
             << " descriptors, " << use.heap / 1024 << " KiB of heap";
}

class HotPlugTest : public WindowTest {
 protected:
  Use use() {
    const auto objects = [](const QObject& parent) {
      return parent.findChildren<QObject*>().size() + 1;
    };
    return {objects(window) + objects(service) + objects(tray), entriesOf("/proc/self/task"),
            entriesOf("/proc/self/fd"), static_cast<std::int64_t>(::mallinfo2().uordblks)};
  }

  // A round is over when its card has gone.
  void hotPlug(int rounds) {
    for (int round = 0; round < rounds; ++round) {
      const vel::DeviceNumber device = plug("generic \"Adapter\"");
      ASSERT_TRUE(appears(device));
      unplug(device);
      ASSERT_TRUE(loopUntil([&] { return page.board().card(device) == nullptr; }));
      plugged().clear();
    }
  }

  Tray tray{window, service};
};

TEST_F(HotPlugTest, AThousandHotPlugsLeaveNothing) {
  constexpr int kPatienceMs = 240000;
  constexpr int kRounds = HOT_PLUGS;
  // An object or a text for each round would be more.
  constexpr std::int64_t kMostBytesOfRound = 32;
  ASSERT_TRUE(isReady());
  hotPlug(kRounds);
  const Use before = use();

  hotPlug(kRounds);
  const Use between = use();
  hotPlug(kRounds);

  // Deleted objects and threads that end take their time.
  const auto isBack = [&] {
    const Use now = use();
    return now.objects <= before.objects && now.threads <= before.threads &&
           now.descriptors <= before.descriptors;
  };
  EXPECT_TRUE(QTest::qWaitFor(isBack, kPatienceMs)) << use();
  const Use after = use();
  std::cout << "before: " << before << "\nafter " << kRounds << " hot-plugs: " << between
            << "\nafter as many again: " << after << '\n';
  // A cache grows once, a leak always.
  const std::int64_t growth = std::min(between.heap - before.heap, after.heap - between.heap);
  RecordProperty("heap_growth", std::to_string(growth));
  EXPECT_LE(growth, kRounds * kMostBytesOfRound);
}

}  // namespace
}  // namespace panel
