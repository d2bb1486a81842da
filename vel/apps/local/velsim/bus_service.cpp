#include "vel/apps/local/velsim/bus_service.h"

#include <chrono>
#include <memory>
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

std::string describe(const qxbus::Request& request, const FaultyAnswer& answer) {
  const auto* const values = std::get_if<qxbus::Values>(&answer.content);
  const auto* const error = std::get_if<Simulator::Error>(&answer.content);
  const std::string faults = answer.faults.empty() ? "" : " (fault: " + answer.faults + ")";
  return describe(request.method(), request.arguments(),
                  values  ? Simulator::Answer(*values)
                  : error ? Simulator::Answer(*error)
                          : Simulator::Answer(qxbus::Values())) +
         faults;
}

void answer(FaultyService& service, Log& log, qxbus::Request request) {
  const auto kept = std::make_shared<qxbus::Request>(std::move(request));
  const auto respond = [kept, &log](const FaultyAnswer& given) {
    if (log.hasDetails()) {
      log.writeDetail(describe(*kept, given));
    }
    give(*kept, given);
  };
  service.answer(kept->method(), kept->arguments(), respond);
}

std::vector<qxbus::Method> methodsOf(const Simulator& simulator, FaultyService& service, Log& log) {
  std::vector<qxbus::Method> methods;
  for (const std::string& name : simulator.methods()) {
    methods.push_back({name, [&service, &log](qxbus::Request request) {
                         answer(service, log, std::move(request));
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
      log.writeDetail(describe(event));
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
