#include "bus/dbus/link.h"

#include <cstdint>
#include <list>
#include <new>
#include <utility>
#include <variant>

#include <unistd.h>

#include "bus/dbus/bus_failure.h"
#include "bus/dbus/bus_log.h"
#include "bus/dbus/direct.h"
#include "bus/dbus/names.h"
#include "bus/dbus/peer_calls.h"
#include "bus/dbus/transport/dial.h"
#include "bus/dbus/wire/address.h"
#include "bus/dbus/wire/argument_reader.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

// More peers than this are not remembered: unique names are never used again.
constexpr std::size_t kRememberedPeers = 1000;

// DBUS_NAME_FLAG_DO_NOT_QUEUE and DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER of the D-Bus protocol.
constexpr std::uint32_t kDoNotQueue = 4;
constexpr std::uint32_t kPrimaryOwner = 1;

struct LastFailure {
  platform::Mutex mutex;
  std::string reason QX_GUARDED_BY(mutex);
};

// Never destroyed: threads of the bus run until the process has ended.
LastFailure& lastFailure() {
  static auto* const last = new LastFailure;
  return *last;
}

// A call of the daemon. signature: of its arguments.
wire::MessageWriter callOf(const char* method, const char* signature) {
  wire::Header header;
  header.type = wire::MessageType::kMethodCall;
  header.destination = kDaemonName;
  header.path = kDaemonPath;
  header.interface = kDaemonName;
  header.member = method;
  header.signature = signature;
  wire::MessageWriter call;
  call.start(header);
  return call;
}

wire::MessageWriter callOf(const char* method, const std::string& text) {
  wire::MessageWriter call = callOf(method, "s");
  call.appendText(text);
  return call;
}

wire::MessageWriter callToPeer(const char* method) {
  wire::Header header;
  header.type = wire::MessageType::kMethodCall;
  header.path = "/";
  header.interface = kPeerInterface;
  header.member = method;
  wire::MessageWriter call;
  call.start(header);
  return call;
}

// The daemon's normal reply.
base::Result<Received> replyOf(Outcome outcome) {
  switch (outcome.kind) {
    case Outcome::Kind::kReturn:
      return std::move(outcome.reply);
    case Outcome::Kind::kError:
      return base::Failed{errorText(outcome.reply)};
    default:
      return base::Failed{std::move(outcome.text)};
  }
}

// A call of the daemon that has been sent. Several may be on their way at once.
class Question {
 public:
  Question(Connection& connection, wire::MessageWriter call) : connection_(connection) {
    connection_.start(&call, kDaemonName, &call_);
  }
  ~Question() { connection_.abandon(&call_); }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  // To be called once.
  Outcome outcome(Clock::time_point deadline) { return connection_.await(&call_, deadline); }
  // In place of outcome().
  base::Result<Received> answer(Clock::time_point deadline) { return replyOf(outcome(deadline)); }

 private:
  Connection& connection_;
  Connection::Call call_;
};

base::Result<Received> ask(Connection& connection, wire::MessageWriter call,
                           Clock::time_point deadline) {
  return Question(connection, std::move(call)).answer(deadline);
}

// The first argument, if it is of the type.
template <typename T>
std::optional<T> firstArgument(const base::Result<Received>& reply) {
  wire::Argument argument;
  if (!reply || !wire::ArgumentReader(reply->message).next(&argument)) {
    return std::nullopt;
  }
  const T* const value = std::get_if<T>(&argument);
  return value ? std::optional<T>(*value) : std::nullopt;
}

// Who owns a name, and as which user: two questions at once.
class OwnerQuestion {
 public:
  OwnerQuestion(Connection& bus, const std::string& busName)
      : name_(bus, callOf("GetNameOwner", busName)),
        user_(bus, callOf("GetConnectionUnixUser", busName)) {}

  // To be called once.
  Link::Owner answer(Clock::time_point deadline) {
    const auto named = name_.answer(deadline);
    const auto number = firstArgument<std::uint32_t>(user_.answer(deadline));
    return {std::string(firstArgument<std::string_view>(named).value_or("")),
            number ? std::optional<uid_t>(*number) : std::nullopt};
  }

 private:
  Question name_;
  Question user_;
};

}  // namespace

std::string busFailure() {
  LastFailure& last = lastFailure();
  const platform::MutexLock lock(last.mutex);
  return last.reason;
}

bool isBusDirect() {
  return isDirectAddress(busAddress());
}

void setBusFailure(const std::string& reason) {
  LastFailure& last = lastFailure();
  const platform::MutexLock lock(last.mutex);
  last.reason = reason;
}

bool isTrustedUser(uid_t user) {
  return user == ::geteuid() || user == 0;
}

std::string refusalOf(std::optional<uid_t> user) {
  if (!user) {
    return "the bus does not say which user it runs as";
  }
  return isTrustedUser(*user)
             ? ""
             : "it runs as user " + std::to_string(*user) + ", neither as this user (" +
                   std::to_string(::geteuid()) + ") nor as root";
}

// --- Connecting ----------------------------------------------------------------------------------

base::Result<std::shared_ptr<Link>> Link::connect(std::string address, const std::string& service,
                                                  const std::string& rule,
                                                  const MakeHandlers& makeHandlers,
                                                  Clock::time_point deadline,
                                                  DialAttempts* attempts) {
  auto connected = attempt(std::move(address), service, rule, makeHandlers, deadline, attempts);
  setBusFailure(connected.reason());
  return connected;
}

base::Result<std::shared_ptr<Link>> Link::attempt(std::string address, const std::string& service,
                                                  const std::string& rule,
                                                  const MakeHandlers& makeHandlers,
                                                  Clock::time_point deadline,
                                                  DialAttempts* attempts) {
  if (address.empty()) {
    address = busAddress();
  }
  const bool isDirect = isDirectAddress(address);
  const std::string socket = isDirect ? directSocket(address, service) : "";
  const std::string place = isDirect ? "unix:path=" + wire::escaped(socket) : address;
  const std::shared_ptr<Link> link(new Link(isDirect));
  if (const auto opened = link->open(place, rule, makeHandlers, link, deadline, attempts);
      !opened) {
    return base::Failed{
        (isDirect ? "no service listens at " + socket : "no connection to the bus at " + address) +
        ": " + opened.reason()};
  }
  return link;
}

base::Result<void> Link::open(const std::string& address, const std::string& rule,
                              const MakeHandlers& makeHandlers, const std::weak_ptr<Link>& self,
                              Clock::time_point deadline, DialAttempts* attempts) {
  const auto opened = Connection::open(address, makeHandlers(self), deadline, attempts);
  if (!opened) {
    return opened.failed();
  }
  {
    // Now, because an event may come together with the answers: its sender is looked up here.
    const platform::MutexLock lock(mutex_);
    connection_ = *opened;
  }
  // Signs in. A service has nothing to sign in to, but its answer shows that it knows the
  // connection: from then on its events come.
  Question hello(**opened, isDirect_ ? callToPeer("Ping") : callOf("Hello", ""));
  std::optional<Question> matching;
  if (!isDirect_ && !rule.empty()) {
    matching.emplace(**opened, callOf("AddMatch", rule));
  }
  const auto reply = hello.answer(deadline);
  const auto matched = matching ? matching->answer(deadline) : reply;
  if (!reply) {
    // A bus closes the connections of users whom its configuration does not allow.
    return (*opened)->isOpen() ? reply.failed() : refusedByPeer(reply.reason());
  }
  if (!matched) {
    logError("broadcast events will not arrive: " + matched.reason());
  }
  return {};
}

Connection::Handlers Link::repliesOnly(const std::weak_ptr<Link>& /*link*/) {
  Connection::Handlers handlers;
  handlers.interestIn = [](const wire::Header& /*header*/) { return Connection::Interest::kNone; };
  return handlers;
}

std::shared_ptr<Connection> Link::connection() const {
  const platform::MutexLock lock(mutex_);
  return connection_;
}

bool Link::isAlive(Clock::time_point deadline) const {
  return isOpen() &&
         (!isDirect_ || static_cast<bool>(ask(*connection(), callToPeer("Ping"), deadline)));
}

bool Link::isOpen() const {
  const std::shared_ptr<Connection> open = connection();
  return open && open->isOpen();
}

// --- The bus daemon ------------------------------------------------------------------------------

base::Result<Link::Owner> Link::find(const std::string& busName, std::vector<std::string> rules,
                                     std::vector<std::string>* standing,
                                     Clock::time_point deadline) const {
  if (isDirect_) {
    return directOwner();
  }
  const std::shared_ptr<Connection> bus = connection();
  standing->reserve(rules.size());
  std::list<Question> matching;
  for (std::string& rule : rules) {
    matching.emplace_back(*bus, callOf("AddMatch", rule));
    standing->push_back(std::move(rule));
  }
  OwnerQuestion asked(*bus, busName);
  std::optional<Outcome> unmatched;
  auto rule = standing->begin();
  for (Question& question : matching) {
    Outcome outcome = question.outcome(deadline);
    rule = outcome.kind == Outcome::Kind::kError ? standing->erase(rule) : rule + 1;
    if (outcome.kind != Outcome::Kind::kReturn) {
      unmatched = std::move(outcome);
    }
  }
  Owner owner = asked.answer(deadline);
  if (unmatched) {
    return replyOf(std::move(*unmatched)).failed();
  }
  return owner;
}

Link::Owner Link::ownerOf(const std::string& busName, Clock::time_point deadline) const {
  return isDirect_ ? directOwner() : OwnerQuestion(*connection(), busName).answer(deadline);
}

// The service itself.
Link::Owner Link::directOwner() const {
  const std::shared_ptr<Connection> open = connection();
  return open->isOpen() ? Owner{kPeerName, open->peer().user} : Owner{};
}

void Link::removeMatch(const std::string& rule) const {
  if (isDirect_) {
    return;
  }
  wire::Header header;
  header.type = wire::MessageType::kMethodCall;
  header.flags = wire::kNoReplyExpected;
  header.destination = kDaemonName;
  header.path = kDaemonPath;
  header.interface = kDaemonName;
  header.member = "RemoveMatch";
  header.signature = "s";
  wire::MessageWriter call;
  call.start(header);
  call.appendText(rule);
  connection()->send(&call);
}

base::Result<void> Link::requestName(const std::string& busName, Clock::time_point deadline) const {
  wire::MessageWriter call = callOf("RequestName", "su");
  call.appendText(busName);
  call.appendUInt32(kDoNotQueue);
  const auto reply = ask(*connection(), std::move(call), deadline);
  if (!reply) {
    return reply.failed();
  }
  if (firstArgument<std::uint32_t>(reply) != kPrimaryOwner) {
    return base::Failed{"the name " + busName + " is taken: the service runs already"};
  }
  return {};
}

void Link::releaseName(const std::string& busName, Clock::time_point deadline) const {
  static_cast<void>(ask(*connection(), callOf("ReleaseName", busName), deadline));
}

// --- Users ---------------------------------------------------------------------------------------

std::optional<uid_t> Link::userOf(const std::string& name, Clock::time_point deadline) const {
  if (isDirect_) {
    return connection()->peer().user;
  }
  const auto reply = ask(*connection(), callOf("GetConnectionUnixUser", name), deadline);
  const auto user = firstArgument<std::uint32_t>(reply);
  return user ? std::optional<uid_t>(*user) : std::nullopt;
}

std::optional<pid_t> Link::processOf(const std::string& name, Clock::time_point deadline) const {
  if (isDirect_) {
    return connection()->peer().process;
  }
  const auto reply = ask(*connection(), callOf("GetConnectionUnixProcessID", name), deadline);
  const auto process = firstArgument<std::uint32_t>(reply);
  return process ? std::optional<pid_t>(static_cast<pid_t>(*process)) : std::nullopt;
}

std::optional<uid_t> Link::knownUser(std::string_view uniqueName) const {
  const platform::MutexLock lock(mutex_);
  if (isDirect_) {
    return connection_ ? connection_->peer().user : std::nullopt;
  }
  const auto known = users_.find(uniqueName);
  return known == users_.end() ? std::nullopt : std::optional(known->second);
}

void Link::remember(std::string_view uniqueName, uid_t user) {
  const platform::MutexLock lock(mutex_);
  if (users_.size() >= kRememberedPeers) {
    users_.clear();
  }
  users_.emplace(uniqueName, user);
}

void Link::identify(const std::string& uniqueName, Clock::time_point deadline,
                    std::function<void(std::optional<uid_t>)> answer) {
  const std::shared_ptr<Connection> asked = connection();
  if (isDirect_ || !asked) {
    answer(knownUser(uniqueName));
    return;
  }
  wire::MessageWriter call = callOf("GetConnectionUnixUser", uniqueName);
  asked->call(&call, kDaemonName, deadline,
              [weak = weak_from_this(), uniqueName, answer = std::move(answer)](Outcome outcome) {
                const auto user = firstArgument<std::uint32_t>(replyOf(std::move(outcome)));
                const std::shared_ptr<Link> self = weak.lock();
                if (self && user) {
                  try {
                    self->remember(uniqueName, *user);
                  } catch (const std::bad_alloc&) {
                    // Asked for again next time.
                  }
                }
                answer(user ? std::optional<uid_t>(*user) : std::nullopt);
              });
}

bool Link::isTrusted(const std::string& uniqueName, const std::string& what,
                     Clock::time_point deadline) {
  std::optional<uid_t> user = knownUser(uniqueName);
  if (!user) {
    user = userOf(uniqueName, deadline);
    if (user) {
      remember(uniqueName, *user);
    }
  }
  const std::string reason = refusalOf(user);
  if (!reason.empty()) {
    logError(what + " is refused: " + reason);
  }
  return reason.empty();
}

void Link::logRefusedSender(std::string_view sender, const std::string& reason) {
  {
    const platform::MutexLock lock(mutex_);
    if (refusedSenders_.size() >= kRememberedPeers) {
      refusedSenders_.clear();
    }
    if (!refusedSenders_.emplace(sender).second) {
      return;
    }
  }
  // The peers of a connection that has gone are gone with it.
  if (isOpen()) {
    logError("broadcast events of " + std::string(sender) + " are refused: " + reason);
  }
}

}  // namespace qxbus
