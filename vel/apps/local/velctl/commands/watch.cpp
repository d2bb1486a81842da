// velctl watch: events.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/events.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/actions.h"
#include "vel/apps/local/velctl/run/event_command.h"

namespace velctl {
namespace {

using Clock = Session::Clock;
using Events = Inbox<SeenEvent>;

constexpr char kService[] = "service";
// Between two looks for a service that is away.
constexpr std::chrono::seconds kLookInterval{1};
// A VM that comes while the service runs is found so often.
constexpr std::chrono::seconds kLearnInterval{2};

// Which events the user wants, as far as an event alone shows it.
struct Filter {
  explicit Filter(const Values& values) : kinds(values.texts("--kind")), vms(values.texts("--vm")) {
    for (const std::string& vm : values.texts("VM")) {
      vms.push_back(vm);
    }
  }

  bool isKindWanted(const std::string& kind) const {
    return kinds.empty() || base::contains(kinds, kind);
  }

  bool isVmWanted(const AnyEvent& event) const {
    const EventVm vm = vmOf(event);
    if (vms.empty() || vm.number == vel::VmNumber()) {
      return vms.empty() || base::contains(vms, "");
    }
    return (!vm.name.empty() && base::contains(vms, vm.name)) ||
           base::contains(vms, std::to_string(vm.number.value()));
  }

  std::vector<std::string> kinds;  // empty: all
  std::vector<std::string> vms;    // names and numbers; empty: all
};

// The subscriptions, and what they bring. A call that has been given up may still use it.
class Arrivals {
 public:
  explicit Arrivals(Filter filter) : filter_(std::move(filter)) {}

  Arrivals(const Arrivals&) = delete;
  Arrivals& operator=(const Arrivals&) = delete;

  // Before anything else is asked of the client.
  void subscribe(const vel::Client& client) {
    const auto add = [this](const auto& event) { addEvent(event); };
    subscriptions_.push_back(client.onDevice(add));
    subscriptions_.push_back(client.onPrinter(add));
    subscriptions_.push_back(client.onNewDevice(add));
    subscriptions_.push_back(client.onDiagnosis(add));
    subscriptions_.push_back(client.onCommand(add));
    subscriptions_.push_back(client.onServiceDeath([this](const vel::ServiceDeath& death) {
      addChange({ServiceChange::State::kGone, death.vms, ""});
    }));
    subscriptions_.push_back(client.onServiceReturn([this](const vel::ServiceReturn& back) {
      std::vector<std::string> reasons;
      for (const vel::Error& failure : back.failures) {
        reasons.push_back(failure.message());
      }
      addChange({ServiceChange::State::kBack, back.vms, base::joined(reasons, "; ")});
    }));
  }

  // Also from outside: the library reports a return only after a death.
  void addChange(const ServiceChange& change) {
    events_.addAlways({std::chrono::system_clock::now(), change});
  }

  Events& events() { return events_; }

 private:
  template <typename Event>
  void addEvent(const Event& event) {
    SeenEvent seen{std::chrono::system_clock::now(), event};
    if (filter_.isKindWanted(kindOf(seen.event)) && filter_.isVmWanted(seen.event)) {
      events_.add(std::move(seen));
    }
  }

  const Filter filter_;
  Events events_;
  // The last: their callbacks use the others.
  std::vector<vel::Subscription> subscriptions_;
};

struct Learned {
  std::vector<std::string> vms;
  std::vector<std::string> unknownVms;
  std::vector<vel::Device> devices;
};

// Asks for the numbers of the VMs to watch, all or those named: the library drops events of VMs
// whose numbers it has not learned. And for the devices, which some events name by numbers only.
vel::Result<Learned> learnFrom(const vel::Client& client, const std::vector<std::string>& named) {
  const vel::Result<std::vector<vel::Vm>> vms = client.vms();
  if (!vms) {
    return vel::unexpected<vel::Error>(vms.error());
  }
  Learned learned;
  for (const vel::Vm& vm : *vms) {
    const std::string number = std::to_string(vm.number.value());
    if (named.empty() || base::contains(named, vm.name) || base::contains(named, number)) {
      const vel::Result<vel::VmNumber> known = client.vmNumber(vm.name);
      if (!known && !absenceIn(known.error()).empty()) {
        return vel::unexpected<vel::Error>(known.error());
      }
      learned.vms.push_back(vm.name);
    }
  }
  for (const std::string& name : named) {
    const bool isKnown = name.empty() || std::any_of(vms->begin(), vms->end(), [&](const auto& vm) {
                           return vm.name == name || std::to_string(vm.number.value()) == name;
                         });
    if (!isKnown) {
      learned.unknownVms.push_back(printableInQuotes(name));
    } else if (name.empty()) {
      learned.vms.push_back(name);
    }
  }
  // Without them their numbers are shown, which is no reason to fail.
  learned.devices = received(client.localDevices());
  return learned;
}

class Watch {
 public:
  explicit Watch(Invocation& invocation)
      : invocation_(invocation),
        filter_(invocation.values()),
        device_(invocation.values().optionalText("--device")),
        limit_(invocation.values().has("--once")
                   ? std::optional(1U)
                   : invocation.values().optionalNumber<std::uint32_t>("--limit")),
        arrivals_(std::make_shared<Arrivals>(filter_)) {
    if (const auto command = invocation.values().optionalText("--exec")) {
      command_.emplace(invocation.session(), *command);
    }
  }

  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  void run() {
    try {
      begin();
      while (!limit_ || count_ < *limit_) {
        next();
      }
    } catch (const Interrupted&) {
      // The event in hand is lost as well.
      noteDropped(arrivals_->events().remaining() + (isWriting_ ? 1 : 0));
      // The events that the user waits for have not come.
      if (limit_) {
        throw;
      }
    } catch (const OutputClosed&) {
      // As good an end as any.
    } catch (const TimeOver&) {
      if (limit_) {
        throw;
      }
    }
  }

 private:
  void begin() {
    const auto connected =
        invocation_.session().call({}, [arrivals = arrivals_](const vel::Client& client) {
          arrivals->subscribe(client);
          return client.connect();
        });
    if (connected) {
      learn();
    } else if (const std::string reason = absenceIn(connected.error()); !reason.empty()) {
      arrivals_->addChange({ServiceChange::State::kAbsent, {}, reason});
      awaitService();
    } else {
      invocation_.fail(connected.error());
    }
  }

  void awaitService() {
    isServiceThere_ = false;
    progress_.emplace("waiting for the service", std::chrono::seconds(0), output().isQuiet());
  }

  void next() {
    const auto seen =
        invocation_.session().next(arrivals_->events(), isServiceThere_ ? idle_ : *progress_,
                                   isServiceThere_ ? nextLearning_ : Clock::now() + kLookInterval);
    if (seen) {
      noteDropped(arrivals_->events().droppedBefore());
      take(*seen);
    } else if (!isServiceThere_) {
      lookForService();
    }
    if (isServiceThere_ && Clock::now() >= nextLearning_) {
      nextLearning_ = Clock::now() + kLearnInterval;
      learnNewVms();
    }
  }

  // The service reports events of a VM to clients that have named it, and no event a new VM.
  void learnNewVms() const {
    static_cast<void>(invocation_.session().call(
        {}, [named = filter_.vms](const vel::Client& client) { return learnFrom(client, named); }));
  }

  // After a death the connection brings the return as an event.
  void lookForService() {
    const auto connected =
        invocation_.session().call({}, [](const vel::Client& client) { return client.connect(); });
    if (connected && !hasDied_) {
      arrivals_->addChange({ServiceChange::State::kBack, {}, ""});
    }
  }

  void take(SeenEvent seen) {
    if (const auto* const change = std::get_if<ServiceChange>(&seen.event)) {
      takeChange(*change, seen);
      return;
    }
    if (const auto* const event = std::get_if<vel::DeviceEvent>(&seen.event)) {
      if (event->device.status == vel::DeviceStatus::kGone) {
        devices_.erase(event->device.number.value());
      } else {
        devices_[event->device.number.value()] = event->device;
      }
    } else if (const auto* const diagnosis = std::get_if<vel::DiagnosisEvent>(&seen.event)) {
      seen.device = deviceOf(diagnosis->id);
    } else if (const auto* const result = std::get_if<vel::NewDeviceEvent>(&seen.event)) {
      seen.device = device_ ? deviceOf(result->source.value()) : std::nullopt;
    }
    if (!device_ || isDeviceWanted(seen)) {
      ++count_;
      write(seen);
    }
  }

  void takeChange(const ServiceChange& change, const SeenEvent& seen) {
    if (filter_.isKindWanted(kService)) {
      write(seen);
    } else {
      output().note(describe(seen));
    }
    // Otherwise the watch would end with a restart of the service.
    count_ += base::contains(filter_.kinds, kService) ? 1 : 0;
    if (change.state == ServiceChange::State::kBack) {
      isServiceThere_ = true;
      hasDied_ = false;
      progress_.reset();
      learn();
    } else {
      hasDied_ = change.state == ServiceChange::State::kGone;
      awaitService();
      devices_.clear();
    }
  }

  void write(const SeenEvent& seen) {
    if (command_) {
      command_->run(jsonOf(seen));
      return;
    }
    isWriting_ = true;
    // Only one of them: events may come faster than both can be made.
    if (output().form() == Form::kJson) {
      output().json(jsonOf(seen));
    } else {
      output().text(lineOf(seen) + '\n');
    }
    isWriting_ = false;
  }

  void learn() {
    const auto learned = invocation_.session().call(
        {}, [named = filter_.vms](const vel::Client& client) { return learnFrom(client, named); });
    if (!learned) {
      // A service that has died meanwhile reports that as an event.
      const bool isAbsent = !absenceIn(learned.error()).empty() || !isThere();
      if (isAbsent) {
        return;
      }
      if (hasLearned_) {
        output().note(base::printable(learned.error().message()));
        return;
      }
      invocation_.fail(learned.error());
    }
    for (const vel::Device& device : learned->devices) {
      devices_[device.number.value()] = device;
    }
    if (!learned->unknownVms.empty()) {
      const std::string text = "the service has no VM " + base::joined(learned->unknownVms) +
                               "; velctl vm list shows its VMs";
      if (!hasLearned_) {
        invocation_.fail(kExitUnknown, text);
      }
      output().note(text);
    }
    if (!std::exchange(hasLearned_, true)) {
      std::vector<std::string> names;
      for (const std::string& vm : learned->vms) {
        names.push_back(displayName(vm));
      }
      output().note("watching " + (names.empty() ? displayName("") : base::joined(names)) +
                    "; interrupt to end");
    }
  }

  bool isThere() const {
    const auto connected =
        invocation_.session().call({}, [](const vel::Client& client) { return client.connect(); });
    return connected.has_value();
  }

  // The device with a number or a source id.
  std::optional<vel::Device> deviceOf(std::uint64_t id) const {
    for (const auto& [number, device] : devices_) {
      if (number == id || device.source.value() == id) {
        return device;
      }
    }
    return std::nullopt;
  }

  bool isDeviceWanted(const SeenEvent& seen) const {
    const auto isThat = [this](const vel::Device& device) {
      return device.name == *device_ || std::to_string(device.number.value()) == *device_;
    };
    if (const auto* const event = std::get_if<vel::DeviceEvent>(&seen.event)) {
      return isThat(event->device);
    }
    if (const auto* const event = std::get_if<vel::NewDeviceEvent>(&seen.event)) {
      return event->name == *device_ || (seen.device && isThat(*seen.device));
    }
    return seen.device && isThat(*seen.device);
  }

  void noteDropped(std::size_t count) const {
    if (command_) {
      Output::noteDropped(count, "event", "the command takes longer than the events");
    } else {
      Output::noteDropped(count, "event");
    }
  }

  const Output& output() const { return invocation_.output(); }

  Invocation& invocation_;
  const Filter filter_;
  const std::optional<std::string> device_;  // a number or a name
  const std::optional<std::uint32_t> limit_;
  std::optional<EventCommand> command_;
  const std::shared_ptr<Arrivals> arrivals_;
  std::uint32_t count_ = 0;
  bool isServiceThere_ = true;
  Clock::time_point nextLearning_ = Clock::now() + kLearnInterval;
  bool hasDied_ = false;
  bool hasLearned_ = false;
  bool isWriting_ = false;
  Progress idle_{"", std::chrono::seconds(0), true};
  std::optional<Progress> progress_;  // while the service is away
  // As the service has listed them, and as events have shown them since.
  std::map<std::uint16_t, vel::Device> devices_;
};

void watch(Invocation& invocation) {
  invocation.session().stopWithOutput();
  Watch(invocation).run();
}

std::string onceOrLimit(const Arguments& arguments) {
  return arguments.count("--once") != 0 && arguments.count("--limit") != 0
             ? "give --once or --limit, not both"
             : "";
}

Parameter deviceOption() {
  Parameter parameter = deviceArgument().optional().unresolved();
  parameter.name = "--device";
  parameter.help = "Only events of this device, by number or name";
  return parameter;
}

}  // namespace

std::vector<Command> watchCommands() {
  Action action = runs("", &watch);
  action.events = eventLines();
  return {
      {"watch",
       "Show events until interrupted",
       {thing(Kind::kVm, "VM", "As --vm").optional().repeated().unresolved(),
        thing(Kind::kVm, "--vm",
              "Only events of this VM, by name or number; \"\" is this machine; may be repeated")
            .repeated()
            .unresolved(),
        choice("--kind", eventKinds(), "Only events of this kind; may be repeated").repeated(),
        deviceOption(), flag("--once", "End after the first event"),
        wholeNumber("--limit", 1, std::numeric_limits<std::uint32_t>::max(),
                    "End after so many events"),
        text("--exec",
             "Run this command with sh for each event, which is the JSON object on its "
             "standard input")
            .notEmpty()},
       action,
       {{"watch --vm win11 --kind device", "What happens to the devices of win11"},
        {"watch --device Stick --once", "Wait for the next event of a device"},
        {"watch --json --kind service", "Ends and returns of the service, as JSON"},
        {"watch --exec 'jq -r .name >> names'", "Hand each event to a command"}},
       "An interrupt, a closed pipe and --timeout end a watch with exit status 0; with --once or "
       "--limit,\n"
       "an interrupt ends it with exit status 130 and --timeout with 5. When the service is gone, "
       "the watch says so and goes "
       "on with the\n"
       "next. This counts as an event for --once and --limit only with --kind service.\n"
       "\n"
       "With --exec, nothing else is written to standard output. The commands run one after the "
       "other; up to\n"
       "1000 events wait meanwhile. A command that fails is noted.",
       "",
       &onceOrLimit},
  };
}

}  // namespace velctl
