#include "vel/apps/local/velsim/service/simulator.h"

#include <future>
#include <optional>
#include <utility>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/scenario/scenario.h"
#include "vel/apps/local/velsim/service/timer_thread.h"
#include "vel/protocol/methods.h"

namespace velsim {

std::vector<MethodRow> allMethods() {
  std::vector<MethodRow> all;
  for (const std::vector<MethodRow>* const rows :
       {&sessionMethods(), &deviceMethods(), &newDeviceMethods(), &policyMethods(),
        &printerMethods(), &sharedPrinterMethods(), &printQueueMethods(), &joystickMethods(),
        &diagnosisMethods(), &serviceCommandMethods(), &streamReportMethods()}) {
    all.insert(all.end(), rows->begin(), rows->end());
  }
  return all;
}

Simulator::Simulator() : Simulator(std::make_unique<TimerThread>()) {}

Simulator::Simulator(std::unique_ptr<Scheduler> scheduler)
    : Simulator(builtInScenario().setup, std::move(scheduler)) {}

Simulator::Simulator(Setup setup, std::unique_ptr<Scheduler> scheduler)
    : machine_(std::move(setup)), scheduler_(std::move(scheduler)) {
  const platform::MutexLock lock(mutex_);
  machine_.settle();
}

const std::map<std::string, Simulator::Method>& Simulator::methodsByName() {
  static const std::map<std::string, Method> table = [] {
    std::map<std::string, Method> methods;
    for (const MethodRow& row : allMethods()) {
      if (const velprotocol::Method* const method = velprotocol::find(row.name)) {
        methods.emplace(row.name, Method{Signature(method->arguments), row.answer});
      }
    }
    return methods;
  }();
  return table;
}

Simulator::~Simulator() {
  scheduler_->stop();
}

std::vector<std::string> Simulator::methods() const {
  std::vector<std::string> names;
  for (const auto& [name, method] : methodsByName()) {
    names.push_back(name);
  }
  return names;
}

void Simulator::answer(const std::string& method, const qxbus::Values& arguments, Respond respond) {
  const auto known = methodsByName().find(method);
  if (known == methodsByName().end()) {
    respond(Error{method + ": no such method"});
    return;
  }
  const Method& called = known->second;
  if (const std::optional<std::string> wrong = called.takes.mismatch(arguments)) {
    respond(Error{method + ": " + *wrong});
    return;
  }
  if (const auto* const command = std::get_if<ServiceCommand>(&called.answer)) {
    run(*command, arguments, respond);
    return;
  }
  const platform::MutexLock lock(mutex_);
  if (const auto* const atOnce = std::get_if<AnswerAtOnce>(&called.answer)) {
    respond((*atOnce)(machine_, arguments));
  } else {
    begin(std::get<AnswerLater>(called.answer)(machine_, arguments), std::move(respond));
  }
  settle();
}

Simulator::Answer Simulator::answer(const std::string& method, const qxbus::Values& arguments) {
  const auto answered = std::make_shared<std::promise<Answer>>();
  answer(method, arguments, [answered](const Answer& given) { answered->set_value(given); });
  return answered->get_future().get();
}

void Simulator::setEventSink(EventSink sink) {
  const platform::MutexLock lock(mutex_);
  sink_ = std::move(sink);
  settle();
}

void Simulator::setCommands(CommandRunner* commands) {
  const platform::MutexLock lock(mutex_);
  commands_ = commands;
}

void Simulator::change(const std::function<void(MachineState& machine)>& action) {
  const platform::MutexLock lock(mutex_);
  action(machine_);
  settle();
}

void Simulator::read(const std::function<void(const MachineState& machine)>& reader) const {
  const platform::MutexLock lock(mutex_);
  reader(machine_);
}

void Simulator::begin(Later later, Respond respond) {
  const std::uint64_t id = ++lastWaiting_;
  scheduler_->after(later.after, [this, id] {
    const platform::MutexLock lock(mutex_);
    const auto due = waiting_.find(id);
    if (due != waiting_.end()) {
      const Waiting given = std::move(due->second);
      waiting_.erase(due);
      given.respond(given.later.answer(machine_));
      settle();
    }
  });
  waiting_.emplace(id, Waiting{std::move(later), std::move(respond)});
}

void Simulator::giveDueAnswers() {
  for (auto next = waiting_.begin(); next != waiting_.end();) {
    if (next->second.later.isDue(machine_)) {
      const Waiting given = std::move(next->second);
      next = waiting_.erase(next);
      given.respond(given.later.answer(machine_));
    } else {
      ++next;
    }
  }
}

void Simulator::settle() {
  machine_.settle();
  giveDueAnswers();
  for (MachineState::Plan& plan : machine_.takePlans()) {
    scheduler_->after(plan.after, [this, action = std::move(plan.action)] { change(action); });
  }
  for (const Event& event : machine_.events.take()) {
    unsent_.push_back(busEventOf(event));
    unsent_.back().vmName = machine_.vms.nameOf(event.vm);
  }
  if (sink_) {
    for (const BusEvent& event : std::exchange(unsent_, {})) {
      sink_(event);
    }
  }
}

}  // namespace velsim
