#include "bus/dbus/client.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <thread>

#include <unistd.h>

#include "bus/dbus/bus_connection.h"
#include "bus/dbus/bus_daemon.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"
#include "bus/dbus/wire.h"
#include "platform/log.h"

namespace qxbus {
namespace {

constexpr int kErrorLevel = 7;
// How long the bus itself may take: callers hold locks meanwhile.
constexpr int kBusTimeoutMs = 2000;
// More peers than this are not remembered: unique names are never used again.
constexpr std::size_t kRememberedPeers = 1000;
// How often a thread is tried for that there was none for.
constexpr std::chrono::milliseconds kThreadRetry{100};

void logError(const std::string& text) {
  norvoLogPrint(0, kErrorLevel, "QXBUS", "%s", text.c_str());
}

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string ownerRule(const std::string& busName) {
  return "type='signal',sender='" DBUS_SERVICE_DBUS "',path='" DBUS_PATH_DBUS
         "',interface='" DBUS_INTERFACE_DBUS "',member='NameOwnerChanged',arg0='" +
         busName + "'";
}

std::string eventRule(const std::string& owner, const std::string& path,
                      const std::string& interface) {
  return "type='signal',sender='" + owner + "',path='" + path + "',interface='" + interface + "'";
}

std::string broadcastRule(const std::string& name) {
  return std::string("type='signal',interface='") + kBroadcastInterface + "',member='" + name + "'";
}

std::string textOf(const char* field) {
  return field ? field : "";
}

void callEach(const std::vector<Listeners::Registration>& registrations,
              const std::shared_ptr<QXBusMessage>& event) {
  for (const Listeners::Registration& registration : registrations) {
    if (registration.listener->handler) {
      registration.listener->handler(event);
    }
  }
}

}  // namespace

// --- Listeners -----------------------------------------------------------------------------------

void Listeners::add(const std::string& name, QXBusEventCallback* listener,
                    QXBusSecurityFlags flags) {
  const std::lock_guard<std::mutex> lock(mutex_);
  registrations_.push_back({name, listener, flags});
}

void Listeners::remove(const std::string& name, const QXBusEventCallback* listener) {
  const std::lock_guard<std::mutex> lock(mutex_);
  registrations_.erase(std::remove_if(registrations_.begin(), registrations_.end(),
                                      [&](const Registration& registration) {
                                        return registration.name == name &&
                                               registration.listener == listener;
                                      }),
                       registrations_.end());
}

void Listeners::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  registrations_.clear();
}

std::vector<Listeners::Registration> Listeners::named(const std::string& name) const {
  std::vector<Registration> found;
  const std::lock_guard<std::mutex> lock(mutex_);
  std::copy_if(registrations_.begin(), registrations_.end(), std::back_inserter(found),
               [&name](const Registration& registration) { return registration.name == name; });
  return found;
}

// --- ServiceHandle -------------------------------------------------------------------------------

ServiceHandle::ServiceHandle(std::shared_ptr<Client> client, std::shared_ptr<Connection> connection,
                             unsigned int generation, std::string service)
    : client_(std::move(client)),
      connection_(std::move(connection)),
      generation_(generation),
      service_(std::move(service)),
      busName_(busNameOf(service_)),
      path_(objectPathOf(service_)) {}

ServiceHandle::~ServiceHandle() {
  for (const std::string& rule : rules_) {
    removeMatch(*connection_, rule);
  }
}

base::Result<void> ServiceHandle::attach(QXBusSecurityFlags flags, Clock::time_point deadline) {
  // Match before asking for the owner, so that no change is missed.
  const std::string ofOwner = ownerRule(busName_);
  if (const auto added = addMatch(*connection_, ofOwner, deadline); !added) {
    return added;
  }
  rules_.push_back(ofOwner);
  const std::string owner = ownerOf(*connection_, busName_, deadline);
  if (owner.empty()) {
    return base::Failed{"nobody owns " + busName_};
  }
  if (flags != QXBUS_SECURITY_ANY_USER &&
      !client_->isTrusted(*connection_, owner, "service " + quoted(service_), deadline)) {
    return base::Failed{"its user is refused"};
  }
  const std::string ofEvents = eventRule(owner, path_, busName_);
  if (const auto added = addMatch(*connection_, ofEvents, deadline); !added) {
    return added;
  }
  rules_.push_back(ofEvents);

  bool gone = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    owner_ = owner;
    gone = std::find(formerOwners_.begin(), formerOwners_.end(), owner) != formerOwners_.end();
    formerOwners_.clear();
  }
  if (gone || !connection_->isOpen()) {
    die();
  }
  return {};
}

std::string ServiceHandle::owner() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return dead_ ? std::string() : owner_;
}

base::Result<MessagePtr> ServiceHandle::encode(QXBusMessage& message) const {
  const QXBusMessage::Impl& content = message.impl();
  const std::string destination = owner();
  if (destination.empty()) {
    return base::Failed{"service " + quoted(service_) + " is gone"};
  }
  if (!isMemberName(content.name)) {
    return base::Failed{quoted(content.name) + " is no name for a method"};
  }
  MessagePtr call(dbus_message_new_method_call(destination.c_str(), path_.c_str(), busName_.c_str(),
                                               content.name.c_str()));
  if (!call || !appendBody(call.get(), content.arguments)) {
    return base::Failed{"the arguments of " + content.name + " are too large for the bus"};
  }
  dbus_message_set_auto_start(call.get(), FALSE);
  return call;
}

std::shared_ptr<QXBusMessage> ServiceHandle::call(QXBusMessage& message, int timeoutMs) {
  const auto call = encode(message);
  return call ? messageFrom(connection_->call(call->get(), deadlineAfter(timeoutMs)),
                            message.impl().name)
              : notSent(call.reason());
}

void ServiceHandle::call(QXBusMessage& message, int timeoutMs,
                         std::function<void(std::shared_ptr<QXBusMessage>)> done) {
  const auto call = encode(message);
  if (!call) {
    client_->complete([done = std::move(done), failed = notSent(call.reason())] { done(failed); });
    return;
  }
  connection_->call(
      call->get(), deadlineAfter(timeoutMs),
      [client = client_, done = std::move(done), method = message.impl().name](Outcome outcome) {
        // Read here, as events are.
        client->complete([done, reply = messageFrom(std::move(outcome), method)] { done(reply); });
      });
}

void ServiceHandle::setDeathCallback(std::function<void()> callback) {
  bool dead = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    dead = dead_;
    callback.swap(deathCallback_);
  }
  if (dead) {
    die();
  }
}

void ServiceHandle::die() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    dead_ = true;
    if (deathReported_ || !deathCallback_) {
      return;
    }
    deathReported_ = true;
  }
  // The callback stays here until a thread has it: whoever releases the interface before is not
  // told any more.
  client_->runApart([weak = weak_from_this()] {
    std::function<void()> callback;
    if (const std::shared_ptr<ServiceHandle> self = weak.lock()) {
      callback = self->takeDeathCallback();
    }
    if (callback) {
      callback();
    }
  });
}

std::function<void()> ServiceHandle::takeDeathCallback() {
  std::function<void()> callback;
  const std::lock_guard<std::mutex> lock(mutex_);
  callback.swap(deathCallback_);
  deathReported_ = callback != nullptr;
  return callback;
}

void ServiceHandle::addEventListener(const std::string& name, QXBusEventCallback* listener,
                                     QXBusSecurityFlags flags) {
  // A service that may be anybody's is not good enough for a listener that asks for more.
  if (flags == QXBUS_SECURITY_ANY_USER ||
      client_->isTrusted(*connection_, owner(), "service " + quoted(service_),
                         deadlineAfter(kBusTimeoutMs))) {
    listeners_.add(name, listener, flags);
  }
}

bool ServiceHandle::sends(const std::string& sender, const std::string& path,
                          const std::string& interface) const {
  if (sender.empty() || path != path_ || interface != busName_) {
    return false;
  }
  // Also once it is dead: what it sent in time may still be waiting to be handled.
  const std::lock_guard<std::mutex> lock(mutex_);
  return sender == owner_;
}

void ServiceHandle::ownerChanged(const std::string& busName, const std::string& from,
                                 const std::string& to) {
  if (busName != busName_) {
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (owner_.empty()) {
      formerOwners_.push_back(from);
      return;
    }
    // A change that came before the owner was asked may still be on its way here.
    if (from != owner_ || to == owner_) {
      return;
    }
  }
  die();
}

void ServiceHandle::connectionLost(unsigned int generation) {
  if (generation == generation_) {
    die();
  }
}

// --- Client --------------------------------------------------------------------------------------

Client::Client(std::string address) : address_(std::move(address)) {}

base::Result<std::shared_ptr<Client>> Client::connect(std::string address) {
  std::shared_ptr<Client> client(new Client(std::move(address)));
  if (!client->events_.isRunning() || !client->completions_.isRunning() ||
      !client->deaths_.isRunning()) {
    return base::Failed{kNoThread};
  }
  const Connected connected = client->connection(deadlineAfter(kBusTimeoutMs));
  if (!connected) {
    return connected.failed();
  }
  return client;
}

std::shared_ptr<Connection> Client::openConnection() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return connection_ && connection_->isOpen() ? connection_ : nullptr;
}

Client::Connected Client::connection(Clock::time_point deadline) {
  if (const std::shared_ptr<Connection> open = openConnection()) {
    return open;
  }
  return connecting_.join([this, deadline]() -> Connected {
    // An attempt may just have ended.
    if (const std::shared_ptr<Connection> open = openConnection()) {
      return open;
    }
    return connectAnew(deadline);
  });
}

Client::Connected Client::connectAnew(Clock::time_point deadline) {
  unsigned int generation = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    generation = ++attempts_;
  }
  const std::weak_ptr<Client> self = weak_from_this();
  const Connected opened = connectToBus(address_,
                                        {[self, generation](MessagePtr message) {
                                           if (const std::shared_ptr<Client> client = self.lock()) {
                                             client->onMessage(generation, std::move(message));
                                           }
                                         },
                                         [self, generation] {
                                           if (const std::shared_ptr<Client> client = self.lock()) {
                                             client->onLost(generation);
                                           }
                                         }},
                                        deadline);
  if (!opened) {
    return opened;
  }
  const std::shared_ptr<Connection>& connected = *opened;
  std::vector<std::string> rules;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    connection_ = connected;
    generation_ = generation;
    users_.clear();
    refusedSenders_.clear();
    rules = broadcastRules_;
  }
  for (const std::string& rule : rules) {
    if (const auto added = addMatch(*connected, rule, deadline); !added) {
      logError("broadcast events will not arrive: " + added.reason());
    }
  }
  return opened;
}

bool Client::isServiceRegistered(const std::string& service) {
  if (!isServiceName(service)) {
    return false;
  }
  const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
  const Connected connected = connection(deadline);
  if (!connected) {
    return false;
  }
  const std::string owner = ownerOf(**connected, busNameOf(service), deadline);
  return !owner.empty() && isTrusted(**connected, owner, "service " + quoted(service), deadline);
}

std::shared_ptr<ServiceHandle> Client::handleOn(const std::string& service,
                                                QXBusSecurityFlags flags) {
  const auto attached = attachTo(service, flags);
  if (!attached) {
    logError("no connection to service " + quoted(service) + ": " + attached.reason());
    return nullptr;
  }
  return *attached;
}

base::Result<std::shared_ptr<ServiceHandle>> Client::attachTo(const std::string& service,
                                                              QXBusSecurityFlags flags) {
  if (!isServiceName(service)) {
    return base::Failed{"that is no name for a service"};
  }
  const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
  const Connected connected = connection(deadline);
  if (!connected) {
    return connected.failed();
  }
  std::shared_ptr<ServiceHandle> handle;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    handle = std::make_shared<ServiceHandle>(shared_from_this(), *connected,
                                             *connected == connection_ ? generation_ : 0, service);
    forgetDeadHandles();
    handles_.push_back(handle);
  }
  const auto attached = handle->attach(flags, deadline);
  if (!attached) {
    return attached.failed();
  }
  return handle;
}

void Client::addBroadcastListener(const std::string& name, QXBusEventCallback* listener,
                                  QXBusSecurityFlags flags) {
  if (!isMemberName(name)) {
    logError(quoted(name) + " is no name for an event");
    return;
  }
  broadcastListeners_.add(name, listener, flags);
  const std::string rule = broadcastRule(name);
  std::shared_ptr<Connection> connected;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    // One rule serves every listener of the name; a new connection takes it over.
    if (std::find(broadcastRules_.begin(), broadcastRules_.end(), rule) != broadcastRules_.end()) {
      return;
    }
    broadcastRules_.push_back(rule);
    connected = connection_;
  }
  if (!connected || !connected->isOpen()) {
    return;
  }
  if (const auto added = addMatch(*connected, rule, deadlineAfter(kBusTimeoutMs)); !added) {
    logError("broadcast events " + quoted(name) + " will not arrive: " + added.reason());
  }
}

bool Client::isTrusted(Connection& connection, const std::string& uniqueName,
                       const std::string& what, Clock::time_point deadline) {
  const std::string reason = refusal(connection, uniqueName, deadline);
  if (!reason.empty()) {
    logError(what + " is refused: " + reason);
  }
  return reason.empty();
}

std::string Client::refusal(Connection& connection, const std::string& uniqueName,
                            Clock::time_point deadline) {
  std::optional<dbus_uint32_t> user;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto known = users_.find(uniqueName);
    if (&connection == connection_.get() && known != users_.end()) {
      user = known->second;
    }
  }
  if (!user) {
    user = userOf(connection, uniqueName, deadline);
    if (!user) {
      return "the bus does not say which user it runs as";
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    if (users_.size() >= kRememberedPeers) {
      users_.clear();
    }
    if (&connection == connection_.get()) {
      users_.emplace(uniqueName, *user);
    }
  }
  if (*user == ::geteuid() || *user == 0) {
    return "";
  }
  return "it runs as user " + std::to_string(*user) + ", neither as this user (" +
         std::to_string(::geteuid()) + ") nor as root";
}

// Anybody may broadcast as often as it likes, and the log is not there for that.
void Client::logRefusedSender(const Connection& connection, const std::string& sender,
                              const std::string& reason) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (refusedSenders_.size() >= kRememberedPeers) {
      refusedSenders_.clear();
    }
    // What a lost connection has left behind is not worth a line either.
    if (&connection != connection_.get() || !refusedSenders_.insert(sender).second) {
      return;
    }
  }
  logError("broadcast events of " + sender + " are refused: " + reason);
}

void Client::runApart(const std::function<void()>& task) {
  if (!startThread(task)) {
    deaths_.post([task] {
      while (!startThread(task)) {
        std::this_thread::sleep_for(kThreadRetry);
      }
    });
  }
}

void Client::forgetDeadHandles() {
  handles_.erase(std::remove_if(handles_.begin(), handles_.end(),
                                [](const auto& handle) { return handle.expired(); }),
                 handles_.end());
}

std::vector<std::shared_ptr<ServiceHandle>> Client::liveHandles() {
  std::vector<std::shared_ptr<ServiceHandle>> live;
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const std::weak_ptr<ServiceHandle>& handle : handles_) {
    if (std::shared_ptr<ServiceHandle> alive = handle.lock()) {
      live.push_back(std::move(alive));
    }
  }
  return live;
}

// What was read from the bus and waits for its handlers. Not the message itself: libdbus counts the
// messages that are kept, and stops reading when they are too many.
struct Client::Signal {
  std::shared_ptr<Connection> connection;
  std::string sender;
  std::string name;
  bool isBroadcast;
  std::vector<std::weak_ptr<ServiceHandle>> from;  // unless it is a broadcast
  Values arguments;
};

void Client::onMessage(unsigned int generation, MessagePtr message) {
  std::shared_ptr<Connection> connection;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (generation != generation_ || !connection_) {
      return;
    }
    connection = connection_;
  }
  if (dbus_message_get_type(message.get()) != DBUS_MESSAGE_TYPE_SIGNAL) {
    return;
  }
  const char* name = nullptr;
  const char* from = nullptr;
  const char* to = nullptr;
  if (dbus_message_is_signal(message.get(), DBUS_INTERFACE_DBUS, "NameOwnerChanged")) {
    if (textOf(dbus_message_get_sender(message.get())) == DBUS_SERVICE_DBUS &&
        dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING,
                              &from, DBUS_TYPE_STRING, &to, DBUS_TYPE_INVALID)) {
      for (const std::shared_ptr<ServiceHandle>& handle : liveHandles()) {
        if (handle->isOn(*connection)) {
          handle->ownerChanged(name, from, to);
        }
      }
    }
    return;
  }
  const std::string path = textOf(dbus_message_get_path(message.get()));
  const std::string interface = textOf(dbus_message_get_interface(message.get()));
  Signal signal = {connection,
                   textOf(dbus_message_get_sender(message.get())),
                   textOf(dbus_message_get_member(message.get())),
                   interface == kBroadcastInterface,
                   {},
                   {}};
  if (!signal.isBroadcast) {
    for (const std::shared_ptr<ServiceHandle>& handle : liveHandles()) {
      // Instances on different connections may have had the same unique name.
      if (handle->isOn(*connection) && handle->sends(signal.sender, path, interface)) {
        signal.from.push_back(handle);
      }
    }
  }
  // What nobody asked for must not wait behind a handler: anybody can send it.
  if (signal.isBroadcast ? broadcastListeners_.named(signal.name).empty() : signal.from.empty()) {
    return;
  }
  signal.arguments = readBody(message.get());
  events_.post([self = shared_from_this(), held = std::make_shared<Signal>(std::move(signal))] {
    self->onSignal(*held);
  });
}

void Client::onSignal(Signal& signal) {
  std::vector<Listeners::Registration> called;
  if (signal.isBroadcast) {
    const auto asks = [](const Listeners::Registration& registration) {
      return registration.flags != QXBUS_SECURITY_ANY_USER;
    };
    called = broadcastListeners_.named(signal.name);
    if (std::any_of(called.begin(), called.end(), asks)) {
      const std::string reason =
          refusal(*signal.connection, signal.sender, deadlineAfter(kBusTimeoutMs));
      if (!reason.empty()) {
        logRefusedSender(*signal.connection, signal.sender, reason);
        called.erase(std::remove_if(called.begin(), called.end(), asks), called.end());
      }
    }
  }
  for (const std::weak_ptr<ServiceHandle>& from : signal.from) {
    if (const std::shared_ptr<ServiceHandle> handle = from.lock()) {
      const auto more = handle->listeners().named(signal.name);
      called.insert(called.end(), more.begin(), more.end());
    }
  }
  if (!called.empty()) {
    callEach(called, makeMessage(MESSAGE_TYPE_SIGNAL, signal.name, std::move(signal.arguments)));
  }
}

void Client::onLost(unsigned int generation) {
  for (const std::shared_ptr<ServiceHandle>& handle : liveHandles()) {
    handle->connectionLost(generation);
  }
}

}  // namespace qxbus
