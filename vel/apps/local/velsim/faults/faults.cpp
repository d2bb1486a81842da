#include "vel/apps/local/velsim/faults/faults.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <utility>

namespace velsim {
namespace {

// The number of a fault, or the default of its kind.
std::uint64_t numberOf(const Fault& fault) {
  return fault.number.value_or(rowOf(fault.kind).usual);
}

void treat(Treatment& treatment, const Fault& fault, int number, std::uint64_t call) {
  treatment.faults += (treatment.faults.empty() ? "" : ", ") + describe(fault);
  switch (fault.kind) {
    case FaultKind::kDelay:
      treatment.delay += std::chrono::milliseconds(numberOf(fault));
      break;
    case FaultKind::kNoAnswer:
      treatment.isDropped = true;
      break;
    case FaultKind::kError:
      treatment.error = fault.text;
      break;
    case FaultKind::kWrongReplyType:
      treatment.hasAnotherType = true;
      break;
    case FaultKind::kDeathBefore:
      treatment.diesBefore = true;
      break;
    case FaultKind::kDeathAfter:
      treatment.diesAfter = true;
      break;
    case FaultKind::kEventFlood:
      treatment.floods.push_back({number, numberOf(fault)});
      break;
    default:
      treatment.distortions.emplace_back(fault.kind, numberOf(fault), call);
      break;
  }
}

}  // namespace

Faults::Faults(std::function<void(const std::string& line)> report) : report_(std::move(report)) {}

int Faults::add(Fault fault) {
  std::string seed;
  int number = 0;
  {
    const platform::MutexLock lock(mutex_);
    number = ++last_;
    if (fault.kind == FaultKind::kRandomBlocks && !fault.number) {
      fault.number = std::random_device()();
    }
    if (fault.kind == FaultKind::kRandomBlocks) {
      seed = std::to_string(*fault.number);
    }
    active_[number] = {std::move(fault), 0, 0};
  }
  if (!seed.empty()) {
    report_("fault " + std::to_string(number) + ": seed " + seed);
  }
  return number;
}

bool Faults::clear(int number) {
  const platform::MutexLock lock(mutex_);
  return active_.erase(number) > 0;
}

void Faults::clearAll() {
  const platform::MutexLock lock(mutex_);
  active_.clear();
}

bool Faults::isSet(int number) const {
  const platform::MutexLock lock(mutex_);
  return active_.count(number) > 0;
}

std::string Faults::list() const {
  std::string text;
  const platform::MutexLock lock(mutex_);
  for (const auto& [number, active] : active_) {
    char columns[128];
    std::snprintf(columns, sizeof columns, "%3d  %-24s  %-8s  ", number,
                  active.fault.method.c_str(), textOf(active.fault.calls).c_str());
    text += columns + describe(active.fault) + "; met " + std::to_string(active.met) + " of " +
            std::to_string(active.counted) + "\n";
  }
  return text;
}

std::chrono::milliseconds Faults::startDelay() const {
  std::chrono::milliseconds delay{0};
  const platform::MutexLock lock(mutex_);
  for (const auto& [number, active] : active_) {
    if (active.fault.kind == FaultKind::kSlowStart) {
      delay += std::chrono::milliseconds(numberOf(active.fault));
    }
  }
  return delay;
}

bool Faults::meets(Active& active) {
  const bool isMet = active.fault.calls.has(++active.counted);
  active.met += isMet ? 1 : 0;
  return isMet;
}

Treatment Faults::onCall(const std::string& method) {
  Treatment treatment;
  const platform::MutexLock lock(mutex_);
  for (auto& [number, active] : active_) {
    const Fault& fault = active.fault;
    const bool concerns = fault.method == method || fault.method == kEveryMethod;
    if (concerns && fault.kind != FaultKind::kSlowStart && meets(active)) {
      treat(treatment, fault, number, active.counted);
    }
  }
  return treatment;
}

std::vector<BusEvent> Faults::onEvent(BusEvent event) {
  const platform::MutexLock lock(mutex_);
  bool isDuplicate = false;
  bool isHeld = false;
  for (auto& [number, active] : active_) {
    if (active.fault.method != kMethodOfEvents || !meets(active)) {
      continue;
    }
    isDuplicate = isDuplicate || active.fault.kind == FaultKind::kDuplicateEvents;
    isHeld = isHeld || active.fault.kind == FaultKind::kReorderedEvents;
    const velprotocol::Event* const row = velprotocol::findEvent(event.code);
    event.record = Distortion(active.fault.kind, numberOf(active.fault), active.counted)
                       .block(std::move(event.record), row ? row->record : nullptr);
  }
  // One that waits goes behind this one, which then does not wait itself.
  std::vector<BusEvent> sent(isDuplicate ? 2 : 1, event);
  if (held_.empty() && isHeld) {
    held_ = std::move(sent);
    return {};
  }
  std::move(held_.begin(), held_.end(), std::back_inserter(sent));
  held_.clear();
  return sent;
}

std::vector<BusEvent> Faults::takeHeldEvents() {
  const platform::MutexLock lock(mutex_);
  return std::exchange(held_, {});
}

}  // namespace velsim
