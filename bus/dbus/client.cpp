#include "bus/dbus/client.h"

#include <algorithm>
#include <new>
#include <utility>
#include <variant>

#include "base/text.h"
#include "bus/dbus/bus_log.h"
#include "bus/dbus/direct.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"
#include "bus/dbus/peer_calls.h"
#include "bus/dbus/wire/argument_reader.h"

namespace qxbus {
namespace {

// The memory that signals may take while they wait for handlers, or for the users of their senders;
// and broadcasts of one sender while its user is asked for.
constexpr std::size_t kMostWaitingSignals = std::size_t{256} * 1024 * 1024;
constexpr std::size_t kMostUnidentified = std::size_t{16} * 1024 * 1024;
// Every link asks for all of them: a listener needs no rule of its own, and no wait for one.
std::string broadcastRule() {
  return std::string("type='signal',interface='") + kBroadcastInterface + "'";
}

bool isBroadcast(const wire::Header& header) {
  return header.interface == kBroadcastInterface;
}

bool isOwnerChange(const Link& link, const wire::Header& header) {
  return !link.isDirect() && header.sender == kDaemonName && header.interface == kDaemonName &&
         header.member == "NameOwnerChanged";
}

// The first arguments, which must be texts.
template <std::size_t count>
bool readTexts(const Received& message, std::string_view (&texts)[count]) {
  wire::ArgumentReader arguments(message.message);
  for (std::string_view& text : texts) {
    wire::Argument argument;
    if (!arguments.next(&argument) || !std::holds_alternative<std::string_view>(argument)) {
      return false;
    }
    text = std::get<std::string_view>(argument);
  }
  return true;
}

}  // namespace

// --- Connecting ----------------------------------------------------------------------------------

Client::Client(std::string address)
    : address_(std::move(address)),
      isDirect_(isDirectAddress(address_)),
      threads_(std::make_shared<HandlerThreads>()) {}

base::Result<std::shared_ptr<Client>> Client::connect(std::string address,
                                                      Clock::time_point deadline) {
  std::shared_ptr<Client> client(new Client(std::move(address)));
  if (const auto started = client->threads_->started(); !started) {
    setBusFailure(started.reason());
    return started.failed();
  }
  // Without a bus there is nothing to reach before a service is asked for.
  if (client->isDirect_) {
    setBusFailure("");
    return client;
  }
  const Linked linked = client->linkTo("", deadline);
  if (!linked) {
    return linked.failed();
  }
  return client;
}

std::shared_ptr<Client::Route> Client::routeTo(const std::string& service) {
  const platform::MutexLock lock(mutex_);
  std::shared_ptr<Route>& route = routes_[isDirect_ ? service : ""];
  if (!route) {
    route = std::make_shared<Route>();
  }
  return route;
}

std::shared_ptr<Link> Client::openLink(const Route& route, Clock::time_point deadline) {
  std::shared_ptr<Link> link;
  {
    const platform::MutexLock lock(mutex_);
    link = route.link;
  }
  return link && link->isAlive(deadline) ? link : nullptr;
}

Client::Linked Client::linkTo(const std::string& service, Clock::time_point deadline) {
  const std::shared_ptr<Route> route = routeTo(service);
  if (const std::shared_ptr<Link> open = openLink(*route, deadline)) {
    return open;
  }
  return route->linking.join(deadline, [&]() -> Linked {
    // An attempt may just have ended.
    if (const std::shared_ptr<Link> open = openLink(*route, deadline)) {
      return open;
    }
    return linkAnew(service, route.get(), deadline);
  });
}

base::Result<void> Client::overLink(
    const std::string& service, Clock::time_point deadline,
    const std::function<bool(const std::shared_ptr<Link>&)>& request) {
  for (bool isFirstTry = true;; isFirstTry = false) {
    const Linked linked = linkTo(service, deadline);
    if (!linked) {
      return linked.failed();
    }
    if (request(*linked) || !isFirstTry || (*linked)->isOpen()) {
      return {};
    }
  }
}

Connection::Handlers Client::handlersOf(const std::weak_ptr<Link>& link) {
  const std::weak_ptr<Client> self = weak_from_this();
  Connection::Handlers handlers;
  handlers.interestIn = [self, link](const wire::Header& header) {
    const std::shared_ptr<Client> client = self.lock();
    const std::shared_ptr<Link> read = link.lock();
    return client && read ? client->interestIn(*read, header) : Connection::Interest::kNone;
  };
  handlers.onMessages = [self, link](std::vector<Received> messages) {
    const std::shared_ptr<Client> client = self.lock();
    const std::shared_ptr<Link> read = link.lock();
    if (client && read) {
      client->onMessages(read, std::move(messages));
    }
  };
  handlers.onLost = [self, link] {
    const std::shared_ptr<Client> client = self.lock();
    const std::shared_ptr<Link> lost = link.lock();
    if (client && lost) {
      client->onLost(*lost);
    }
  };
  return handlers;
}

Client::Linked Client::linkAnew(const std::string& service, Route* route,
                                Clock::time_point deadline) {
  Linked linked = Link::connect(
      address_, service, broadcastRule(),
      [this](const std::weak_ptr<Link>& link) { return handlersOf(link); }, deadline);
  if (!linked) {
    return linked;
  }
  const platform::MutexLock lock(mutex_);
  route->link = *linked;
  return linked;
}

// --- Services ------------------------------------------------------------------------------------

bool Client::isServiceRegistered(const std::string& service) {
  if (!isServiceName(service)) {
    return false;
  }
  const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
  std::optional<uid_t> user;
  const auto asked = overLink(service, deadline, [&](const std::shared_ptr<Link>& link) {
    // One question for two answers: a name without an owner has no user.
    user = link->userOf(busNameOf(service), deadline);
    return user.has_value();
  });
  if (!asked || !user) {
    return false;
  }
  const std::string reason = refusalOf(user);
  if (!reason.empty()) {
    logError("service " + base::quoted(service) + " is refused: " + reason);
  }
  return reason.empty();
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
    return base::Failed{"that is no name for a service"};
  }
  const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
  std::shared_ptr<ServiceHandle> handle;
  base::Result<void> attached;
  const auto linked = overLink(service, deadline, [&](const std::shared_ptr<Link>& link) {
    handle = std::make_shared<ServiceHandle>(threads_, link, service);
    {
      // Before it attaches, so that it misses no change of the owner.
      const platform::MutexLock lock(mutex_);
      handles_.erase(std::remove_if(handles_.begin(), handles_.end(),
                                    [](const auto& each) { return each.expired(); }),
                     handles_.end());
      handles_.push_back(handle);
    }
    attached = handle->attach(flags, deadline);
    return static_cast<bool>(attached);
  });
  if (!linked) {
    return linked.failed();
  }
  if (!attached) {
    return attached.failed();
  }
  return handle;
}

void Client::addBroadcastListener(const std::string& name, QXBusEventCallback* listener,
                                  QXBusSecurityFlags flags) {
  if (!isMemberName(name)) {
    logError(base::quoted(name) + " is no name for an event");
    return;
  }
  broadcastListeners_.add(name, listener, flags);
}

// --- On the thread that reads --------------------------------------------------------------------

Client::Handles Client::liveHandlesOn(const Link& link) {
  Handles live;
  const platform::MutexLock lock(mutex_);
  for (const std::weak_ptr<ServiceHandle>& weak : handles_) {
    std::shared_ptr<ServiceHandle> handle = weak.lock();
    if (handle && handle->isOn(link)) {
      live.push_back(std::move(handle));
    }
  }
  return live;
}

// The services whose event a signal is.
Client::Handles Client::sendersOf(const Link& link, const wire::Header& header) {
  Handles senders = liveHandlesOn(link);
  const std::string_view sender = link.senderOf(header);
  senders.erase(std::remove_if(senders.begin(), senders.end(),
                               [&](const auto& handle) {
                                 return !handle->sends(sender, header.path, header.interface);
                               }),
                senders.end());
  return senders;
}

Connection::Interest Client::interestIn(Link& link, const wire::Header& header) {
  using Interest = Connection::Interest;
  if (header.type == wire::MessageType::kMethodCall) {
    return Interest::kUnchecked;
  }
  if (header.type != wire::MessageType::kSignal) {
    return Interest::kNone;
  }
  if (isOwnerChange(link, header)) {
    return Interest::kChecked;
  }
  if (isBroadcast(header)) {
    return interestInBroadcast(link, header);
  }
  return sendersOf(link, header).empty() ? Interest::kNone : Interest::kChecked;
}

// A sender that is refused costs a look at the header of its message, and no more.
Connection::Interest Client::interestInBroadcast(Link& link, const wire::Header& header) {
  using Interest = Connection::Interest;
  if (!broadcastListeners_.hasNamed(header.member)) {
    return Interest::kNone;
  }
  const std::string_view sender = link.senderOf(header);
  const std::optional<uid_t> user = link.knownUser(sender);
  if (!user) {
    return Interest::kUnchecked;
  }
  if (isTrustedUser(*user)) {
    return Interest::kChecked;
  }
  link.logRefusedSender(sender, refusalOf(user));
  return broadcastListeners_.takesAnyUser(header.member) ? Interest::kChecked : Interest::kNone;
}

void Client::onMessages(const std::shared_ptr<Link>& link, std::vector<Received> messages) {
  Signals accepted;
  accepted.reserve(messages.size());
  for (Received& message : messages) {
    const wire::Header& header = message.header();
    if (header.type == wire::MessageType::kMethodCall) {
      if (const std::shared_ptr<Connection> from = link->connection()) {
        answerClientCall(*from, header);
      }
    } else if (isOwnerChange(*link, header)) {
      onOwnerChanged(*link, message);
    } else if (isBroadcast(header)) {
      onBroadcast(link, std::move(message), &accepted);
    } else {
      const Handles senders = sendersOf(*link, header);
      if (!senders.empty()) {
        accepted.push_back({link, std::move(message), {senders.begin(), senders.end()}, true});
      }
    }
  }
  post(std::move(accepted));
}

void Client::onOwnerChanged(const Link& link, const Received& message) {
  std::string_view texts[3];  // the name, its owner before, its owner from now on
  if (!readTexts(message, texts)) {
    return;
  }
  for (const std::shared_ptr<ServiceHandle>& handle : liveHandlesOn(link)) {
    handle->ownerChanged(texts[0], texts[1], texts[2]);
  }
}

void Client::onBroadcast(const std::shared_ptr<Link>& link, Received message, Signals* accepted) {
  const std::string sender(link->senderOf(message.header()));
  const std::optional<uid_t> user = link->knownUser(sender);
  Signal signal = {link, std::move(message), {}, user && isTrustedUser(*user)};
  bool isFirst = false;
  {
    const platform::MutexLock lock(mutex_);
    const std::pair<const Link*, std::string> key(link.get(), sender);
    // A caller may have asked for the user meanwhile: earlier events still come first.
    if (user && unidentified_.count(key) == 0) {
      accepted->push_back(std::move(signal));
      return;
    }
    Unidentified& waiting = unidentified_[key];
    isFirst = waiting.held.empty();
    const std::size_t size =
        signal.message.costBehind(isFirst ? nullptr : &waiting.held.back().message);
    // A first event may be as large as it likes, if all of them leave room for it.
    const bool isTooMuchOfOne = !isFirst && waiting.size + size > kMostUnidentified;
    if (isTooMuchOfOne || unidentifiedSize_ + size > kMostWaitingSignals) {
      ++dropped_;
      if (isFirst) {
        unidentified_.erase(key);
      }
      return;
    }
    unidentifiedSize_ += size;
    waiting.size += size;
    waiting.held.push_back(std::move(signal));
  }
  if (isFirst) {
    link->identify(sender, deadlineAfter(kBusTimeoutMs),
                   [weak = weak_from_this(), weakLink = std::weak_ptr<Link>(link),
                    sender](std::optional<uid_t> identified) {
                     if (const std::shared_ptr<Client> self = weak.lock()) {
                       // The broadcasts that wait hold their link.
                       self->onIdentified(weakLink.lock(), sender, identified);
                     }
                   });
  }
}

void Client::onIdentified(const std::shared_ptr<Link>& link, const std::string& sender,
                          std::optional<uid_t> user) {
  Signals held;
  {
    const platform::MutexLock lock(mutex_);
    // There once for each answer.
    const auto waiting = unidentified_.extract({link.get(), sender});
    held = std::move(waiting.mapped().held);
    unidentifiedSize_ -= waiting.mapped().size;
  }
  const std::string reason = refusalOf(user);
  if (!reason.empty()) {
    link->logRefusedSender(sender, reason);
  }
  Signals accepted;
  for (Signal& signal : held) {
    signal.isTrusted = reason.empty();
    const bool isTaken =
        signal.isTrusted || broadcastListeners_.takesAnyUser(signal.message.header().member);
    if (isTaken && wire::checkBody(signal.message.message) == wire::Fault::kNone) {
      accepted.push_back(std::move(signal));
    }
  }
  post(std::move(accepted));
}

// Hands signals to the event thread, as many at once as have been read.
void Client::post(Signals signals) {
  Signals taken;
  std::size_t size = 0;
  for (Signal& signal : signals) {
    const std::size_t more =
        signal.message.costBehind(taken.empty() ? nullptr : &taken.back().message);
    if (waitingSize_ + size + more > kMostWaitingSignals) {
      if (dropped_++ == 0) {
        logError("events are dropped: the events that wait for their handlers fill the memory");
      }
      continue;
    }
    size += more;
    taken.push_back(std::move(signal));
  }
  if (taken.empty()) {
    return;
  }
  waitingSize_ += size;
  threads_->postEvent(
      [self = shared_from_this(), size, held = std::make_shared<Signals>(std::move(taken))] {
        for (Signal& signal : *held) {
          try {
            self->dispatch(signal);
          } catch (const std::bad_alloc&) {
            ++self->dropped_;
          }
          signal = {};
        }
        self->waitingSize_ -= size;
        if (const std::size_t dropped = self->dropped_.exchange(0); dropped > 0) {
          logError(base::counted(dropped, "event") + " dropped");
        }
      });
}

void Client::onLost(const Link& link) {
  for (const std::shared_ptr<ServiceHandle>& handle : liveHandlesOn(link)) {
    handle->connectionLost();
  }
}

// --- On the event thread -------------------------------------------------------------------------

std::vector<Listeners::Registration> Client::registrationsFor(const Signal& signal) const {
  const std::string_view name = signal.message.header().member;
  std::vector<Listeners::Registration> found;
  if (signal.from.empty()) {
    found = broadcastListeners_.named(name);
    if (!signal.isTrusted) {
      found.erase(std::remove_if(found.begin(), found.end(),
                                 [](const Listeners::Registration& registration) {
                                   return registration.flags != QXBUS_SECURITY_ANY_USER;
                                 }),
                  found.end());
    }
  }
  for (const std::weak_ptr<ServiceHandle>& from : signal.from) {
    if (const std::shared_ptr<ServiceHandle> handle = from.lock()) {
      const auto more = handle->listeners().named(name);
      found.insert(found.end(), more.begin(), more.end());
    }
  }
  return found;
}

void Client::dispatch(Signal& signal) {
  const std::vector<Listeners::Registration> registrations = registrationsFor(signal);
  if (registrations.empty()) {
    return;
  }
  const std::shared_ptr<QXBusMessage> event =
      makeMessage(MESSAGE_TYPE_SIGNAL, std::string(signal.message.header().member),
                  Arguments(std::move(signal.message)));
  for (const Listeners::Registration& registration : registrations) {
    if (registration.listener->handler) {
      registration.listener->handler(event);
    }
  }
}

}  // namespace qxbus
