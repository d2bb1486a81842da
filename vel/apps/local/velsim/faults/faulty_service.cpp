#include "vel/apps/local/velsim/faults/faulty_service.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "vel/protocol/methods.h"

namespace velsim {
namespace {

// How long an event waits for the next one when both are to change places.
constexpr std::chrono::milliseconds kLongestHold{100};
constexpr std::chrono::milliseconds kFloodStep{10};
constexpr std::uint64_t kStepsPerSecond = 100;

velprotocol::ArgumentList replyOf(const std::string& method) {
  const velprotocol::Method* const row = velprotocol::find(method);
  return velprotocol::ArgumentList(row ? row->reply : std::string_view());
}

// Not the type that a reader of the reply expects first.
FaultyAnswer::OtherType otherType(const qxbus::Values& values) {
  if (!values.empty() && std::holds_alternative<std::string>(values.front())) {
    return {"i", {std::int32_t{7}}};
  }
  return {"s", {std::string("velsim")}};
}

FaultyAnswer treated(const Treatment& treatment, const std::string& method,
                     const Simulator::Answer& given) {
  FaultyAnswer answer;
  answer.faults = treatment.faults;
  if (treatment.isDropped) {
    answer.content = FaultyAnswer::None();
    return answer;
  }
  if (const auto* const error = std::get_if<Simulator::Error>(&given)) {
    answer.content = *error;
    return answer;
  }
  qxbus::Values values = std::get<qxbus::Values>(given);
  for (Distortion distortion : treatment.distortions) {
    values = distortion.reply(std::move(values), replyOf(method));
  }
  if (treatment.hasAnotherType) {
    answer.content = otherType(values);
  } else {
    answer.content = std::move(values);
  }
  return answer;
}

BusEvent floodEvent(std::uint64_t number) {
  Device device;
  device.name = "flood " + std::to_string(number);
  return busEventOf({0, DeviceEvent{DeviceChange::kAltered, device}});
}

}  // namespace

FaultyService::FaultyService(Simulator& simulator, Faults& faults, Process process)
    : simulator_(simulator), faults_(faults), process_(std::move(process)) {}

FaultyService::~FaultyService() {
  stop();
}

void FaultyService::stop() {
  simulator_.setEventSink(nullptr);
  {
    const platform::MutexLock lock(gate_->mutex);
    gate_->isOpen = false;
  }
  timer_.stop();
}

void FaultyService::answer(const std::string& method, const qxbus::Values& arguments,
                           Respond respond) {
  Treatment treatment = faults_.onCall(method);
  startFloods(treatment);
  if (treatment.diesBefore) {
    process_.die();
    respond({FaultyAnswer::None(), treatment.faults});
    return;
  }
  if (treatment.error) {
    deliver(treatment, method, Simulator::Error{*treatment.error}, respond);
    return;
  }
  simulator_.answer(method, arguments,
                    [this, gate = gate_, treatment = std::move(treatment), method,
                     respond = std::move(respond)](const Simulator::Answer& given) {
                      const platform::MutexLock lock(gate->mutex);
                      if (gate->isOpen) {
                        deliver(treatment, method, given, respond);
                      }
                    });
}

void FaultyService::deliver(const Treatment& treatment, const std::string& method,
                            const Simulator::Answer& given, const Respond& respond) {
  const auto give = [this, answer = treated(treatment, method, given), respond,
                     dies = treatment.diesAfter] {
    respond(answer);
    if (dies) {
      process_.flush();
      process_.die();
    }
  };
  if (treatment.delay.count() > 0) {
    timer_.after(treatment.delay, give);
  } else {
    give();
  }
}

void FaultyService::setEventSink(Simulator::EventSink sink) {
  {
    const platform::MutexLock lock(mutex_);
    sink_ = std::make_shared<const Simulator::EventSink>(std::move(sink));
  }
  simulator_.setEventSink([this](const BusEvent& event) {
    const std::vector<BusEvent> sent = faults_.onEvent(event);
    for (const BusEvent& each : sent) {
      send(each);
    }
    if (sent.empty()) {
      timer_.after(kLongestHold, [this] {
        for (const BusEvent& held : faults_.takeHeldEvents()) {
          send(held);
        }
      });
    }
  });
}

void FaultyService::send(const BusEvent& event) {
  std::shared_ptr<const Simulator::EventSink> sink;
  {
    const platform::MutexLock lock(mutex_);
    sink = sink_;
  }
  if (sink) {
    (*sink)(event);
  }
}

void FaultyService::startFloods(const Treatment& treatment) {
  for (const Treatment::Flood& each : treatment.floods) {
    timer_.after(std::chrono::milliseconds(0),
                 [this, each] { flood(each.fault, each.perSecond, 0); });
  }
}

void FaultyService::flood(int fault, std::uint64_t perSecond, std::uint64_t step) {
  if (!faults_.isSet(fault)) {
    return;
  }
  const std::uint64_t last = (step + 1) * perSecond / kStepsPerSecond;
  for (std::uint64_t number = step * perSecond / kStepsPerSecond; number < last; ++number) {
    send(floodEvent(number));
  }
  timer_.after(kFloodStep, [this, fault, perSecond, step] { flood(fault, perSecond, step + 1); });
}

}  // namespace velsim
