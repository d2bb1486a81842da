// Scenarios: files that state a simulated machine, and what happens to it. docs/scenarios.md
// describes them for users.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_SCENARIO_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_SCENARIO_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/scenario/json_node.h"

namespace velsim {

struct TimelineEntry {
  std::chrono::milliseconds after;  // after the entry before; the first one after the start
  std::string line;                 // a control line
};

struct Scenario {
  Setup setup;
  std::vector<TimelineEntry> timeline;
  std::string text;  // of the file
};

// The parts of a file that other rooms understand.
struct ScenarioParts {
  // Checks a control line without running it. Null: a time line is a mistake.
  std::function<base::Result<void>(const std::string& line)> checkLine;
  // Whether a control command has this name, which the scenario's own commands must not have.
  std::function<bool(const std::string& word)> isCommand;
  // Reads the value of "faults". Null: the member is a mistake.
  std::function<void(const JsonNode& node, Mistakes& mistakes)> readFaults;
};

// nullopt, and all mistakes, when the text has any.
std::optional<Scenario> readScenario(std::string_view text, const ScenarioParts& parts,
                                     Mistakes& mistakes);

// The machine of velsim when no file names another.
const Scenario& builtInScenario();

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_SCENARIO_H
