#include "examples/panel/panel_model.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <QPointer>

#include "vel/client/qt.h"

namespace panel {

// The client, and its subscriptions. Opening it waits for the bus.
struct PanelModel::Link {
  vel::Client client;
  std::vector<vel::Subscription> subscriptions;
};

struct PanelModel::Lists {
  std::vector<std::string> vms;
  std::vector<Thing> things;
  std::map<vel::DeviceType, bool> autoConnect;
};

struct PanelModel::Outcome {
  std::optional<vel::Error> failure;
  std::optional<Thing> thing;  // as it is afterwards
};

PanelModel::PanelModel(std::chrono::milliseconds retryInterval) : executor_(vel::on(*this)) {
  retry_.setSingleShot(true);
  retry_.setInterval(retryInterval);
  connect(&retry_, &QTimer::timeout, this, &PanelModel::refresh);
  open();
}

PanelModel::~PanelModel() = default;

template <typename Argument>
std::function<void(const Argument&)> PanelModel::inLoop(
    void (PanelModel::*member)(const Argument&)) {
  return [self = QPointer<PanelModel>(this), member](const Argument& argument) {
    if (self) {
      (self->*member)(argument);
    }
  };
}

const Thing* PanelModel::find(const Number& number) const {
  const auto found = things_.find(number);
  return found == things_.end() ? nullptr : &found->second;
}

// --- The service ---------------------------------------------------------------------------------

void PanelModel::open() {
  if (isOpening_) {
    return;
  }
  isOpening_ = true;
  const auto takeThing = inLoop(&PanelModel::takeChange);
  const auto onDevice = [takeThing](const vel::DeviceEvent& event) {
    Thing thing = thingOf(event.device);
    if (event.code == vel::EventCode::kDeviceUnplugged) {
      thing.status = vel::DeviceStatus::kGone;
    }
    takeThing(thing);
  };
  const auto onPrinter = [takeThing](const vel::PrinterEvent& event) {
    takeThing(thingOf(event.printer));
  };
  const QPointer<PanelModel> self(this);
  const auto onDeath = [self](const vel::ServiceDeath&) {
    if (self) {
      self->takeDeath();
    }
  };
  const auto onReturn = [self](const vel::ServiceReturn&) {
    if (self) {
      self->refresh();
    }
  };
  const auto connected = [self](const vel::Result<std::shared_ptr<Link>>& link) {
    if (!self) {
      return;
    }
    self->isOpening_ = false;
    if (link) {
      self->link_ = *link;
      self->refresh();
    } else {
      self->setService(Service::kUnavailable, problemOf(link.error()));
    }
  };
  const auto connect = [=, executor = executor_]() -> vel::Result<std::shared_ptr<Link>> {
    auto link = std::make_shared<Link>();
    const vel::Client& client = link->client;
    link->subscriptions.push_back(client.onDevice(onDevice, executor));
    link->subscriptions.push_back(client.onPrinter(onPrinter, executor));
    link->subscriptions.push_back(client.onServiceDeath(onDeath, executor));
    link->subscriptions.push_back(client.onServiceReturn(onReturn, executor));
    return link;
  };
  vel::Task<std::shared_ptr<Link>>(connect, {}, connected, executor_).detach();
}

void PanelModel::setService(Service service, const Problem& problem) {
  const bool isChange = service != service_ || problem.text() != problem_.text();
  service_ = service;
  problem_ = problem;
  if (service == Service::kUnavailable) {
    retry_.start();
  } else {
    retry_.stop();
  }
  if (isChange) {
    emit serviceChanged();
  }
}

void PanelModel::takeDeath() {
  isReadingStale_ = isReading_;
  setService(Service::kUnavailable,
             problemOf(vel::Error(vel::ErrorKind::kNoService, "", "the service has ended")));
}

// --- Lists ---------------------------------------------------------------------------------------

void PanelModel::refresh() {
  if (!link_) {
    open();
    return;
  }
  if (isReading_) {
    isReadingWanted_ = true;
    return;
  }
  isReading_ = true;
  link_->client.start(&PanelModel::readLists, inLoop(&PanelModel::takeLists), executor_).detach();
}

vel::Result<PanelModel::Lists> PanelModel::readLists(const vel::Client& client) {
  // Notices a service that is back sooner than the library does.
  if (const vel::Result<void> connected = client.connect(); !connected) {
    return vel::unexpected<vel::Error>(connected.error());
  }
  Lists lists;
  const auto vms = client.vms();
  if (!vms) {
    return vel::unexpected<vel::Error>(vms.error());
  }
  for (const vel::Vm& vm : *vms) {
    lists.vms.push_back(vm.name);
    // The service reports the events of VMs that have been named to it.
    if (const auto number = client.vmNumber(vm.name); !number) {
      return vel::unexpected<vel::Error>(number.error());
    }
  }
  std::sort(lists.vms.begin(), lists.vms.end());
  const auto devices = client.localDevices();
  if (!devices) {
    return vel::unexpected<vel::Error>(devices.error());
  }
  const auto printers = client.printers("");
  if (!printers) {
    return vel::unexpected<vel::Error>(printers.error());
  }
  for (const vel::Device& device : *devices) {
    lists.things.push_back(thingOf(device));
    if (lists.autoConnect.count(device.type) == 0) {
      const auto setting = client.autoConnect(device.type);
      if (!setting) {
        return vel::unexpected<vel::Error>(setting.error());
      }
      lists.autoConnect[device.type] = *setting != 0;
    }
  }
  for (const vel::Printer& printer : *printers) {
    lists.things.push_back(thingOf(printer));
  }
  return lists;
}

void PanelModel::takeLists(const vel::Result<Lists>& lists) {
  isReading_ = false;
  const std::vector<Thing> changes = std::exchange(changes_, {});
  const bool isWanted = std::exchange(isReadingWanted_, false);
  if (std::exchange(isReadingStale_, false)) {
    refresh();
    return;
  }
  if (!lists) {
    setService(Service::kUnavailable, problemOf(lists.error()));
  } else {
    autoConnect_ = lists->autoConnect;
    Things things;
    for (const Thing& thing : lists->things) {
      Thing& now = things[thing.number] = thing;
      now.isAutoConnected = isAutoConnected(now);
      if (const Thing* const before = find(thing.number)) {
        now.isBusy = before->isBusy;
        now.problem = before->problem;
      }
    }
    things_ = std::move(things);
    for (const Thing& change : changes) {
      apply(change);
    }
    if (std::exchange(vms_, lists->vms) != lists->vms) {
      emit vmsChanged();
    }
    emit thingsChanged();
    setService(Service::kReady, {});
  }
  if (isWanted) {
    refresh();
  }
}

// --- Events --------------------------------------------------------------------------------------

void PanelModel::takeChange(const Thing& change) {
  if (isReading_) {
    changes_.push_back(change);
  }
  reported_.insert(change.number);
  const bool wasThere = find(change.number) != nullptr;
  apply(change);
  const bool isThere = find(change.number) != nullptr;
  if (wasThere != isThere) {
    emit thingsChanged();
  } else if (isThere) {
    emit thingChanged(change.number);
  }
}

void PanelModel::apply(const Thing& change) {
  if (change.status == vel::DeviceStatus::kGone) {
    things_.erase(change.number);
    return;
  }
  Thing& thing = things_[change.number];
  // What an operation has left stays until the next one.
  const bool isBusy = thing.isBusy;
  const Problem problem = thing.isAttached() == change.isAttached() ? thing.problem : Problem();
  thing = change;
  thing.isBusy = isBusy;
  thing.problem = problem;
  thing.isAutoConnected = isAutoConnected(thing);
}

bool PanelModel::isAutoConnected(const Thing& thing) const {
  const auto setting = thing.type ? autoConnect_.find(*thing.type) : autoConnect_.end();
  return setting != autoConnect_.end() && setting->second;
}

// --- Operations ----------------------------------------------------------------------------------

void PanelModel::attach(const Number& number, const std::string& vm) {
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

void PanelModel::detach(const Number& number) {
  const Thing* const thing = find(number);
  run(number, [number, vm = thing ? thing->vm : std::string()](const vel::Client& client) {
    return std::visit([&](auto each) { return client.detach(vm, each); }, number);
  });
}

void PanelModel::setPolicy(const Number& number, vel::LocalPolicy policy) {
  const Thing* const thing = find(number);
  const auto* const device = std::get_if<vel::DeviceNumber>(&number);
  if (thing && device) {
    run(number, [device = *device, policy, name = thing->fullName,
                 text = thing->policyText](const vel::Client& client) {
      return client.setLocalPolicy(device, policy, name, text);
    });
  }
}

void PanelModel::setAutoConnect(const Number& number, bool isOn) {
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

// Whether the service has answered, so that another request may be worth its time.
bool hasAnswered(const vel::Result<void>& result) {
  return result || result.error().kind() == vel::ErrorKind::kRefused ||
         result.error().kind() == vel::ErrorKind::kErrorReply;
}

}  // namespace

void PanelModel::run(const Number& number, Operation operation, Reach reach) {
  const auto found = things_.find(number);
  if (found == things_.end() || found->second.isBusy || service_ != Service::kReady) {
    return;
  }
  found->second.isBusy = true;
  found->second.problem = {};
  reported_.erase(number);
  emit thingChanged(number);
  const auto operate = [number, operation](const vel::Client& client) -> vel::Result<Outcome> {
    const vel::Result<void> result = operation(client);
    Outcome outcome;
    if (!result) {
      outcome.failure = result.error();
    }
    if (hasAnswered(result)) {
      outcome.thing = std::visit([&](auto each) { return read(client, each); }, number);
    }
    return outcome;
  };
  const auto finished = [self = QPointer<PanelModel>(this), number,
                         reach](const vel::Result<Outcome>& outcome) {
    if (self) {
      self->finish(number, outcome ? *outcome : Outcome{outcome.error(), std::nullopt}, reach);
    }
  };
  link_->client.start(operate, finished, executor_).detach();
}

void PanelModel::finish(const Number& number, const Outcome& outcome, Reach reach) {
  const bool isReported = reported_.count(number) != 0;
  bool isDisputed = false;
  const auto found = things_.find(number);
  if (found != things_.end()) {
    Thing& thing = found->second;
    thing.isBusy = false;
    if (outcome.thing) {
      // The event may be older than the record, or newer.
      isDisputed = isReported && thing.state() != outcome.thing->state();
      apply(*outcome.thing);
      if (isReading_) {
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
    refresh();
  }
}

}  // namespace panel
