// Control commands that act on velsim itself: its place on the bus, and its time.

#ifndef VEL_APPS_LOCAL_VELSIM_PROGRAM_COMMANDS_H
#define VEL_APPS_LOCAL_VELSIM_PROGRAM_COMMANDS_H

#include <functional>
#include <vector>

#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/presence.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"
#include "vel/apps/local/velsim/timeline.h"

namespace velsim {

// The parts of velsim that the commands act on. Null where a line is only checked.
struct ProgramParts {
  Presence* presence = nullptr;
  Timeline* timeline = nullptr;
  SteppedClock* clock = nullptr;  // null in real time
  std::function<void()> quit = nullptr;
};

// leave, return, step, advance, quit.
std::vector<Command> programCommands(const ProgramParts& parts);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_PROGRAM_COMMANDS_H
