// The file of a scenario.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_FILE_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_FILE_H

#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/faults/fault_plan.h"
#include "vel/apps/local/velsim/scenario/scenario.h"

namespace velsim {

// nullopt, and all mistakes, when the file cannot be read or has any.
//
// faults    gets those of the file, unless it is null
std::optional<Scenario> loadScenario(const std::string& path, Mistakes& mistakes,
                                     std::vector<Fault>* faults = nullptr);

// The same for the text of a file.
std::optional<Scenario> parseScenario(const std::string& text, Mistakes& mistakes,
                                      std::vector<Fault>* faults = nullptr);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_FILE_H
