#include "vel/apps/local/velsim/program_commands.h"

#include <algorithm>
#include <optional>

#include "base/text.h"
#include "vel/apps/local/velsim/command_arguments.h"
#include "vel/apps/local/velsim/scenario/json_reader.h"

namespace velsim {
namespace {

using Answer = Command::Answer;

constexpr char kRealTime[] = "the time runs by itself; start velsim with --step to move it";

Answer leave(Presence& presence) {
  const base::Result<void> left = presence.leave();
  return left ? Answer("left the bus\n") : Answer(base::Failed{"leave: " + left.reason()});
}

Answer comeBack(Presence& presence) {
  const base::Result<std::string> place = presence.arrive();
  return place ? Answer("back at " + *place + "\n")
               : Answer(base::Failed{"return: " + place.reason()});
}

std::string timeOf(const SteppedClock& clock) {
  return "at " + std::to_string(clock.now().count()) + " ms\n";
}

Answer step(Timeline& timeline, SteppedClock& clock, std::size_t count) {
  const std::size_t first = timeline.done();
  if (first == timeline.size()) {
    return base::Failed{"step: the time line has no further entries; advance moves the time"};
  }
  const std::size_t last = first + std::min(count, timeline.size() - first);
  while (timeline.done() < last && clock.runNext()) {
  }
  return base::counted(timeline.done() - first, "step") + ", " +
         std::to_string(timeline.size() - timeline.done()) + " left, " + timeOf(clock);
}

base::Result<Action> prepareStep(const ProgramParts& parts, const Words& arguments) {
  const auto count =
      arguments.empty() ? std::optional(1U) : base::parseDecimalAs<unsigned>(arguments[0]);
  if (!count || *count == 0) {
    return unexpected("step", "a number of entries", arguments[0]);
  }
  return Action([parts, count = *count]() -> Answer {
    if (!parts.clock) {
      return base::Failed{std::string("step: ") + kRealTime};
    }
    return step(*parts.timeline, *parts.clock, count);
  });
}

base::Result<Action> prepareAdvance(const ProgramParts& parts, const Words& arguments) {
  const auto time = parseDuration(arguments[0]);
  if (!time) {
    return unexpected("advance", "a time of at most a day, such as 1.5s or 250ms", arguments[0]);
  }
  return Action([parts, time = *time]() -> Answer {
    if (!parts.clock) {
      return base::Failed{std::string("advance: ") + kRealTime};
    }
    parts.clock->advance(time);
    return timeOf(*parts.clock);
  });
}

// A time line that moves the time would wait for itself.
Command notInTimelines(Command command) {
  command.check = [word = command.word](const Words& /*any*/) -> base::Result<void> {
    return base::Failed{word + " has no place in a time line"};
  };
  return command;
}

}  // namespace

std::vector<Command> programCommands(const ProgramParts& parts) {
  Command leaving = {
      "leave", "", 0, 0, "leave the bus, as a service that ends", [parts](const Words& /*none*/) {
        return leave(*parts.presence);
      }};
  leaving.cutsConnections = true;
  Command quitting = {"quit", "", 0, 0, "end velsim", [parts](const Words& /*none*/) -> Answer {
                        parts.quit();
                        return std::string();
                      }};
  quitting.cutsConnections = true;
  return {
      leaving,
      {"return", "", 0, 0, "come back to the bus after leave",
       [parts](const Words& /*none*/) { return comeBack(*parts.presence); }},
      quitting,
      notInTimelines(
          prepared({"step", "[COUNT]", 0, 1,
                    "with --step: move the time to the next entry of the time line"},
                   [parts](const Words& arguments) { return prepareStep(parts, arguments); })),
      notInTimelines(
          prepared({"advance", "TIME", 1, 1, "with --step: move the time, such as 1.5s or 250ms"},
                   [parts](const Words& arguments) { return prepareAdvance(parts, arguments); })),
  };
}

}  // namespace velsim
