#include "bus/dbus/service_host.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "bus/dbus/direct.h"
#include "bus/dbus/introspection.h"
#include "bus/dbus/link.h"
#include "bus/dbus/names.h"
#include "bus/dbus/peer_calls.h"
#include "bus/dbus/request_impl.h"
#include "bus/dbus/service_objects.h"
#include "bus/dbus/serving_thread.h"
#include "bus/dbus/transport/acceptor.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

// A service starts once, and may find the bus busy.
constexpr int kHostTimeoutMs = 5000;

// The memory that calls may take while they wait for handlers.
constexpr std::size_t kMostWaitingCalls = std::size_t{256} * 1024 * 1024;

// A service takes nothing but calls.
Connection::Handlers callHandlers() {
  Connection::Handlers handlers;
  handlers.interestIn = [](const wire::Header& header) {
    return header.type == wire::MessageType::kMethodCall ? Connection::Interest::kChecked
                                                         : Connection::Interest::kNone;
  };
  return handlers;
}

}  // namespace

// Clients reach the host over one connection, to a bus daemon, or each over one of its own.
struct ServiceHost::Impl : std::enable_shared_from_this<ServiceHost::Impl> {
  Impl(std::string serviceName, std::vector<Method> methods, const std::vector<std::string>& events,
       std::vector<PlainObject> plain)
      : service(std::move(serviceName)),
        path(objectPathOf(service)),
        interface(interfaceOf(service)),
        objects(objectsOf(service, std::move(methods), std::move(plain))),
        introspection(introspectionOf(service, objects, events)) {}

  void connectToBus(const std::string& address);
  void listenDirectly(const std::string& address);
  void serve(std::shared_ptr<Loop> loop);

  // On the reading thread: answers what needs no handler, leaves the rest to the serving thread.
  // sender: empty stands for the sender that the message names; before: in the same memory, or null
  void onMessage(const std::shared_ptr<Connection>& from, const std::string& sender,
                 const Received& message, const Received* before);
  // Messages that were read at once.
  void onMessages(const std::shared_ptr<Connection>& from, const std::string& sender,
                  const std::vector<Received>& messages);
  bool answerStandardCall(Connection& from, const wire::Header& call) const;
  void onClient(const std::shared_ptr<Loop>& loop, base::Socket socket, Inbox inbox);
  void onBusLost();
  void emit(const std::string& onInterface, const std::string& name, const Values& values);
  std::vector<std::shared_ptr<Connection>> connections();
  std::shared_ptr<Link> busLink() {
    const platform::MutexLock lock(mutex);
    return bus;
  }

  std::string place;
  const std::string service;
  const std::string path;
  const std::string interface;
  const ServiceObjects objects;
  const Introspection introspection;

  // Set before the first call is taken.
  std::unique_ptr<ServingThread> thread;
  // Of the calls that wait for their handlers.
  const std::shared_ptr<std::atomic<std::size_t>> waitingSize =
      std::make_shared<std::atomic<std::size_t>>(0);
  // Over direct connections.
  std::unique_ptr<Acceptor> acceptor;
  std::shared_ptr<Loop> acceptorLoop;

  platform::Mutex mutex;
  std::shared_ptr<Link> bus QX_GUARDED_BY(mutex);  // null over direct connections
  std::map<unsigned long, std::shared_ptr<Connection>> clients QX_GUARDED_BY(mutex);
  unsigned long lastClient QX_GUARDED_BY(mutex) = 0;
  std::function<void()> lostCallback QX_GUARDED_BY(mutex);
  bool isLost QX_GUARDED_BY(mutex) = false;
};

void ServiceHost::Impl::serve(std::shared_ptr<Loop> loop) {
  auto started = ServingThread::start(std::move(loop));
  if (!started) {
    throw std::runtime_error(started.reason());
  }
  thread = std::move(*started);
}

void ServiceHost::Impl::connectToBus(const std::string& address) {
  const Clock::time_point deadline = deadlineAfter(kHostTimeoutMs);
  const std::weak_ptr<Impl> self = weak_from_this();
  const auto makeHandlers = [self](const std::weak_ptr<Link>& /*link*/) {
    Connection::Handlers handlers = callHandlers();
    handlers.onMessages = [self](const std::vector<Received>& messages) {
      const std::shared_ptr<Impl> impl = self.lock();
      // Null until the thread runs that serves. A call may come before, of a stranger who saw this
      // connection appear on the bus.
      const std::shared_ptr<Link> link = impl ? impl->busLink() : nullptr;
      if (link) {
        impl->onMessages(link->connection(), "", messages);
      }
    };
    handlers.onLost = [self] {
      if (const std::shared_ptr<Impl> impl = self.lock()) {
        impl->onBusLost();
      }
    };
    return handlers;
  };
  const auto connected = Link::connect(address, service, "", makeHandlers, deadline);
  if (!connected) {
    throw std::runtime_error(connected.reason());
  }
  serve((*connected)->connection()->sharedLoop());
  {
    const platform::MutexLock lock(mutex);
    bus = *connected;
  }
  // From here on calls are answered, so the name may be taken: it is what callers wait for.
  if (const auto named = (*connected)->requestName(busNameOf(service), deadline); !named) {
    throw std::runtime_error(named.reason());
  }
}

void ServiceHost::Impl::listenDirectly(const std::string& address) {
  if (const auto made = makeDirectDirectory(address); !made) {
    throw std::runtime_error(made.reason());
  }
  auto loop = Loop::start("qxbus-io");
  if (!loop) {
    throw std::runtime_error(loop.reason());
  }
  // The loop's thread runs until the loop is stopped.
  struct StoppedUnlessListening {
    ~StoppedUnlessListening() {
      if (!impl->acceptor) {
        loop->stop();
      }
    }
    Impl* impl;
    std::shared_ptr<Loop> loop;
  } const guard{this, *loop};
  serve(*loop);
  const std::weak_ptr<Impl> self = weak_from_this();
  auto listening =
      Acceptor::listen(*loop, place, [self, loop = *loop](base::Socket socket, Inbox inbox) {
        if (const std::shared_ptr<Impl> impl = self.lock()) {
          impl->onClient(loop, std::move(socket), std::move(inbox));
        }
      });
  if (!listening) {
    throw std::runtime_error(listening.reason());
  }
  acceptor = std::move(*listening);
  acceptorLoop = *loop;
}

void ServiceHost::Impl::onClient(const std::shared_ptr<Loop>& loop, base::Socket socket,
                                 Inbox inbox) {
  const platform::MutexLock lock(mutex);
  const unsigned long number = ++lastClient;
  const std::string sender = std::string(kPeerName) + '.' + std::to_string(number);
  const std::weak_ptr<Impl> self = weak_from_this();
  Connection::Handlers handlers = callHandlers();
  handlers.onMessages = [self, number, sender](const std::vector<Received>& messages) {
    const std::shared_ptr<Impl> impl = self.lock();
    if (!impl) {
      return;
    }
    std::shared_ptr<Connection> from;
    {
      const platform::MutexLock reading(impl->mutex);
      const auto client = impl->clients.find(number);
      if (client == impl->clients.end()) {
        return;
      }
      from = client->second;
    }
    impl->onMessages(from, sender, messages);
  };
  handlers.onLost = [self, number] {
    if (const std::shared_ptr<Impl> impl = self.lock()) {
      const platform::MutexLock losing(impl->mutex);
      impl->clients.erase(number);
    }
  };
  clients.emplace(
      number, Connection::adopt(loop, std::move(socket), std::move(inbox), std::move(handlers)));
}

void ServiceHost::Impl::onMessages(const std::shared_ptr<Connection>& from,
                                   const std::string& sender,
                                   const std::vector<Received>& messages) {
  const Received* before = nullptr;
  for (const Received& message : messages) {
    onMessage(from, sender.empty() ? std::string(message.header().sender) : sender, message,
              before);
    before = &message;
  }
}

void ServiceHost::Impl::onMessage(const std::shared_ptr<Connection>& from,
                                  const std::string& sender, const Received& message,
                                  const Received* before) {
  const wire::Header& call = message.header();
  if (answerStandardCall(*from, call)) {
    return;
  }
  const ReturnAddress caller(call);
  const auto called = objects.find(call.path);
  if (called == objects.end()) {
    sendError(*from, caller, kUnknownObject,
              "there is no object " + std::string(call.path) + "; the object is " + path);
    return;
  }
  const ServiceObject& object = called->second;
  if (!call.interface.empty() && call.interface != object.interface) {
    sendError(*from, caller, kUnknownInterface,
              "there is no interface " + std::string(call.interface) + "; the interface is " +
                  object.interface);
    return;
  }
  auto method = object.methods.find(call.member);
  if (method == object.methods.end()) {
    method = object.methods.find(kAnyMethod);
  }
  if (method == object.methods.end()) {
    sendError(*from, caller, kUnknownMethod,
              (object.isPlain ? "object " + called->first : "service " + service) +
                  " has no method " + std::string(call.member));
    return;
  }
  if (object.isPlain && call.signature != method->second.takes) {
    sendError(*from, caller, kInvalidArguments,
              std::string(call.member) + " takes arguments of the D-Bus types " +
                  base::quoted(method->second.takes) + ", got " + base::quoted(call.signature));
    return;
  }
  const std::size_t size = message.costBehind(before);
  if (*waitingSize + size > kMostWaitingCalls) {
    sendError(*from, caller, kLimitsExceeded,
              "the calls that wait for service " + service + " fill the memory");
    return;
  }
  *waitingSize += size;
  std::shared_ptr<void> room(nullptr,
                             [count = waitingSize, size](void* /*none*/) { *count -= size; });
  std::unique_ptr<Request::Impl> impl(new Request::Impl{
      from, caller, sender, std::string(call.member), method->second.gives, {}, {}});
  Values& arguments = impl->arguments;
  const auto request = std::make_shared<Request>(std::move(impl));
  // Its arguments are decoded when its turn comes: they take several times the memory of the bytes.
  thread->post([handler = method->second.handler, request, &arguments, waiting = Received(message),
                room]() mutable {
    arguments = wire::readValues(waiting.message);
    waiting = {};
    room.reset();
    (*handler)(std::move(*request));
  });
}

bool ServiceHost::Impl::answerStandardCall(Connection& from, const wire::Header& call) const {
  if (answerPeerCall(from, call)) {
    return true;
  }
  if (call.interface != kIntrospectableInterface || call.member != "Introspect") {
    return false;
  }
  const std::optional<std::string> xml = introspection.of(std::string(call.path));
  if (xml) {
    sendText(from, ReturnAddress(call), *xml);
  }
  return xml.has_value();
}

void ServiceHost::Impl::onBusLost() {
  std::function<void()> callback;
  {
    const platform::MutexLock lock(mutex);
    isLost = true;
    callback.swap(lostCallback);
  }
  // Whoever has set one has a host that serves.
  if (callback) {
    thread->post(std::move(callback));
  }
}

std::vector<std::shared_ptr<Connection>> ServiceHost::Impl::connections() {
  std::vector<std::shared_ptr<Connection>> all;
  const platform::MutexLock lock(mutex);
  if (bus) {
    all.push_back(bus->connection());
  }
  for (const auto& [number, client] : clients) {
    all.push_back(client);
  }
  return all;
}

void ServiceHost::Impl::emit(const std::string& onInterface, const std::string& name,
                             const Values& values) {
  if (!isMemberName(name)) {
    return;
  }
  wire::Header header;
  header.type = wire::MessageType::kSignal;
  header.flags = wire::kNoReplyExpected;
  header.path = path;
  header.interface = onInterface;
  header.member = name;
  header.signature = kListSignature;
  wire::MessageWriter signal;
  signal.start(header);
  wire::appendValues(&signal, values);
  for (const std::shared_ptr<Connection>& connection : connections()) {
    // Each connection counts its own messages.
    connection->send(&signal);
  }
}

ServiceHost::ServiceHost(const std::string& address, const std::string& service,
                         std::vector<Method> methods, const std::vector<std::string>& events,
                         std::vector<PlainObject> objects) {
  if (!isServiceName(service)) {
    throw std::runtime_error(base::quoted(service) + " is no name for a service");
  }
  impl_ = std::make_shared<Impl>(service, std::move(methods), events, std::move(objects));
  const std::string reached = address.empty() ? busAddress() : address;
  impl_->place = isDirectAddress(reached) ? directSocket(reached, service) : reached;
  if (isDirectAddress(reached)) {
    impl_->listenDirectly(reached);
  } else {
    impl_->connectToBus(reached);
  }
}

ServiceHost::~ServiceHost() {
  if (const std::shared_ptr<Link> bus = impl_->busLink()) {
    bus->releaseName(busNameOf(impl_->service), deadlineAfter(kHostTimeoutMs));
  }
  impl_->acceptor.reset();
  impl_->thread->finish();
  std::map<unsigned long, std::shared_ptr<Connection>> clients;
  {
    const platform::MutexLock lock(impl_->mutex);
    clients.swap(impl_->clients);
  }
  clients.clear();
  if (impl_->acceptorLoop) {
    impl_->acceptorLoop->stopWithLastSource();
  }
}

const std::string& ServiceHost::place() const {
  return impl_->place;
}

void ServiceHost::emitEvent(const std::string& name, const Values& values) {
  impl_->emit(impl_->interface, name, values);
}

void ServiceHost::broadcast(const std::string& name, const Values& values) {
  impl_->emit(kBroadcastInterface, name, values);
}

bool ServiceHost::flush(std::chrono::milliseconds time) {
  const Clock::time_point deadline = Clock::now() + time;
  bool isFlushed = true;
  for (const std::shared_ptr<Connection>& connection : impl_->connections()) {
    isFlushed = connection->flush(deadline) && isFlushed;
  }
  return isFlushed;
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
    impl_->thread->post(std::move(onLost));
  }
}

}  // namespace qxbus
