#include "bus/dbus/bus_daemon.h"

#include <utility>

#include <unistd.h>

#include "bus/dbus/wire.h"

namespace qxbus {
namespace {

constexpr char kOutOfMemory[] = "out of memory";

// Null when memory is short.
MessagePtr busCall(const char* method) {
  return MessagePtr(
      dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method));
}

// The normal reply, or the reason why there is none.
base::Result<MessagePtr> replyOf(Outcome outcome) {
  switch (outcome.kind) {
    case Outcome::Kind::kReturn:
      return std::move(outcome.reply);
    case Outcome::Kind::kError:
      return base::Failed{errorText(outcome.reply.get())};
    default:
      return base::Failed{std::move(outcome.text)};
  }
}

// Makes a call with one text.
base::Result<MessagePtr> ask(Connection& connection, const char* method, const std::string& text,
                             Clock::time_point deadline) {
  const MessagePtr call = busCall(method);
  const char* const argument = text.c_str();
  if (!call ||
      !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID)) {
    return base::Failed{kOutOfMemory};
  }
  return replyOf(connection.call(call.get(), deadline));
}

template <typename T>
std::optional<T> firstArgument(const base::Result<MessagePtr>& reply, int type) {
  T value = {};
  const bool isRead =
      reply && dbus_message_get_args(reply->get(), nullptr, type, &value, DBUS_TYPE_INVALID);
  return isRead ? std::optional<T>(value) : std::nullopt;
}

}  // namespace

base::Result<void> signIn(Connection& connection, Clock::time_point deadline) {
  const MessagePtr hello = busCall("Hello");
  if (!hello) {
    return base::Failed{kOutOfMemory};
  }
  Outcome outcome = connection.call(hello.get(), deadline);
  if (outcome.kind == Outcome::Kind::kDisconnected) {
    // The bus gives no reason.
    return base::Failed{"the bus closed the connection during sign-in; it may refuse this user, " +
                        std::to_string(::geteuid())};
  }
  const auto reply = replyOf(std::move(outcome));
  return reply ? base::Result<void>() : reply.failed();
}

std::string ownerOf(Connection& connection, const std::string& busName,
                    Clock::time_point deadline) {
  const auto reply = ask(connection, "GetNameOwner", busName, deadline);
  return firstArgument<const char*>(reply, DBUS_TYPE_STRING).value_or("");
}

std::optional<dbus_uint32_t> userOf(Connection& connection, const std::string& uniqueName,
                                    Clock::time_point deadline) {
  const auto reply = ask(connection, "GetConnectionUnixUser", uniqueName, deadline);
  return firstArgument<dbus_uint32_t>(reply, DBUS_TYPE_UINT32);
}

base::Result<void> addMatch(Connection& connection, const std::string& rule,
                            Clock::time_point deadline) {
  const auto reply = ask(connection, "AddMatch", rule, deadline);
  return reply ? base::Result<void>() : reply.failed();
}

void removeMatch(Connection& connection, const std::string& rule) {
  const MessagePtr call = busCall("RemoveMatch");
  const char* const argument = rule.c_str();
  if (call &&
      dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID)) {
    dbus_message_set_no_reply(call.get(), TRUE);
    connection.send(call.get());
  }
}

base::Result<void> requestName(Connection& connection, const std::string& busName,
                               Clock::time_point deadline) {
  const MessagePtr call = busCall("RequestName");
  const char* const name = busName.c_str();
  const dbus_uint32_t flags = DBUS_NAME_FLAG_DO_NOT_QUEUE;
  if (!call || !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_UINT32,
                                         &flags, DBUS_TYPE_INVALID)) {
    return base::Failed{kOutOfMemory};
  }
  const auto reply = replyOf(connection.call(call.get(), deadline));
  if (!reply) {
    return reply.failed();
  }
  if (firstArgument<dbus_uint32_t>(reply, DBUS_TYPE_UINT32) !=
      DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
    return base::Failed{"the name " + busName + " is taken: the service runs already"};
  }
  return {};
}

void releaseName(Connection& connection, const std::string& busName, Clock::time_point deadline) {
  static_cast<void>(ask(connection, "ReleaseName", busName, deadline));
}

}  // namespace qxbus
