// velctl joystick, mapping: joysticks and their mappings.

#include <algorithm>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/records.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

// The service has lists only.
template <typename Record, typename Index>
vel::Result<std::vector<Record>> at(vel::Result<std::vector<Record>> records, Index index) {
  if (records) {
    const auto isOther = [index](const Record& record) { return record.index != index; };
    records->erase(std::remove_if(records->begin(), records->end(), isOther), records->end());
  }
  return records;
}

}  // namespace

std::vector<Command> joystickCommands() {
  return {
      {"joystick list",
       "List the joysticks; the position identifies each",
       {},
       lists("getJoystickDevList", "joysticks", joystickFields(),
             [](const vel::Client& client, const Values&) { return client.joysticks(); }),
       {{"joystick list", "With their mappings"}}},
      {"joystick show",
       "Show one joystick in full",
       {joystickArgument()},
       shows("getJoystickDevList", "joystick", "velctl joystick list", joystickFields(),
             [](const vel::Client& client, const Values& values) {
               return at(client.joysticks(), values.joystick());
             }),
       {{"joystick show 0", "The first joystick"}}},
      {"joystick map",
       "Choose a mapping for a joystick",
       {joystickArgument(), mappingArgument()},
       asks(
           "setJoystickMapping",
           [](const vel::Client& client, const Values& values) {
             return client.setJoystickMapping(values.joystick(), values.mapping());
           },
           "joystick {JOYSTICK} has mapping {MAPPING}"),
       {{"joystick map 0 1", "The second mapping for the first joystick"}}},
      {"joystick calibrate",
       "Calibrate a joystick",
       {joystickArgument()},
       asks(
           "calibrationJoystick",
           [](const vel::Client& client, const Values& values) {
             return client.calibrateJoystick(values.joystick());
           },
           "joystick {JOYSTICK} calibrated"),
       {{"joystick calibrate 0", "Calibrate the first joystick"}}},
      joystickWatchCommand(),
      {"mapping list",
       "List the mappings for joysticks; the position identifies each",
       {},
       lists("getJoystickMappingList", "mappings", mappingFields(),
             [](const vel::Client& client, const Values&) { return client.joystickMappings(); }),
       {{"mapping list", "The mappings that joystick map takes"}},
       "",
       "joystick mappings"},
      {"mapping show",
       "Show one mapping in full",
       {mappingArgument()},
       shows("getJoystickMappingList", "mapping", "velctl mapping list", mappingFields(),
             [](const vel::Client& client, const Values& values) {
               return at(client.joystickMappings(), values.mapping());
             }),
       {{"mapping show 0", "The first mapping"}}},
  };
}

}  // namespace velctl
