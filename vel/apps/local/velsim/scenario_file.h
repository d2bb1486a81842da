// The file of a scenario.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_FILE_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_FILE_H

#include <optional>
#include <string>

#include "vel/apps/local/velsim/scenario/scenario.h"

namespace velsim {

// nullopt, and all mistakes, when the file cannot be read or has any.
std::optional<Scenario> loadScenario(const std::string& path, Mistakes& mistakes);

// The same for the text of a file.
std::optional<Scenario> parseScenario(const std::string& text, Mistakes& mistakes);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_FILE_H
