// Scenario files: any text, and the machine of those without a mistake.
// Covers: vel/apps/local/velsim/scenario/ vel/apps/local/velsim/scenario_file.cpp
// Covers: vel/apps/local/velsim/faults/fault_reader.cpp

#include <memory>

#include "tests/fuzz/target.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/scenario_file.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"

namespace fuzz::scenario {
namespace {

using namespace velsim;

// The methods that show all of a machine.
void askForLists(Simulator& simulator) {
  const qxbus::Values vm = {std::int32_t{0}};
  const std::pair<const char*, qxbus::Values> calls[] = {{"getVmList", vm},
                                                         {"getDeviceList", vm},
                                                         {"getPrinterList", vm},
                                                         {"getNetworkPrinterList", {}},
                                                         {"getJoystickDevList", {}},
                                                         {"getJoystickMappingList", {}},
                                                         {"getPolicyListByVidPid", vm}};
  for (const auto& [method, arguments] : calls) {
    simulator.answer(method, arguments, [](const Simulator::Answer& answer) {
      require(std::holds_alternative<qxbus::Values>(answer), "a list is no error");
    });
  }
}

void run(Input& input) {
  const std::string text(input.rest());
  Mistakes mistakes("fuzzed.json");
  const std::optional<Scenario> scenario = parseScenario(text, mistakes);

  require(scenario.has_value() == mistakes.isEmpty(), "a scenario or mistakes");
  require(scenario || !mistakes.lines().empty(), "each mistake has a line");
  for (const std::string& line : mistakes.lines()) {
    require(line.rfind("fuzzed.json:", 0) == 0, "a mistake names its file: " + line);
  }
  if (!scenario) {
    return;
  }
  auto* const clock = new SteppedClock;
  Simulator simulator(scenario->setup, std::unique_ptr<Scheduler>(clock));
  simulator.setEventSink([](const BusEvent& event) { argumentsOf(event); });
  Control control(simulator, [] {});
  askForLists(simulator);
  for (const TimelineEntry& entry : scenario->timeline) {
    control.run(entry.line).reason();
  }
  askForLists(simulator);
}

const Registration registration("scenario", run);

}  // namespace
}  // namespace fuzz::scenario
