#include "bus/dbus/plain_call.h"

#include <memory>
#include <utility>
#include <vector>

#include "base/text.h"
#include "bus/dbus/link.h"
#include "bus/dbus/names.h"
#include "bus/dbus/peer_calls.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"

namespace qxbus {
namespace {

PlainReply failed(PlainReply::Kind kind, std::string text) {
  return {kind, {}, std::move(text)};
}

}  // namespace

PlainReply callPlain(const std::string& address, const PlainCall& call,
                     std::chrono::milliseconds time) {
  const Clock::time_point connecting = deadlineAfter(kBusTimeoutMs);
  const auto link = Link::connect(address, call.service, "", Link::repliesOnly, connecting);
  if (!link) {
    return failed(PlainReply::Kind::kNoService, link.reason());
  }
  const std::string busName = busNameOf(call.service);
  const Link::Owner owner = (*link)->ownerOf(busName, connecting);
  if (owner.name.empty()) {
    return failed(PlainReply::Kind::kNoService, busName + " has no owner");
  }
  if (owner.user) {
    (*link)->remember(owner.name, *owner.user);
  }
  if (!(*link)->isTrusted(owner.name, "service " + base::quoted(call.service), connecting)) {
    return failed(PlainReply::Kind::kNoService, busName + " belongs to another user");
  }
  const std::string destination = (*link)->destinationOf(owner.name);
  wire::Header header;
  header.type = wire::MessageType::kMethodCall;
  header.flags = wire::kNoAutoStart;
  header.destination = destination;
  header.path = call.path;
  header.interface = call.interface;
  header.member = call.method;
  header.signature = call.signature;
  wire::MessageWriter request;
  request.start(header);
  wire::appendValues(&request, call.arguments);
  if (request.finish(1) != wire::Fault::kNone) {
    return failed(PlainReply::Kind::kError,
                  "the arguments of " + call.method + " do not fit its D-Bus types");
  }
  const Outcome outcome = (*link)->connection()->call(&request, destination, Clock::now() + time);
  switch (outcome.kind) {
    case Outcome::Kind::kReturn:
      return {PlainReply::Kind::kReturn, wire::readValues(outcome.reply.message), ""};
    case Outcome::Kind::kError:
      return failed(PlainReply::Kind::kError, errorText(outcome.reply));
    default:
      return failed(PlainReply::Kind::kNoReply, outcome.text);
  }
}

}  // namespace qxbus
