#include "vel/apps/local/velsim/machine/number_pool.h"

#include <set>

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

constexpr int kHowMany = 65536 - NumberPool::kFirst;

TEST(NumberPoolTest, ANumberThatWasGivenBackComesLast) {
  NumberPool pool;
  const std::uint16_t first = pool.take();
  pool.giveBack(first);

  std::set<std::uint16_t> before;
  for (int i = 1; i < kHowMany; ++i) {
    before.insert(pool.take());
  }

  EXPECT_EQ(before.count(first), 0u);
  EXPECT_EQ(before.size(), kHowMany - 1u);
  EXPECT_EQ(pool.take(), first);
}

TEST(NumberPoolTest, ThereIsAnEndToThem) {
  NumberPool pool;
  for (int i = 0; i < kHowMany; ++i) {
    EXPECT_NE(pool.take(), 0);
  }

  EXPECT_EQ(pool.take(), 0);
  EXPECT_EQ(pool.take(), 0);
  pool.giveBack(500);
  EXPECT_EQ(pool.take(), 500);
}

using FullMachineTest = SimulatedServiceTest;

TEST_F(FullMachineTest, NothingCanBeAddedOrPluggedIn) {
  while (machine().numbers.take() != 0) {
  }

  EXPECT_EQ(call("addNetworkDevice", {int32(1), bytes("scanner")}), statusValues(Status::kFull));
  EXPECT_EQ(call("addNetworkPrinter", {"10.0.0.5", "Hall", ""}), statusValues(Status::kFull));
  EXPECT_EQ(machine().plug(DeviceType::kCamera, "Front camera"), nullptr);
  EXPECT_EQ(machine().printers.plug("Plotter"), nullptr);

  EXPECT_TRUE(told().empty());
}

}  // namespace
}  // namespace velsim
