// Random scenarios, right and broken: read, then simulated, with requests and control lines.
//
//   SCENARIO_SEED    first seed, in place of 1. A failure shows the seed of its scenario.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include <unistd.h>

#include "tests/under_sanitizer.h"
#include "tests/velsim/scenario/random_scenarios.h"
#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/machine_commands.h"
#include "vel/apps/local/velsim/scenario_file.h"

namespace velsim {
namespace {

using qxbus::Values;

constexpr int kScenarios = kUnderSanitizer ? 300 : 10'000;

std::uint64_t firstSeed() {
  const char* const seed = std::getenv("SCENARIO_SEED");
  return seed ? std::strtoull(seed, nullptr, 10) : 1;
}

// Names the seed of a scenario that ends the program.
class SeedOfCrash {
 public:
  SeedOfCrash() {
    for (const int number : {SIGSEGV, SIGABRT}) {
      previous()[number] = std::signal(number, report);
    }
  }
  ~SeedOfCrash() {
    for (const auto& [number, handler] : previous()) {
      std::signal(number, handler);
    }
  }

  SeedOfCrash(const SeedOfCrash&) = delete;
  SeedOfCrash& operator=(const SeedOfCrash&) = delete;

  void set(std::uint64_t seed) const {
    std::snprintf(line, sizeof line, "SCENARIO_SEED=%llu\n", static_cast<unsigned long long>(seed));
  }

 private:
  using Handler = void (*)(int);

  static std::map<int, Handler>& previous() {
    static std::map<int, Handler> handlers;
    return handlers;
  }
  static void report(int number) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line, std::strlen(line));
    std::signal(number, previous()[number]);
    std::raise(number);
  }

  static char line[64];
};
char SeedOfCrash::line[64] = {};

// The methods that answer with lists and records, and some that change what they show.
void callMethods(Simulator& simulator, Random& random) {
  const qxbus::Value vm = int32(static_cast<std::int64_t>(random.below(7)));
  const qxbus::Value number = int16(static_cast<int>(1 + random.below(40)));
  const std::pair<const char*, Values> calls[] = {
      {"getVmList", {int32(0)}},
      {"getDeviceList", {vm}},
      {"getPrinterList", {vm}},
      {"getNetworkPrinterList", {}},
      {"getLocalDeviceList", {}},
      {"getDeviceStatus", {number}},
      {"getPrinterStatus", {number}},
      {"getJoystickDevList", {}},
      {"getJoystickMappingList", {}},
      {"searchAllPrinter", {}},
      {"getPrinterDriverlList", {"laser"}},
      {"searchSharePrinter", {"10.0.0.1"}},
      {"connectVm", {vm, int32(1), int32(1), int32(0)}},
      {"disconnectVm", {vm}},
      {"connectDevice", {vm, number}},
      {"disconnectDevice", {vm, number}},
      {"connectPrinter", {vm, number}},
      {"diagnoseDevice", {vm, int32(static_cast<std::int64_t>(random.below(40)))}},
      {"CheckCameraAuthStat", {}},
      {"resetService", {}},
  };
  constexpr int kCalls = 5;
  for (int i = 0; i < kCalls; ++i) {
    const auto& [method, arguments] = random.oneOf(calls);
    simulator.answer(method, arguments, [](const Simulator::Answer&) {});
  }
}

// How many of the scenarios had no mistake.
int simulate(std::uint64_t seed, int count) {
  const SeedOfCrash seedOfCrash;
  int right = 0;
  for (int i = 0; i < count; ++i) {
    const std::uint64_t now = seed + static_cast<std::uint64_t>(i);
    SCOPED_TRACE("SCENARIO_SEED=" + std::to_string(now));
    seedOfCrash.set(now);
    Random random(now);
    std::string text = randomScenario(random);
    const bool isBroken = random.chance(50);
    if (isBroken) {
      text = brokenScenario(random, text);
    }
    Mistakes mistakes("random.json");
    const std::optional<Scenario> scenario = parseScenario(text, mistakes);
    EXPECT_EQ(scenario.has_value(), mistakes.isEmpty());
    EXPECT_TRUE(isBroken || scenario) << ::testing::PrintToString(mistakes.lines()) << text;
    if (!scenario) {
      continue;
    }
    ++right;
    auto* const clock = new SteppedClock;
    Simulator simulator(scenario->setup, std::unique_ptr<Scheduler>(clock));
    simulator.setEventSink([](const BusEvent& event) { argumentsOf(event); });
    Control control(simulator, [] {});
    control.add(answeringCommands(scenario->setup.commands));
    for (const TimelineEntry& entry : scenario->timeline) {
      control.run(entry.line).reason();
      callMethods(simulator, random);
    }
    clock->advance(std::chrono::hours(1));
    if (::testing::Test::HasFailure()) {
      break;
    }
  }
  return right;
}

TEST(RandomScenariosTest, CrashNothing) {
  const int right = simulate(firstSeed(), kScenarios);

  // Neither all, nor none.
  EXPECT_GT(right, kScenarios / 3);
  EXPECT_LT(right, kScenarios);
}

}  // namespace
}  // namespace velsim
