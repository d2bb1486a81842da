#include "vel/apps/local/velsim/bus_service.h"

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "vel/protocol/names.h"

namespace velsim {
namespace {

void answer(Simulator& simulator, Log& log, qxbus::Request request) {
  const auto kept = std::make_shared<qxbus::Request>(std::move(request));
  std::shared_ptr<const RequestLine> line;
  if (log.hasDetails()) {
    line = std::make_shared<const RequestLine>(simulator, kept->method(), kept->arguments());
  }
  const auto respond = [kept, line, &log](const Simulator::Answer& given) {
    if (line) {
      log.writeDetail(line->with(given));
    }
    if (const auto* const error = std::get_if<Simulator::Error>(&given)) {
      kept->fail(error->text);
    } else {
      kept->reply(std::get<qxbus::Values>(given));
    }
  };
  simulator.answer(kept->method(), kept->arguments(), respond);
}

std::vector<qxbus::Method> methodsOf(Simulator& simulator, Log& log) {
  std::vector<qxbus::Method> methods;
  for (const std::string& name : simulator.methods()) {
    methods.push_back({name, [&simulator, &log](qxbus::Request request) {
                         answer(simulator, log, std::move(request));
                       }});
  }
  return methods;
}

}  // namespace

BusService::BusService(const std::string& address, Simulator& simulator, Log& log,
                       std::function<void()> onLost, std::vector<qxbus::PlainObject> objects)
    : simulator_(simulator),
      host_(address, velprotocol::kServiceName, methodsOf(simulator, log),
            {velprotocol::kServiceEvent}, std::move(objects)) {
  simulator.setEventSink([this, &log](const BusEvent& event) {
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
  simulator_.setEventSink(nullptr);
}

}  // namespace velsim
