#include "bus/dbus/transport/outcome.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>

#include "bus/dbus/wire/argument_reader.h"

namespace qxbus {
namespace {

constexpr std::string_view kDaemon = "org.freedesktop.DBus";

// The bus daemon's errors in place of a peer that has left.
constexpr std::string_view kPeerLeft[] = {
    "org.freedesktop.DBus.Error.ServiceUnknown",
    "org.freedesktop.DBus.Error.NameHasNoOwner",
    "org.freedesktop.DBus.Error.NoReply",
    "org.freedesktop.DBus.Error.Disconnected",
};

bool saysThatPeerLeft(const wire::Header& reply, std::string_view destination) {
  return destination != kDaemon && reply.sender == kDaemon &&
         std::find(std::begin(kPeerLeft), std::end(kPeerLeft), reply.errorName) !=
             std::end(kPeerLeft);
}

}  // namespace

std::string errorText(const Received& reply) {
  wire::Argument argument;
  if (wire::ArgumentReader(reply.message).next(&argument)) {
    const auto* const text = std::get_if<std::string_view>(&argument);
    const auto* const block = std::get_if<wire::Block>(&argument);
    const std::string_view found = text ? *text : block ? block->bytes : std::string_view();
    if (!found.empty()) {
      return std::string(found);
    }
  }
  return std::string(reply.header().errorName);
}

Outcome Outcome::replied(Received reply, std::string_view destination) {
  if (saysThatPeerLeft(reply.header(), destination)) {
    return disconnected(errorText(reply));
  }
  const bool isError = reply.header().type == wire::MessageType::kError;
  return {isError ? Kind::kError : Kind::kReturn, std::move(reply), ""};
}

bool Outcome::isFrom(const wire::Header& reply, std::string_view destination) {
  return destination.empty() || reply.sender.empty() || reply.sender == destination ||
         reply.sender == kDaemon;
}

Outcome Outcome::noReply() {
  return {Kind::kNoReply, {}, "no reply in time"};
}

Outcome Outcome::disconnected(std::string text) {
  return {Kind::kDisconnected, {}, std::move(text)};
}

}  // namespace qxbus
