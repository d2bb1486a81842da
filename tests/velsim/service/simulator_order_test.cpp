// The order of answers and events, also with many threads.

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/service/timer_thread.h"

namespace velsim {
namespace {

using qxbus::Values;
using ::testing::ElementsAre;

class SimulatorOrderTest : public ::testing::Test {
 protected:
  void listen() {
    simulator.setEventSink([this](const BusEvent& event) {
      happened.push_back("event " + std::to_string(static_cast<int>(event.code)));
    });
  }
  void request(const std::string& method, const Values& arguments) {
    simulator.answer(method, arguments,
                     [this, method](const Simulator::Answer&) { happened.push_back(method); });
  }

  SteppedClock* clock = new SteppedClock;
  std::vector<std::string> happened;
  Simulator simulator{std::unique_ptr<Scheduler>(clock)};
};

TEST_F(SimulatorOrderTest, EventsOfARequestComeAfterItsAnswer) {
  listen();

  request("connectDevice", {int32(kWin11), int16(kStick)});

  EXPECT_THAT(happened, ElementsAre("connectDevice", "event 65", "event 6"));
}

TEST_F(SimulatorOrderTest, AStopIsAnsweredBeforeTheSearchThatItEnds) {
  listen();

  request("searchSharePrinter", {"10.0.0.7"});
  request("stopSearchSharePrinter", {});

  EXPECT_THAT(happened, ElementsAre("stopSearchSharePrinter", "searchSharePrinter"));
}

TEST_F(SimulatorOrderTest, EventsWaitForASink) {
  request("connectDevice", {int32(kWin11), int16(kCamera)});
  EXPECT_THAT(happened, ElementsAre("connectDevice"));

  listen();
  EXPECT_THAT(happened, ElementsAre("connectDevice", "event 6"));

  simulator.setEventSink(nullptr);
  request("disconnectDevice", {int32(kWin11), int16(kCamera)});
  EXPECT_THAT(happened, ElementsAre("connectDevice", "event 6", "disconnectDevice"));
  listen();
  EXPECT_EQ(happened.back(), "event 7");
}

TEST_F(SimulatorOrderTest, AnEventHasVmCodeAndRecord) {
  const BusEvent event = {EventCode::kDiagnosis, 0x80000001, {1, 2}};

  EXPECT_EQ(argumentsOf(event), (Values{int32(0x80000001), int32(9), qxbus::Bytes{1, 2}}));
}

TEST(SimulatorWithAClockTest, WaitsForALateAnswer) {
  Simulator simulator;

  const Simulator::Answer answer = simulator.answer("searchSharePrinter", {"10.0.0.8"});

  EXPECT_EQ(std::get<Values>(answer), (Values{int32(0), int32(1), "10.0.0.8", "Workshop", ""}));
}

TEST(SimulatorWithAClockTest, CanBeDestroyedWhileAnswersArePending) {
  std::atomic<int> answers{0};
  {
    Simulator simulator;
    simulator.answer("searchSharePrinter", {"10.0.0.8"},
                     [&answers](const Simulator::Answer&) { ++answers; });
    simulator.answer("diagnoseDevice", {int32(kWin11), int32(kCamera)});
  }

  EXPECT_EQ(answers, 0);
}

TEST(SimulatorWithAClockTest, TakesRequestsAndChangesFromManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 50;
  Simulator simulator;
  std::vector<int> codes;  // guarded by the simulator: the sink is called by one thread at a time
  simulator.setEventSink(
      [&codes](const BusEvent& event) { codes.push_back(static_cast<int>(event.code)); });

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&simulator] {
      for (int round = 0; round < kRounds; ++round) {
        std::uint16_t number = 0;
        simulator.change([&number](MachineState& now) {
          number = now.plug(DeviceType::kGeneric, "Scanner")->number;
        });
        simulator.answer("connectDevice", {int32(kWin11), int16(number)});
        simulator.answer("diagnoseDevice", {int32(kWin11), int32(number)});
        simulator.change([number](MachineState& now) { now.devices.unplug(number); });
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  simulator.setEventSink(nullptr);

  for (const int code : {4, 6, 7, 5}) {
    EXPECT_EQ(std::count(codes.begin(), codes.end(), code), kThreads * kRounds) << code;
  }
  EXPECT_EQ(machineOf(simulator).devices.all().size(), 5u);
}

}  // namespace
}  // namespace velsim
