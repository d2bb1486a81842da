#include "bus/dbus/peer_calls.h"

#include <algorithm>
#include <fstream>

#include "bus/dbus/wire/grammar.h"
#include "bus/dbus/wire/message_writer.h"

namespace qxbus {
namespace {

constexpr char kFailed[] = "org.freedesktop.DBus.Error.Failed";

wire::Header replyTo(const ReturnAddress& to, wire::MessageType type, const char* signature) {
  wire::Header header;
  header.type = type;
  header.flags = wire::kNoReplyExpected;
  header.replySerial = to.serial;
  header.destination = to.sender;
  header.signature = signature;
  return header;
}

// Written by the system's installation, for D-Bus or for systemd. Empty when there is none.
std::string machineId() {
  for (const char* const path : {"/var/lib/dbus/machine-id", "/etc/machine-id"}) {
    std::ifstream file(path);
    std::string id;
    if (file >> id) {
      return id;
    }
  }
  return "";
}

}  // namespace

void sendText(Connection& connection, const ReturnAddress& to, std::string_view text) {
  if (to.isAwaited) {
    wire::MessageWriter reply;
    reply.start(replyTo(to, wire::MessageType::kMethodReturn, "s"));
    reply.appendText(text);
    connection.send(&reply);
  }
}

void sendError(Connection& connection, const ReturnAddress& to, const char* name,
               std::string_view text) {
  if (!to.isAwaited) {
    return;
  }
  std::string carried(text);
  if (!wire::isText(carried)) {
    std::replace_if(
        carried.begin(), carried.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  }
  wire::Header header = replyTo(to, wire::MessageType::kError, "s");
  header.errorName = name;
  wire::MessageWriter error;
  error.start(header);
  error.appendText(carried);
  connection.send(&error);
}

bool answerPeerCall(Connection& connection, const wire::Header& call) {
  if (call.interface != kPeerInterface) {
    return false;
  }
  const ReturnAddress to(call);
  if (call.member == "Ping") {
    if (to.isAwaited) {
      wire::MessageWriter pong;
      pong.start(replyTo(to, wire::MessageType::kMethodReturn, ""));
      connection.send(&pong);
    }
    return true;
  }
  if (call.member == "GetMachineId") {
    const std::string id = machineId();
    if (id.empty()) {
      sendError(connection, to, kFailed, "this machine has no id");
    } else {
      sendText(connection, to, id);
    }
    return true;
  }
  return false;
}

void answerClientCall(Connection& connection, const wire::Header& call) {
  if (!answerPeerCall(connection, call)) {
    sendError(connection, ReturnAddress(call), kUnknownObject, "a client has no objects to call");
  }
}

}  // namespace qxbus
