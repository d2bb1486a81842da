#include "bus/dbus/client.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "bus/dbus/bus_connection.h"
#include "bus/dbus/bus_daemon.h"
#include "bus/dbus/bus_log.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"
#include "bus/dbus/wire.h"

namespace qxbus {
namespace {

std::string broadcastRule(const std::string& name) {
  return std::string("type='signal',interface='") + kBroadcastInterface + "',member='" + name + "'";
}

bool takesAnyUser(const Listeners::Registration& registration) {
  return registration.flags == QXBUS_SECURITY_ANY_USER;
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

Client::Client(std::string address)
    : address_(std::move(address)), threads_(std::make_shared<HandlerThreads>()) {}

// --- The link ------------------------------------------------------------------------------------

base::Result<std::shared_ptr<Client>> Client::connect(std::string address) {
  std::shared_ptr<Client> client(new Client(std::move(address)));
  if (const auto started = client->threads_->started(); !started) {
    setBusFailure(started.reason());
    return started.failed();
  }
  if (const Linked linked = client->link(deadlineAfter(kBusTimeoutMs)); !linked) {
    return linked.failed();
  }
  return client;
}

std::shared_ptr<Link> Client::openLink() {
  const platform::MutexLock lock(mutex_);
  return link_ && link_->connection().isOpen() ? link_ : nullptr;
}

Client::Linked Client::link(Clock::time_point deadline) {
  if (const std::shared_ptr<Link> open = openLink()) {
    return open;
  }
  return linking_.join([this, deadline]() -> Linked {
    // An attempt may just have ended.
    if (const std::shared_ptr<Link> open = openLink()) {
      return open;
    }
    return linkAnew(deadline);
  });
}

Client::Linked Client::linkAnew(Clock::time_point deadline) {
  const auto link = std::make_shared<Link>();
  const auto withLink = [self = weak_from_this(), weakLink = std::weak_ptr<Link>(link)](auto task) {
    const std::shared_ptr<Client> client = self.lock();
    const std::shared_ptr<Link> live = weakLink.lock();
    if (client && live) {
      task(*client, live);
    }
  };
  const auto connected = connectToBus(
      address_,
      {[withLink](const MessagePtr& message) {
         withLink([&message](Client& client, const std::shared_ptr<Link>& live) {
           client.onMessage(live, message.get());
         });
       },
       [withLink] {
         withLink([](Client& client, const std::shared_ptr<Link>& live) { client.onLost(*live); });
       }},
      deadline);
  if (!connected) {
    return connected.failed();
  }
  link->setConnection(*connected);
  std::vector<std::string> rules;
  {
    const platform::MutexLock lock(mutex_);
    link_ = link;
    rules = broadcastRules_;
  }
  for (const std::string& rule : rules) {
    if (const auto added = addMatch(link->connection(), rule, deadline); !added) {
      logError("broadcast events will not arrive: " + added.reason());
    }
  }
  return link;
}

// --- Services ------------------------------------------------------------------------------------

bool Client::isServiceRegistered(const std::string& service) {
  if (!isServiceName(service)) {
    return false;
  }
  const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
  const Linked linked = link(deadline);
  if (!linked) {
    return false;
  }
  const std::string owner = ownerOf((*linked)->connection(), busNameOf(service), deadline);
  return !owner.empty() &&
         (*linked)->isTrusted(owner, "service " + base::quoted(service), deadline);
}

std::shared_ptr<ServiceHandle> Client::handleOn(const std::string& service,
                                                QXBusSecurityFlags flags) {
  const auto attached = attachTo(service, flags);
  if (!attached) {
    logError("no connection to service " + base::quoted(service) + ": " + attached.reason());
    return nullptr;
  }
  return *attached;
}

base::Result<std::shared_ptr<ServiceHandle>> Client::attachTo(const std::string& service,
                                                              QXBusSecurityFlags flags) {
  if (!isServiceName(service)) {
    return base::Failed{"the name is invalid"};
  }
  const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
  const Linked linked = link(deadline);
  if (!linked) {
    return linked.failed();
  }
  const auto handle = std::make_shared<ServiceHandle>(*linked, threads_, service);
  {
    // Before it attaches, so that it sees every change of the owner.
    const platform::MutexLock lock(mutex_);
    handles_.erase(std::remove_if(handles_.begin(), handles_.end(),
                                  [](const auto& each) { return each.expired(); }),
                   handles_.end());
    handles_.push_back(handle);
  }
  if (const auto attached = handle->attach(flags, deadline); !attached) {
    return attached.failed();
  }
  return handle;
}

std::vector<std::shared_ptr<ServiceHandle>> Client::liveHandlesOn(const Link& link) {
  std::vector<std::shared_ptr<ServiceHandle>> live;
  const platform::MutexLock lock(mutex_);
  for (const std::weak_ptr<ServiceHandle>& each : handles_) {
    std::shared_ptr<ServiceHandle> handle = each.lock();
    if (handle && handle->isOn(link)) {
      live.push_back(std::move(handle));
    }
  }
  return live;
}

void Client::addBroadcastListener(const std::string& name, QXBusEventCallback* listener,
                                  QXBusSecurityFlags flags) {
  if (!isMemberName(name)) {
    logError("invalid event name " + base::quoted(name));
    return;
  }
  broadcastListeners_.add(name, listener, flags);
  const std::string rule = broadcastRule(name);
  std::shared_ptr<Link> link;
  {
    const platform::MutexLock lock(mutex_);
    // One rule serves every listener of the name; a new link takes it over.
    if (std::find(broadcastRules_.begin(), broadcastRules_.end(), rule) != broadcastRules_.end()) {
      return;
    }
    broadcastRules_.push_back(rule);
    link = link_;
  }
  if (!link || !link->connection().isOpen()) {
    return;
  }
  if (const auto added = addMatch(link->connection(), rule, deadlineAfter(kBusTimeoutMs)); !added) {
    logError("broadcast events " + base::quoted(name) + " will not arrive: " + added.reason());
  }
}

// --- Messages from the bus -----------------------------------------------------------------------

// A signal that waits for its handlers. Not the message itself: libdbus counts the messages that
// are kept, and stops reading when they are too many.
struct Client::Signal {
  std::shared_ptr<Link> link;
  std::string sender;
  std::string name;
  bool isBroadcast;
  std::vector<std::weak_ptr<ServiceHandle>> from;  // unless it is a broadcast
  Values arguments;
};

void Client::onMessage(const std::shared_ptr<Link>& link, DBusMessage* message) {
  {
    const platform::MutexLock lock(mutex_);
    if (link != link_) {
      return;
    }
  }
  if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_SIGNAL) {
    return;
  }
  if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged")) {
    onOwnerChanged(*link, message);
    return;
  }
  const std::string path = orEmpty(dbus_message_get_path(message));
  const std::string interface = orEmpty(dbus_message_get_interface(message));
  Signal signal = {link,
                   orEmpty(dbus_message_get_sender(message)),
                   orEmpty(dbus_message_get_member(message)),
                   interface == kBroadcastInterface,
                   {},
                   {}};
  if (!signal.isBroadcast) {
    for (const std::shared_ptr<ServiceHandle>& handle : liveHandlesOn(*link)) {
      if (handle->sends(signal.sender, path, interface)) {
        signal.from.push_back(handle);
      }
    }
  }
  // A signal that has no listener must not wait behind a handler: any peer can send one.
  if (signal.isBroadcast ? broadcastListeners_.named(signal.name).empty() : signal.from.empty()) {
    return;
  }
  signal.arguments = readBody(message);
  threads_->postEvent([self = shared_from_this(), held = std::make_shared<Signal>(std::move(
                                                      signal))] { self->dispatch(*held); });
}

void Client::onOwnerChanged(const Link& link, DBusMessage* message) {
  const char* name = nullptr;
  const char* from = nullptr;
  const char* to = nullptr;
  if (!dbus_message_has_sender(message, DBUS_SERVICE_DBUS) ||
      !dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &from,
                             DBUS_TYPE_STRING, &to, DBUS_TYPE_INVALID)) {
    return;
  }
  for (const std::shared_ptr<ServiceHandle>& handle : liveHandlesOn(link)) {
    handle->ownerChanged(name, from, to);
  }
}

void Client::onLost(const Link& link) {
  for (const std::shared_ptr<ServiceHandle>& handle : liveHandlesOn(link)) {
    handle->reportDeath();
  }
}

// --- Dispatch ------------------------------------------------------------------------------------

void Client::dispatch(Signal& signal) {
  const std::vector<Listeners::Registration> registrations = registrationsFor(signal);
  if (!registrations.empty()) {
    callEach(registrations,
             makeMessage(MESSAGE_TYPE_SIGNAL, signal.name, std::move(signal.arguments)));
  }
}

std::vector<Listeners::Registration> Client::registrationsFor(const Signal& signal) const {
  std::vector<Listeners::Registration> found;
  if (!signal.isBroadcast) {
    for (const std::weak_ptr<ServiceHandle>& from : signal.from) {
      if (const std::shared_ptr<ServiceHandle> handle = from.lock()) {
        const auto more = handle->listeners().named(signal.name);
        found.insert(found.end(), more.begin(), more.end());
      }
    }
    return found;
  }
  found = broadcastListeners_.named(signal.name);
  if (std::all_of(found.begin(), found.end(), takesAnyUser)) {
    return found;
  }
  const std::string reason = signal.link->refusal(signal.sender, deadlineAfter(kBusTimeoutMs));
  if (!reason.empty()) {
    signal.link->logRefusedSender(signal.sender, reason);
    found.erase(std::remove_if(found.begin(), found.end(),
                               [](const auto& each) { return !takesAnyUser(each); }),
                found.end());
  }
  return found;
}

}  // namespace qxbus
