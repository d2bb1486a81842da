#include "bus/dbus/service_host.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "bus/dbus/bus_connection.h"
#include "bus/dbus/bus_daemon.h"
#include "bus/dbus/connection.h"
#include "bus/dbus/names.h"
#include "bus/dbus/wire.h"
#include "bus/dbus/worker.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

// How long connecting, and each call of the bus daemon, may take.
constexpr int kHostTimeoutMs = 5000;

// The address of a reply. Kept instead of the call: libdbus counts the messages that are kept, and
// stops reading when they are too many.
struct ReturnAddress {
  explicit ReturnAddress(DBusMessage* call)
      : sender(orEmpty(dbus_message_get_sender(call))),
        serial(dbus_message_get_serial(call)),
        isWaitedFor(!dbus_message_get_no_reply(call)) {}

  std::string sender;
  dbus_uint32_t serial;
  bool isWaitedFor;
};

// Null when memory is short.
MessagePtr newReply(const ReturnAddress& to, int type) {
  MessagePtr reply(dbus_message_new(type));
  if (!reply || !dbus_message_set_reply_serial(reply.get(), to.serial) ||
      (!to.sender.empty() && !dbus_message_set_destination(reply.get(), to.sender.c_str()))) {
    return nullptr;
  }
  dbus_message_set_no_reply(reply.get(), TRUE);
  return reply;
}

void sendReply(Connection& connection, const ReturnAddress& to, DBusMessage* reply) {
  if (to.isWaitedFor) {
    connection.send(reply);
  }
}

void sendText(Connection& connection, const ReturnAddress& to, MessagePtr reply,
              const std::string& text) {
  const char* const argument = text.c_str();
  if (reply &&
      dbus_message_append_args(reply.get(), DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID)) {
    sendReply(connection, to, reply.get());
  }
}

void sendText(Connection& connection, DBusMessage* call, const std::string& text) {
  const ReturnAddress to(call);
  sendText(connection, to, newReply(to, DBUS_MESSAGE_TYPE_METHOD_RETURN), text);
}

void sendError(Connection& connection, const ReturnAddress& to, const char* name,
               const std::string& text) {
  std::string carried = text;
  if (!isText(carried)) {
    std::replace_if(
        carried.begin(), carried.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  }
  MessagePtr error = newReply(to, DBUS_MESSAGE_TYPE_ERROR);
  if (error && dbus_message_set_error_name(error.get(), name)) {
    sendText(connection, to, std::move(error), carried);
  }
}

void sendError(Connection& connection, DBusMessage* call, const char* name,
               const std::string& text) {
  sendError(connection, ReturnAddress(call), name, text);
}

std::string methodXml(const std::string& name) {
  return "    <method name=\"" + name +
         "\">\n"
         "      <arg name=\"arguments\" type=\"av\" direction=\"in\"/>\n"
         "      <arg name=\"results\" type=\"av\" direction=\"out\"/>\n"
         "    </method>\n";
}

std::string signalXml(const std::string& name) {
  return "    <signal name=\"" + name +
         "\">\n      <arg name=\"arguments\" type=\"av\"/>\n    </signal>\n";
}

constexpr char kStandardXml[] =
    "  <interface name=\"" DBUS_INTERFACE_INTROSPECTABLE
    "\">\n"
    "    <method name=\"Introspect\"><arg type=\"s\" direction=\"out\"/></method>\n"
    "  </interface>\n"
    "  <interface name=\"" DBUS_INTERFACE_PEER
    "\">\n"
    "    <method name=\"Ping\"/>\n"
    "    <method name=\"GetMachineId\"><arg type=\"s\" direction=\"out\"/></method>\n"
    "  </interface>\n";

std::string node(const std::string& content) {
  return DBUS_INTROSPECT_1_0_XML_DOCTYPE_DECL_NODE "<node>\n" + content + "</node>\n";
}

}  // namespace

// --- Request -------------------------------------------------------------------------------------

struct Request::Impl {
  std::shared_ptr<Connection> connection;
  ReturnAddress caller;
  std::string method;
  Values arguments;
  std::atomic<bool> answered{false};
};

Request::Request(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Request::Request(Request&&) noexcept = default;

Request& Request::operator=(Request&& other) noexcept {
  std::swap(impl_, other.impl_);
  return *this;
}

Request::~Request() {
  if (impl_) {
    fail(impl_->method + " was not answered");
  }
}

const std::string& Request::method() const {
  return impl_->method;
}
const Values& Request::arguments() const {
  return impl_->arguments;
}
const std::string& Request::sender() const {
  return impl_->caller.sender;
}

void Request::reply(const Values& values) {
  if (impl_->answered.exchange(true)) {
    return;
  }
  const MessagePtr reply = newReply(impl_->caller, DBUS_MESSAGE_TYPE_METHOD_RETURN);
  if (!reply || !appendBody(reply.get(), values)) {
    sendError(*impl_->connection, impl_->caller, kFailedError,
              "the reply of " + impl_->method + " is too large for the bus");
  } else {
    sendReply(*impl_->connection, impl_->caller, reply.get());
  }
}

void Request::fail(const std::string& text) {
  if (!impl_->answered.exchange(true)) {
    sendError(*impl_->connection, impl_->caller, kFailedError, text);
  }
}

// --- ServiceHost ---------------------------------------------------------------------------------

struct ServiceHost::Impl {
  Impl(std::string serviceName, std::vector<Method> methodList,
       const std::vector<std::string>& events)
      : service(std::move(serviceName)),
        path(objectPathOf(service)),
        interface(interfaceOf(service)) {
    std::string xml = kStandardXml;
    xml += "  <interface name=\"" + interface + "\">\n";
    for (Method& method : methodList) {
      xml += methodXml(method.name);
      methods.emplace(std::move(method.name), std::make_shared<const std::function<void(Request)>>(
                                                  std::move(method.handler)));
    }
    for (const std::string& event : events) {
      xml += signalXml(event);
    }
    objectXml = node(xml + "  </interface>\n");
  }

  // On the I/O thread: answers calls that need no handler, leaves the rest to the host's thread.
  void onMessage(DBusMessage* call);
  bool answerStandardCall(Connection& to, DBusMessage* call) const;
  void onLost();
  void emit(const std::string& onInterface, const std::string& name, const Values& values) const;

  const std::string service;
  const std::string path;
  const std::string interface;
  std::string objectXml;
  // A handler is shared with the call that runs it, which may destroy the host.
  std::map<std::string, std::shared_ptr<const std::function<void(Request)>>> methods;

  // Null until the host has connected.
  std::shared_ptr<Connection> currentConnection() const {
    const platform::MutexLock lock(mutex);
    return connection;
  }

  mutable platform::Mutex mutex;
  std::shared_ptr<Connection> connection QX_GUARDED_BY(mutex);
  std::function<void()> lostCallback QX_GUARDED_BY(mutex);
  bool isLost QX_GUARDED_BY(mutex) = false;

  Worker worker{"qxbus-service"};
};

void ServiceHost::Impl::onMessage(DBusMessage* call) {
  const std::shared_ptr<Connection> from = currentConnection();
  if (!from || dbus_message_get_type(call) != DBUS_MESSAGE_TYPE_METHOD_CALL ||
      answerStandardCall(*from, call)) {
    return;
  }
  const std::string onPath = orEmpty(dbus_message_get_path(call));
  const std::string onInterface = orEmpty(dbus_message_get_interface(call));
  const std::string name = orEmpty(dbus_message_get_member(call));
  if (onPath != path) {
    sendError(*from, call, DBUS_ERROR_UNKNOWN_OBJECT,
              "there is no object " + onPath + "; the object is " + path);
    return;
  }
  if (!onInterface.empty() && onInterface != interface) {
    sendError(*from, call, DBUS_ERROR_UNKNOWN_INTERFACE,
              "there is no interface " + onInterface + "; the interface is " + interface);
    return;
  }
  const auto method = methods.find(name);
  if (method == methods.end()) {
    sendError(*from, call, DBUS_ERROR_UNKNOWN_METHOD,
              "service " + service + " has no method " + name);
    return;
  }
  std::unique_ptr<Request::Impl> impl(
      new Request::Impl{from, ReturnAddress(call), name, readBody(call), {}});
  const auto request = std::make_shared<Request>(std::move(impl));
  worker.post([handler = method->second, request] { (*handler)(std::move(*request)); });
}

bool ServiceHost::Impl::answerStandardCall(Connection& to, DBusMessage* call) const {
  const std::string onPath = orEmpty(dbus_message_get_path(call));
  if (dbus_message_is_method_call(call, DBUS_INTERFACE_PEER, "Ping")) {
    if (const MessagePtr pong{dbus_message_new_method_return(call)}) {
      to.send(pong.get());
    }
    return true;
  }
  if (dbus_message_is_method_call(call, DBUS_INTERFACE_PEER, "GetMachineId")) {
    Error error;
    char* const id = dbus_try_get_local_machine_id(error.get());
    if (id) {
      sendText(to, call, id);
    } else {
      sendError(to, call, DBUS_ERROR_FAILED, error.text());
    }
    dbus_free(id);
    return true;
  }
  if (!dbus_message_is_method_call(call, DBUS_INTERFACE_INTROSPECTABLE, "Introspect")) {
    return false;
  }
  const std::string parent = onPath == "/" ? onPath : onPath + "/";
  if (onPath == path) {
    sendText(to, call, objectXml);
  } else if (path.compare(0, parent.size(), parent) == 0) {
    const std::string child = path.substr(parent.size());
    sendText(to, call, node("  <node name=\"" + child.substr(0, child.find('/')) + "\"/>\n"));
  } else {
    return false;
  }
  return true;
}

void ServiceHost::Impl::onLost() {
  std::function<void()> callback;
  {
    const platform::MutexLock lock(mutex);
    isLost = true;
    callback.swap(lostCallback);
  }
  if (callback) {
    worker.post(std::move(callback));
  }
}

void ServiceHost::Impl::emit(const std::string& onInterface, const std::string& name,
                             const Values& values) const {
  if (!isMemberName(name)) {
    return;
  }
  const MessagePtr signal(dbus_message_new_signal(path.c_str(), onInterface.c_str(), name.c_str()));
  if (signal && appendBody(signal.get(), values)) {
    currentConnection()->send(signal.get());
  }
}

ServiceHost::ServiceHost(const std::string& address, const std::string& service,
                         std::vector<Method> methods, const std::vector<std::string>& events) {
  if (!isServiceName(service)) {
    throw std::runtime_error("invalid service name " + base::quoted(service));
  }
  impl_ = std::make_shared<Impl>(service, std::move(methods), events);
  if (const auto& started = impl_->worker.started(); !started) {
    throw std::runtime_error(started.reason());
  }
  const Clock::time_point deadline = deadlineAfter(kHostTimeoutMs);
  const auto withImpl = [self = std::weak_ptr<Impl>(impl_)](auto task) {
    if (const std::shared_ptr<Impl> impl = self.lock()) {
      task(*impl);
    }
  };
  const auto connected =
      connectToBus(address,
                   {[withImpl](const MessagePtr& message) {
                      withImpl([&message](Impl& impl) { impl.onMessage(message.get()); });
                    },
                    [withImpl] { withImpl([](Impl& impl) { impl.onLost(); }); }},
                   deadline);
  if (!connected) {
    throw std::runtime_error(connected.reason());
  }
  const std::shared_ptr<Connection>& connection = *connected;
  {
    const platform::MutexLock lock(impl_->mutex);
    impl_->connection = connection;
  }
  // Calls are answered from here on, so the name may be taken: callers wait for the name.
  if (const auto owned = requestName(*connection, busNameOf(service), deadline); !owned) {
    throw std::runtime_error(owned.reason());
  }
}

ServiceHost::~ServiceHost() {
  releaseName(*impl_->currentConnection(), busNameOf(impl_->service),
              deadlineAfter(kHostTimeoutMs));
  impl_->worker.finish();
}

void ServiceHost::emitEvent(const std::string& name, const Values& values) {
  impl_->emit(impl_->interface, name, values);
}

void ServiceHost::broadcast(const std::string& name, const Values& values) {
  impl_->emit(kBroadcastInterface, name, values);
}

void ServiceHost::setLostCallback(std::function<void()> onLost) {
  {
    const platform::MutexLock lock(impl_->mutex);
    if (!impl_->isLost) {
      impl_->lostCallback.swap(onLost);
      return;
    }
  }
  if (onLost) {
    impl_->worker.post(std::move(onLost));
  }
}

}  // namespace qxbus
