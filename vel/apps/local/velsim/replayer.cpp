#include "vel/apps/local/velsim/replayer.h"

#include <cmath>
#include <set>
#include <stdexcept>
#include <utility>

#include "vel/protocol/methods.h"
#include "vel/protocol/names.h"

namespace velsim {
namespace {

using Kind = RecordedLine::Kind;

// Those of events and answers, which are never masked.
qxbus::Values valuesOf(const RecordedLine& line) {
  qxbus::Values values;
  for (const MaskableValue& value : line.values) {
    if (value) {
      values.push_back(*value);
    }
  }
  return values;
}

}  // namespace

Replayer::Replayer(const ReplayOptions& options, std::vector<RecordedLine> lines, Log& log,
                   std::function<void(ExitCode)> fail)
    : address_(options.address),
      speed_(options.speed),
      log_(log),
      fail_(std::move(fail)),
      player_(options.file, std::move(lines), options.order),
      host_(makeHost()) {
  log_.write("ready at " + host_->place() + ", replaying " + options.file);
}

Replayer::~Replayer() {
  timer_.stop();
  vanish();
}

bool Replayer::hasDiffered() {
  const platform::MutexLock lock(mutex_);
  return hasDiffered_;
}

std::size_t Replayer::rest() {
  const platform::MutexLock lock(mutex_);
  return player_.rest();
}

std::unique_ptr<qxbus::ServiceHost> Replayer::makeHost() {
  std::vector<qxbus::Method> methods;
  const auto handler = [this](qxbus::Request request) { onRequest(std::move(request)); };
  for (const velprotocol::Method& method : velprotocol::kMethods) {
    methods.push_back({std::string(method.name), handler});
  }
  methods.push_back({qxbus::kAnyMethod, handler});
  auto host =
      std::make_unique<qxbus::ServiceHost>(address_, velprotocol::kServiceName, std::move(methods),
                                           std::vector<std::string>{velprotocol::kServiceEvent});
  host->setLostCallback([this] {
    log_.write("the bus closed the connection");
    fail_(kExitBusLost);
  });
  return host;
}

void Replayer::onRequest(qxbus::Request request) {
  const platform::MutexLock lock(mutex_);
  const Player::Taken taken = player_.take(request.method(), request.arguments());
  if (!taken.call) {
    if (!std::exchange(hasDiffered_, true)) {
      log_.write(taken.difference);
    }
    request.fail("the request differs from the recording: " + taken.difference);
    return;
  }
  log_.writeDetail("line " + std::to_string(taken.call->number) + ": " +
                   describe(taken.call->name, taken.call->values));
  waiting_.emplace(taken.call->id, std::move(request));
  for (const Player::Step& step : taken.steps) {
    plan(step.after, step.line);
  }
}

void Replayer::plan(std::chrono::microseconds after, const RecordedLine* line) {
  std::chrono::milliseconds delay{0};
  if (speed_ > 0) {
    delay =
        std::chrono::milliseconds(std::llround(static_cast<double>(after.count()) / 1000 / speed_));
  }
  timer_.after(delay, [this, line] { perform(*line); });
}

void Replayer::perform(const RecordedLine& line) {
  switch (line.kind) {
    case Kind::kCall:
      break;
    case Kind::kReply:
    case Kind::kError:
      answer(line);
      break;
    case Kind::kEvent:
      emit(line);
      break;
    case Kind::kGone:
      log_.writeDetail("line " + std::to_string(line.number) + ": the service goes");
      vanish();
      break;
    case Kind::kThere:
      log_.writeDetail("line " + std::to_string(line.number) + ": the service returns");
      appear();
      break;
  }
}

void Replayer::answer(const RecordedLine& line) {
  platform::MutexLock lock(mutex_);
  auto found = waiting_.extract(line.id);
  lock.unlock();
  if (found.empty()) {
    return;
  }
  if (line.kind == Kind::kError) {
    found.mapped().fail(line.text);
  } else {
    found.mapped().reply(valuesOf(line));
  }
}

void Replayer::emit(const RecordedLine& line) {
  if (host_ && line.isBroadcast) {
    host_->broadcast(line.name, valuesOf(line));
  } else if (host_) {
    host_->emitEvent(line.name, valuesOf(line));
  }
}

void Replayer::vanish() {
  host_.reset();
  std::map<std::uint64_t, qxbus::Request> unanswered;
  {
    const platform::MutexLock lock(mutex_);
    unanswered.swap(waiting_);
  }
  // They end with the connection.
  for (auto& [id, request] : unanswered) {
    request.drop();
  }
}

void Replayer::appear() {
  try {
    host_ = makeHost();
  } catch (const std::runtime_error& error) {
    log_.write(std::string("the service cannot return: ") + error.what());
    fail_(kExitNotServing);
  }
}

}  // namespace velsim
