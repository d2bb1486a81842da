#include "vel/apps/local/velsim/recording/player.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

#include "base/printable.h"
#include "vel/apps/local/velsim/recording/secrets.h"

namespace velsim {
namespace {

using Kind = RecordedLine::Kind;

bool isRepeatedBy(const RecordedLine& call, const std::string& method,
                  const qxbus::Values& arguments) {
  if (call.name != method || call.values.size() != arguments.size()) {
    return false;
  }
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool isAny = !call.values[i] || differsEachTime(method, i);
    // As JSON: a NaN is like itself there.
    if (!isAny && *call.values[i] != arguments[i] &&
        jsonOf(*call.values[i]) != jsonOf(arguments[i])) {
      return false;
    }
  }
  return true;
}

MaskableValues maskable(const qxbus::Values& values) {
  return MaskableValues(values.begin(), values.end());
}

}  // namespace

Player::Player(std::string file, std::vector<RecordedLine> lines, ReplayOrder order)
    : file_(std::move(file)), lines_(std::move(lines)), order_(order) {
  std::map<std::uint64_t, std::size_t> callOfId;
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::size_t current = kNone;  // the call that events follow
  for (const RecordedLine& line : lines_) {
    if (line.kind == Kind::kCall) {
      current = calls_.size();
      callOfId[line.id] = current;
      calls_.push_back({&line, {}, false});
      continue;
    }
    if (line.kind == Kind::kReply || line.kind == Kind::kError) {
      current = callOfId[line.id];
    }
    if (current != kNone) {
      calls_[current].steps.push_back({line.time - calls_[current].line->time, &line});
    } else if (line.kind == Kind::kEvent) {
      opening_.push_back({std::chrono::microseconds(0), &line});
    }
  }
}

Player::Call* Player::find(const std::string& method, const qxbus::Values& arguments) {
  for (Call& call : calls_) {
    if (!call.isTaken) {
      if (isRepeatedBy(*call.line, method, arguments)) {
        return &call;
      }
      if (order_ == ReplayOrder::kStrict) {
        return nullptr;
      }
    }
  }
  return nullptr;
}

std::string Player::differenceFrom(const std::string& method,
                                   const qxbus::Values& arguments) const {
  const RecordedLine* expected = nullptr;
  for (const Call& call : calls_) {
    const bool isCloser = order_ == ReplayOrder::kMatch && call.line->name == method &&
                          (!expected || expected->name != method);
    if (!call.isTaken && (!expected || isCloser)) {
      expected = call.line;
    }
  }
  MaskableValues got = maskable(arguments);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (isSecret(method, i, arguments[i])) {
      got[i].reset();
    }
  }
  const std::string came = "got " + describe(method, got);
  return base::printable(file_) +
         (expected ? ':' + std::to_string(expected->number) + ": expected " +
                         describe(expected->name, expected->values) + ", " + came
                   : ": expected no further request, " + came);
}

Player::Taken Player::take(const std::string& method, const qxbus::Values& arguments) {
  Taken taken;
  if (Call* const call = find(method, arguments)) {
    call->isTaken = true;
    taken.call = call->line;
    taken.steps = std::exchange(opening_, {});
    taken.steps.insert(taken.steps.end(), call->steps.begin(), call->steps.end());
  } else {
    taken.difference = differenceFrom(method, arguments);
  }
  return taken;
}

std::size_t Player::rest() const {
  return static_cast<std::size_t>(
      std::count_if(calls_.begin(), calls_.end(), [](const Call& call) { return !call.isTaken; }));
}

}  // namespace velsim
