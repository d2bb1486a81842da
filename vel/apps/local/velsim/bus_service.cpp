#include "vel/apps/local/velsim/bus_service.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "vel/protocol/names.h"

namespace velsim {
namespace {

constexpr std::chrono::seconds kLastWords{1};

void give(qxbus::Request& request, const FaultyAnswer& answer) {
  if (const auto* const values = std::get_if<qxbus::Values>(&answer.content)) {
    request.reply(*values);
  } else if (const auto* const error = std::get_if<Simulator::Error>(&answer.content)) {
    request.fail(error->text);
  } else if (const auto* const other = std::get_if<FaultyAnswer::OtherType>(&answer.content)) {
    request.replyAs(other->signature, other->values);
  } else {
    request.drop();
  }
}

// A fault may leave no values, or others than the service has.
LogLine answeredLine(const RequestLine& request, const FaultyAnswer& answer) {
  const auto* const values = std::get_if<qxbus::Values>(&answer.content);
  const auto* const error = std::get_if<Simulator::Error>(&answer.content);
  LogLine line = request.with(error ? Simulator::Answer(*error)
                                    : Simulator::Answer(values ? *values : qxbus::Values()));
  if (!answer.faults.empty()) {
    line.text += " (fault: " + answer.faults + ")";
    line.json["fault"] = answer.faults;
  }
  return line;
}

void answer(const Simulator& simulator, FaultyService& service, Log& log, qxbus::Request request) {
  const auto kept = std::make_shared<qxbus::Request>(std::move(request));
  std::shared_ptr<const RequestLine> line;
  if (log.hasDetails()) {
    line = std::make_shared<const RequestLine>(simulator, kept->method(), kept->arguments());
  }
  const auto respond = [kept, line, &log](const FaultyAnswer& given) {
    if (line) {
      log.writeDetail(answeredLine(*line, given));
    }
    give(*kept, given);
  };
  service.answer(kept->method(), kept->arguments(), respond);
}

std::vector<qxbus::Method> methodsOf(const Simulator& simulator, FaultyService& service, Log& log) {
  std::vector<qxbus::Method> methods;
  for (const std::string& name : simulator.methods()) {
    methods.push_back({name, [&simulator, &service, &log](qxbus::Request request) {
                         answer(simulator, service, log, std::move(request));
                       }});
  }
  return methods;
}

}  // namespace

BusService::BusService(const std::string& address, Simulator& simulator, Faults& faults, Log& log,
                       std::function<void()> onLost, std::function<void()> die,
                       std::vector<qxbus::PlainObject> objects)
    : service_(simulator, faults, {[this] { host_.flush(kLastWords); }, std::move(die)}),
      host_(address, velprotocol::kServiceName, methodsOf(simulator, service_, log),
            {velprotocol::kServiceEvent}, std::move(objects)) {
  service_.setEventSink([this, &log](const BusEvent& event) {
    if (log.hasDetails()) {
      log.writeDetail(lineOf(event));
    }
    if (isBroadcast(event)) {
      host_.broadcast(velprotocol::kBroadcastEvent, argumentsOf(event));
    } else {
      host_.emitEvent(velprotocol::kServiceEvent, argumentsOf(event));
    }
  });
  host_.setLostCallback(std::move(onLost));
}

BusService::~BusService() {
  service_.stop();
}

}  // namespace velsim
