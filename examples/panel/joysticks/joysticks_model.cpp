#include "examples/panel/joysticks/joysticks_model.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace panel {

struct JoysticksModel::Lists {
  std::vector<vel::Joystick> joysticks;
  std::vector<vel::JoystickMapping> mappings;
};

// Of an operation, with the lists as they are afterwards.
struct JoysticksModel::Outcome {
  std::optional<vel::Error> failure;
  std::optional<Lists> lists;
};

JoysticksModel::JoysticksModel(Service& service) : service_(service) {
  const auto reported = Service::whileThereIs<vel::JoystickEvent>(
      this, [this](const vel::JoystickEvent& /*event*/) { refresh(); });
  service_.subscribe([reported, executor = service_.executor()](const vel::Client& client) {
    return client.onJoystick(reported, executor);
  });
  connect(&service_, &Service::refreshed, this, &JoysticksModel::refresh);
}

JoystickEntry* JoysticksModel::find(vel::JoystickIndex joystick) {
  const auto found = std::find_if(
      joysticks_.begin(), joysticks_.end(),
      [joystick](const JoystickEntry& entry) { return entry.joystick.index == joystick; });
  return found == joysticks_.end() ? nullptr : &*found;
}

// --- Lists ---------------------------------------------------------------------------------------

void JoysticksModel::refresh() {
  if (isReading_) {
    isReadingWanted_ = true;
  } else if (service_.isReady()) {
    isReading_ = true;
    service_.start(this, &JoysticksModel::readLists,
                   [this](const vel::Result<Lists>& lists) { takeReading(lists); });
  }
}

vel::Result<JoysticksModel::Lists> JoysticksModel::readLists(const vel::Client& client) {
  const auto joysticks = client.joysticks();
  if (!joysticks) {
    return vel::unexpected<vel::Error>(joysticks.error());
  }
  const auto mappings = client.joystickMappings();
  if (!mappings) {
    return vel::unexpected<vel::Error>(mappings.error());
  }
  return Lists{*joysticks, *mappings};
}

void JoysticksModel::takeReading(const vel::Result<Lists>& lists) {
  isReading_ = false;
  problem_ = lists ? Problem() : problemOf(lists.error());
  if (lists) {
    takeLists(*lists);
  }
  emit changed();
  if (std::exchange(isReadingWanted_, false)) {
    refresh();
  }
}

void JoysticksModel::takeLists(const Lists& lists) {
  mappings_ = lists.mappings;
  std::vector<JoystickEntry> joysticks;
  for (const vel::Joystick& joystick : lists.joysticks) {
    const JoystickEntry* const before = find(joystick.index);
    JoystickEntry entry = before ? *before : JoystickEntry();
    entry.joystick = joystick;
    joysticks.push_back(std::move(entry));
  }
  joysticks_ = std::move(joysticks);
}

// --- Operations ----------------------------------------------------------------------------------

void JoysticksModel::setMapping(vel::JoystickIndex joystick, vel::MappingIndex mapping) {
  run(joystick, [joystick, mapping](const vel::Client& client) {
    return client.setJoystickMapping(joystick, mapping);
  });
}

void JoysticksModel::calibrate(vel::JoystickIndex joystick) {
  run(joystick,
      [joystick](const vel::Client& client) { return client.calibrateJoystick(joystick); });
}

void JoysticksModel::run(vel::JoystickIndex joystick, const Operation& operation) {
  JoystickEntry* const entry = find(joystick);
  if (!entry || entry->isBusy || !service_.isReady()) {
    return;
  }
  entry->isBusy = true;
  entry->problem = {};
  emit changed();
  const auto operate = [operation](const vel::Client& client) -> vel::Result<Outcome> {
    const vel::Result<void> result = operation(client);
    if (!result && !Service::isAnswer(result.error())) {
      return vel::unexpected<vel::Error>(result.error());
    }
    const vel::Result<Lists> lists = readLists(client);
    return Outcome{result ? std::nullopt : std::optional(result.error()),
                   lists ? std::optional(*lists) : std::nullopt};
  };
  service_.start(this, operate, [this, joystick](const vel::Result<Outcome>& outcome) {
    finish(joystick, outcome ? *outcome : Outcome{outcome.error(), std::nullopt});
  });
}

void JoysticksModel::finish(vel::JoystickIndex joystick, const Outcome& outcome) {
  if (JoystickEntry* const entry = find(joystick)) {
    entry->isBusy = false;
    entry->problem = outcome.failure ? problemOf(*outcome.failure) : Problem();
  }
  if (outcome.lists) {
    takeLists(*outcome.lists);
  }
  // A reading under way may have been answered before.
  isReadingWanted_ = isReading_;
  emit changed();
}

}  // namespace panel
