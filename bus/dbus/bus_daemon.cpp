#include "bus/dbus/bus_daemon.h"

namespace qxbus {
namespace {

// Makes a call with one text; the reply is there when it is a normal one.
Outcome ask(Connection& connection, const char* method, const std::string& text,
            Clock::time_point deadline) {
  const MessagePtr call = busCall(method);
  const char* const argument = text.c_str();
  if (!call ||
      !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID)) {
    return {nullptr, "out of memory"};
  }
  Outcome outcome = connection.call(call.get(), deadline);
  Error error;
  if (outcome.reply && dbus_set_error_from_message(error.get(), outcome.reply.get())) {
    return {nullptr, error.text()};
  }
  return outcome;
}

template <typename T>
std::optional<T> firstArgument(const Outcome& outcome, int type) {
  T value = {};
  const bool read = outcome.reply && dbus_message_get_args(outcome.reply.get(), nullptr, type,
                                                           &value, DBUS_TYPE_INVALID);
  return read ? std::optional<T>(value) : std::nullopt;
}

}  // namespace

MessagePtr busCall(const char* method) {
  return MessagePtr(
      dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method));
}

std::string ownerOf(Connection& connection, const std::string& busName,
                    Clock::time_point deadline) {
  const Outcome outcome = ask(connection, "GetNameOwner", busName, deadline);
  return firstArgument<const char*>(outcome, DBUS_TYPE_STRING).value_or("");
}

std::optional<dbus_uint32_t> userOf(Connection& connection, const std::string& uniqueName,
                                    Clock::time_point deadline) {
  const Outcome outcome = ask(connection, "GetConnectionUnixUser", uniqueName, deadline);
  return firstArgument<dbus_uint32_t>(outcome, DBUS_TYPE_UINT32);
}

bool addMatch(Connection& connection, const std::string& rule, Clock::time_point deadline,
              std::string* failure) {
  const Outcome outcome = ask(connection, "AddMatch", rule, deadline);
  *failure = outcome.failure;
  return outcome.reply != nullptr;
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

bool requestName(Connection& connection, const std::string& busName, Clock::time_point deadline,
                 std::string* failure) {
  const MessagePtr call = busCall("RequestName");
  const char* const name = busName.c_str();
  const dbus_uint32_t flags = DBUS_NAME_FLAG_DO_NOT_QUEUE;
  if (!call || !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_UINT32,
                                         &flags, DBUS_TYPE_INVALID)) {
    *failure = "out of memory";
    return false;
  }
  const Outcome outcome = connection.call(call.get(), deadline);
  Error error;
  if (!outcome.reply) {
    *failure = outcome.failure;
    return false;
  }
  if (dbus_set_error_from_message(error.get(), outcome.reply.get())) {
    *failure = error.text();
    return false;
  }
  if (firstArgument<dbus_uint32_t>(outcome, DBUS_TYPE_UINT32) !=
      DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
    *failure = "the name " + busName + " is taken: the service runs already";
    return false;
  }
  return true;
}

void releaseName(Connection& connection, const std::string& busName, Clock::time_point deadline) {
  ask(connection, "ReleaseName", busName, deadline);
}

}  // namespace qxbus
