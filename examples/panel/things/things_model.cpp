#include "examples/panel/things/things_model.h"

#include <optional>
#include <utility>

#include "vel/client/advice.h"

namespace panel {

struct ThingsModel::Lists {
  std::vector<Thing> things;
  std::map<vel::DeviceType, bool> autoConnect;
};

struct ThingsModel::Outcome {
  std::optional<vel::Error> failure;
  std::optional<Thing> thing;  // as it is afterwards
};

ThingsModel::ThingsModel(Service& service) : service_(service) {
  const auto takeDevice =
      Service::whileThereIs<vel::DeviceEvent>(this, [this](const vel::DeviceEvent& event) {
        Thing thing = thingOf(event.device);
        if (event.code == vel::EventCode::kDeviceUnplugged) {
          thing.status = vel::DeviceStatus::kGone;
        }
        takeChange(thing);
      });
  service_.subscribe([takeDevice, executor = service_.executor()](const vel::Client& client) {
    return client.onDevice(takeDevice, executor);
  });
  const auto takePrinter = Service::whileThereIs<vel::PrinterEvent>(
      this, [this](const vel::PrinterEvent& event) { takeChange(thingOf(event.printer)); });
  service_.subscribe([takePrinter, executor = service_.executor()](const vel::Client& client) {
    return client.onPrinter(takePrinter, executor);
  });
  connect(&service_, &Service::readingBegins, this, [this] { changes_.clear(); });
  service_.addReading(this, &ThingsModel::readLists, &ThingsModel::takeLists);
}

const Thing* ThingsModel::find(const Number& number) const {
  const auto found = things_.find(number);
  return found == things_.end() ? nullptr : &found->second;
}

// --- Lists ---------------------------------------------------------------------------------------

vel::Result<ThingsModel::Lists> ThingsModel::readLists(const vel::Client& client) {
  Lists lists;
  const auto devices = client.localDevices();
  if (!devices) {
    return vel::unexpected<vel::Error>(devices.error());
  }
  const auto printers = client.printers("");
  if (!printers) {
    return vel::unexpected<vel::Error>(printers.error());
  }
  // Of all types: the first device of a type may be plugged in later. A service that refuses one,
  // or does not know it, attaches none of that type.
  for (const velprotocol::Meaning& type : velprotocol::kDeviceTypes) {
    const auto each = static_cast<vel::DeviceType>(type.number);
    const auto setting = client.autoConnect(each);
    if (!setting && !Service::isAnswer(setting.error())) {
      return vel::unexpected<vel::Error>(setting.error());
    }
    lists.autoConnect[each] = setting && *setting != 0;
  }
  for (const vel::Device& device : *devices) {
    lists.things.push_back(thingOf(device));
  }
  for (const vel::Printer& printer : *printers) {
    lists.things.push_back(thingOf(printer));
  }
  return lists;
}

void ThingsModel::takeLists(const Lists& lists) {
  autoConnect_ = lists.autoConnect;
  Things things;
  for (const Thing& thing : lists.things) {
    Thing& now = things[thing.number] = thing;
    now.isAutoConnected = isAutoConnected(now);
    if (const Thing* const before = find(thing.number)) {
      now.isBusy = before->isBusy;
      now.problem = before->problem;
      now.note = before->note;
    }
  }
  things_ = std::move(things);
  for (const Thing& change : std::exchange(changes_, {})) {
    apply(change);
  }
  emit thingsChanged();
}

// --- Events --------------------------------------------------------------------------------------

void ThingsModel::takeChange(const Thing& change) {
  if (service_.isReading()) {
    changes_.push_back(change);
  }
  const Thing* const before = find(change.number);
  const bool wasThere = before != nullptr;
  if (wasThere && before->isBusy) {
    reported_.insert(change.number);
  }
  apply(change);
  const bool isThere = find(change.number) != nullptr;
  if (wasThere != isThere) {
    emit thingsChanged();
  } else if (isThere) {
    emit thingChanged(change.number);
  }
}

void ThingsModel::apply(const Thing& change) {
  if (change.status == vel::DeviceStatus::kGone) {
    things_.erase(change.number);
    return;
  }
  Thing& thing = things_[change.number];
  // What an operation has left stays until the next one.
  const bool isBusy = thing.isBusy;
  const Problem problem = thing.isAttached() == change.isAttached() ? thing.problem : Problem();
  const QString note = thing.note;
  thing = change;
  thing.isBusy = isBusy;
  thing.note = note;
  thing.problem = problem;
  thing.isAutoConnected = isAutoConnected(thing);
}

bool ThingsModel::isAutoConnected(const Thing& thing) const {
  const auto setting = thing.type ? autoConnect_.find(*thing.type) : autoConnect_.end();
  return setting != autoConnect_.end() && setting->second;
}

// --- Operations ----------------------------------------------------------------------------------

void ThingsModel::attach(const Number& number, const std::string& vm) {
  const Thing* const thing = find(number);
  const std::string before = thing && thing->isAttached() ? thing->vm : std::string();
  if (before == vm) {
    return;
  }
  run(number, [number, vm, before](const vel::Client& client) {
    return std::visit(
        [&](auto each) {
          const vel::Result<void> detached =
              before.empty() ? vel::Result<void>() : client.detach(before, each);
          return detached ? client.attach(vm, each) : detached;
        },
        number);
  });
}

void ThingsModel::detach(const Number& number) {
  const Thing* const thing = find(number);
  run(number, [number, vm = thing ? thing->vm : std::string()](const vel::Client& client) {
    return std::visit([&](auto each) { return client.detach(vm, each); }, number);
  });
}

void ThingsModel::setPolicy(const Number& number, vel::LocalPolicy policy) {
  const Thing* const thing = find(number);
  const auto* const device = std::get_if<vel::DeviceNumber>(&number);
  if (thing && device) {
    run(number, [device = *device, policy, name = thing->fullName,
                 text = thing->policyText](const vel::Client& client) {
      return client.setLocalPolicy(device, policy, name, text);
    });
  }
}

void ThingsModel::setAutoConnect(const Number& number, bool isOn) {
  const Thing* const thing = find(number);
  if (thing && thing->type) {
    run(
        number,
        [type = *thing->type, isOn](const vel::Client& client) {
          return client.setAutoConnect(type, isOn ? 1 : 0);
        },
        Reach::kEverything);
  }
}

namespace {

Problem problemOf(vel::CameraStatus status) {
  switch (status) {
    case vel::CameraStatus::kAllowed:
      return {};
    case vel::CameraStatus::kDenied:
      return {ThingsModel::tr("Cameras must not be used on this machine."),
              ThingsModel::tr("Allow them in the privacy settings of the system.")};
    case vel::CameraStatus::kNone:
      return {ThingsModel::tr("The service has no camera."),
              ThingsModel::tr("Check that it is plugged in.")};
  }
  return {ThingsModel::tr("The service answered with camera status %1.").arg(vel::number(status)),
          ThingsModel::tr("See the service's log.")};
}

}  // namespace

void ThingsModel::checkCamera(const Number& number) {
  if (!begin(number)) {
    return;
  }
  const auto checked = [this, number](const vel::Result<vel::CameraStatus>& status) {
    const auto found = things_.find(number);
    if (found == things_.end()) {
      return;
    }
    Thing& thing = found->second;
    thing.isBusy = false;
    thing.problem = status ? problemOf(*status) : panel::problemOf(status.error());
    thing.note = thing.problem.isEmpty() ? tr("Cameras may be used.") : QString();
    emit thingChanged(number);
  };
  service_.start(
      this, [](const vel::Client& client) { return client.cameraStatus(); }, checked);
}

namespace {

template <typename Record>
bool isThere(const vel::Result<std::vector<Record>>& records) {
  // A record without a status would take the thing away, which is for an event to say.
  return records && !records->empty() && records->front().status != vel::DeviceStatus::kGone;
}

std::optional<Thing> read(const vel::Client& client, vel::DeviceNumber number) {
  const auto devices = client.device(number);
  return isThere(devices) ? std::optional(thingOf(devices->front())) : std::nullopt;
}

std::optional<Thing> read(const vel::Client& client, vel::PrinterNumber number) {
  const auto printers = client.printer(number);
  return isThere(printers) ? std::optional(thingOf(printers->front())) : std::nullopt;
}

}  // namespace

bool ThingsModel::begin(const Number& number) {
  const auto found = things_.find(number);
  if (found == things_.end() || found->second.isBusy || !service_.isReady()) {
    return false;
  }
  Thing& thing = found->second;
  thing.isBusy = true;
  thing.problem = {};
  thing.note.clear();
  reported_.erase(number);
  emit thingChanged(number);
  return true;
}

void ThingsModel::run(const Number& number, Operation operation, Reach reach) {
  if (!begin(number)) {
    return;
  }
  const auto operate = [number, operation](const vel::Client& client) -> vel::Result<Outcome> {
    const vel::Result<void> result = operation(client);
    Outcome outcome;
    if (!result) {
      outcome.failure = result.error();
    }
    if (result || Service::isAnswer(result.error())) {
      outcome.thing = std::visit([&](auto each) { return read(client, each); }, number);
    }
    return outcome;
  };
  service_.start(this, operate, [this, number, reach](const vel::Result<Outcome>& outcome) {
    finish(number, outcome ? *outcome : Outcome{outcome.error(), std::nullopt}, reach);
  });
}

void ThingsModel::finish(const Number& number, const Outcome& outcome, Reach reach) {
  const bool isReported = reported_.erase(number) != 0;
  bool isDisputed = false;
  const auto found = things_.find(number);
  if (found != things_.end()) {
    Thing& thing = found->second;
    thing.isBusy = false;
    if (outcome.thing) {
      // The event may be older than the record, or newer.
      isDisputed = isReported && thing.state() != outcome.thing->state();
      apply(*outcome.thing);
      if (service_.isReading()) {
        changes_.push_back(*outcome.thing);
      }
    }
    if (outcome.failure) {
      thing.problem = problemOf(*outcome.failure);
    }
    emit thingChanged(number);
  }
  if (!outcome.thing || isDisputed || reach == Reach::kEverything) {
    // Whether the service is there, and what it has done.
    service_.refresh();
  }
}

}  // namespace panel
