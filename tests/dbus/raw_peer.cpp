#include "tests/dbus/raw_peer.h"

#include <stdexcept>

#include "tests/dbus/waiting.h"

namespace dbustest {
namespace {

void fill(const DBusMessageRef& message, const Body& body) {
  if (body) {
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    body(&arguments);
  }
}

}  // namespace

Body variants(const qxbus::Values& values) {
  return [values](DBusMessageIter* arguments) {
    DBusMessageIter array;
    dbus_message_iter_open_container(arguments, DBUS_TYPE_ARRAY, "v", &array);
    for (const qxbus::Value& value : values) {
      DBusMessageIter variant;
      if (const auto* const number = std::get_if<std::int32_t>(&value)) {
        dbus_message_iter_open_container(&array, DBUS_TYPE_VARIANT, "i", &variant);
        dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT32, number);
      } else {
        const char* const text = std::get<std::string>(value).c_str();
        dbus_message_iter_open_container(&array, DBUS_TYPE_VARIANT, "s", &variant);
        dbus_message_iter_append_basic(&variant, DBUS_TYPE_STRING, &text);
      }
      dbus_message_iter_close_container(&array, &variant);
    }
    dbus_message_iter_close_container(arguments, &array);
  };
}

Body nativeInt32(std::int32_t value) {
  return [value](DBusMessageIter* arguments) {
    dbus_message_iter_append_basic(arguments, DBUS_TYPE_INT32, &value);
  };
}

Body nativeString(const std::string& text) {
  return [text](DBusMessageIter* arguments) {
    const char* const characters = text.c_str();
    dbus_message_iter_append_basic(arguments, DBUS_TYPE_STRING, &characters);
  };
}

RawPeer::RawPeer(const std::string& address, Place place) {
  dbus_threads_init_default();
  connection_ = dbus_connection_open_private(address.c_str(), nullptr);
  if (!connection_) {
    throw std::runtime_error("a raw peer cannot reach the bus");
  }
  dbus_connection_set_exit_on_disconnect(connection_, FALSE);
  if (place == Place::kOnABus && !dbus_bus_register(connection_, nullptr)) {
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
    throw std::runtime_error("the bus refuses a raw peer");
  }
}

RawPeer::~RawPeer() {
  dbus_connection_close(connection_);
  dbus_connection_unref(connection_);
}

bool RawPeer::own(const std::string& busName, unsigned int flags) {
  const int answer = dbus_bus_request_name(connection_, busName.c_str(), flags, nullptr);
  return answer == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER ||
         answer == DBUS_REQUEST_NAME_REPLY_ALREADY_OWNER;
}

std::string RawPeer::ownerOf(const std::string& busName) {
  const DBusMessageRef reply = call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS,
                                    "GetNameOwner", nativeString(busName));
  return errorNameOf(reply).empty() ? firstText(reply) : "";
}

void RawPeer::emit(const std::string& path, const std::string& interface, const std::string& member,
                   const Body& body, const std::string& destination) {
  const DBusMessageRef signal(
      dbus_message_new_signal(path.c_str(), interface.c_str(), member.c_str()));
  if (!destination.empty()) {
    dbus_message_set_destination(signal.get(), destination.c_str());
  }
  fill(signal, body);
  send(signal);
}

void RawPeer::sync() {
  call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetId");
}

void RawPeer::listen(const std::string& rule) {
  dbus_bus_add_match(connection_, rule.c_str(), nullptr);
  sync();
}

DBusMessageRef RawPeer::nextMessage() {
  const auto deadline = TestClock::now() + kLongestWait;
  while (TestClock::now() < deadline) {
    if (DBusMessageRef message{dbus_connection_pop_message(connection_)}) {
      return message;
    }
    dbus_connection_read_write(connection_, 50);
  }
  return nullptr;
}

DBusMessageRef RawPeer::nextCall() {
  DBusMessageRef message = nextMessage();
  while (message && dbus_message_get_type(message.get()) != DBUS_MESSAGE_TYPE_METHOD_CALL) {
    message = nextMessage();
  }
  return message;
}

DBusMessageRef RawPeer::nextSignal() {
  DBusMessageRef message = nextMessage();
  while (message && (dbus_message_get_type(message.get()) != DBUS_MESSAGE_TYPE_SIGNAL ||
                     dbus_message_has_interface(message.get(), DBUS_INTERFACE_DBUS))) {
    message = nextMessage();
  }
  return message;
}

void RawPeer::reply(const DBusMessageRef& call, const Body& body) {
  const DBusMessageRef answer(dbus_message_new_method_return(call.get()));
  fill(answer, body);
  send(answer);
}

void RawPeer::replyError(const DBusMessageRef& call, const std::string& name, const Body& body) {
  const DBusMessageRef answer(dbus_message_new_error(call.get(), name.c_str(), nullptr));
  fill(answer, body);
  send(answer);
}

void RawPeer::send(const DBusMessageRef& message) {
  dbus_connection_send(connection_, message.get(), nullptr);
  dbus_connection_flush(connection_);
}

DBusMessageRef RawPeer::call(const std::string& destination, const std::string& path,
                             const std::string& interface, const std::string& method,
                             const Body& body) {
  const DBusMessageRef request(dbus_message_new_method_call(
      destination.empty() ? nullptr : destination.c_str(), path.c_str(),
      interface.empty() ? nullptr : interface.c_str(), method.c_str()));
  fill(request, body);
  DBusPendingCall* pending = nullptr;
  dbus_connection_send_with_reply(connection_, request.get(), &pending,
                                  static_cast<int>(kLongestWait.count()));
  if (!pending) {
    throw std::runtime_error("a raw peer has lost the bus");
  }
  dbus_pending_call_block(pending);
  DBusMessageRef reply(dbus_pending_call_steal_reply(pending));
  dbus_pending_call_unref(pending);
  return reply;
}

std::string errorNameOf(const DBusMessageRef& reply) {
  const char* const name = dbus_message_get_error_name(reply.get());
  return name ? name : "";
}

std::string firstText(const DBusMessageRef& reply) {
  const char* text = nullptr;
  const bool has =
      dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
  return has ? text : "";
}

}  // namespace dbustest
