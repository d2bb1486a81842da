#include "bus/dbus/service_client.h"

#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "bus/dbus/direct.h"
#include "bus/dbus/link.h"
#include "bus/dbus/names.h"
#include "bus/dbus/peer_calls.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

constexpr char kOwnerChanged[] = "NameOwnerChanged";

ServiceReply replyFrom(const Outcome& outcome) {
  switch (outcome.kind) {
    case Outcome::Kind::kReturn:
      return {ServiceReply::Kind::kReturn, wire::readValues(outcome.reply.message), ""};
    case Outcome::Kind::kError:
      return {ServiceReply::Kind::kError, {}, errorText(outcome.reply)};
    default:
      return {ServiceReply::Kind::kDisconnected, {}, outcome.text};
  }
}

}  // namespace

class ServiceClient::Core : public std::enable_shared_from_this<Core> {
 public:
  Core(std::string address, const std::string& service, Handlers handlers)
      : address_(std::move(address)),
        isDirect_(isDirectAddress(address_)),
        busName_(busNameOf(service)),
        path_(objectPathOf(service)),
        handlers_(std::move(handlers)) {}

  base::Result<void> attach(const std::string& service) {
    const Clock::time_point deadline = deadlineAfter(kBusTimeoutMs);
    const auto connected = Link::connect(
        address_, service, "", [this](const std::weak_ptr<Link>& /*link*/) { return handlers(); },
        deadline);
    if (!connected) {
      return connected.failed();
    }
    const std::shared_ptr<Link> link = *connected;
    // The rules stand before the owner is asked for, so that no change and no event is missed.
    std::vector<std::string> standing;  // until the connection ends
    const auto owner =
        link->find(busName_,
                   {std::string("type='signal',sender='") + kDaemonName + "',interface='" +
                        kDaemonName + "',member='" + kOwnerChanged + "',arg0='" + busName_ + "'",
                    "type='signal',sender='" + busName_ + "'"},
                   &standing, deadline);
    if (!owner) {
      return owner.failed();
    }
    if (owner->name.empty()) {
      return base::Failed{busName_ + " has no owner"};
    }
    if (owner->user) {
      link->remember(owner->name, *owner->user);
    }
    if (!link->isTrusted(owner->name, "service " + base::quoted(service), deadline)) {
      return base::Failed{busName_ + " belongs to another user"};
    }
    std::vector<Received> early;
    {
      const platform::MutexLock lock(mutex_);
      link_ = link;
      owner_ = owner->name;
      early.swap(early_);
    }
    take(early);
    return {};
  }

  void call(const std::string& method, const Values& arguments,
            std::function<void(ServiceReply)> answer) {
    std::shared_ptr<Link> link;
    std::string destination;
    {
      const platform::MutexLock lock(mutex_);
      link = link_;
      destination = link->destinationOf(owner_);
    }
    wire::Header header;
    header.type = wire::MessageType::kMethodCall;
    header.flags = wire::kNoAutoStart;
    header.destination = destination;
    header.path = path_;
    header.interface = busName_;
    header.member = method;
    header.signature = "av";
    wire::MessageWriter request;
    request.start(header);
    wire::appendValues(&request, arguments);
    if (request.finish(1) != wire::Fault::kNone) {
      answer({ServiceReply::Kind::kError,
              {},
              "the arguments of " + method + " are too large for the bus"});
      return;
    }
    link->connection()->call(
        &request, destination, deadlineAfter(-1),
        [weak = weak_from_this(), answer = std::move(answer)](const Outcome& outcome) {
          if (const std::shared_ptr<Core> self = weak.lock()) {
            const platform::MutexLock running(self->runMutex_);
            if (!self->isClosed_) {
              answer(replyFrom(outcome));
            }
          }
        });
  }

  void close() {
    std::shared_ptr<Link> link;
    {
      const platform::MutexLock running(runMutex_);
      isClosed_ = true;
    }
    const platform::MutexLock lock(mutex_);
    link.swap(link_);
  }

 private:
  Connection::Handlers handlers() {
    Connection::Handlers handlers;
    const std::weak_ptr<Core> weak = weak_from_this();
    handlers.interestIn = [weak](const wire::Header& header) {
      const std::shared_ptr<Core> self = weak.lock();
      return self && self->isOfInterest(header) ? Connection::Interest::kChecked
                                                : Connection::Interest::kNone;
    };
    handlers.onMessages = [weak](std::vector<Received> messages) {
      if (const std::shared_ptr<Core> self = weak.lock()) {
        self->onMessages(std::move(messages));
      }
    };
    handlers.onLost = [weak] {
      if (const std::shared_ptr<Core> self = weak.lock()) {
        self->reportGone();
      }
    };
    return handlers;
  }

  bool isOfInterest(const wire::Header& header) const {
    return header.type == wire::MessageType::kSignal &&
           (header.interface == kBroadcastInterface ||
            (header.interface == busName_ && header.path == path_) ||
            (header.interface == kDaemonName && header.member == kOwnerChanged));
  }

  void onMessages(std::vector<Received> messages) {
    {
      const platform::MutexLock lock(mutex_);
      if (owner_.empty()) {
        std::move(messages.begin(), messages.end(), std::back_inserter(early_));
        return;
      }
    }
    take(messages);
  }

  void take(const std::vector<Received>& messages) {
    std::string owner;
    std::shared_ptr<Link> link;
    {
      const platform::MutexLock lock(mutex_);
      owner = owner_;
      link = link_;
    }
    for (const Received& message : messages) {
      const wire::Header& header = message.header();
      if (!isDirect_ && header.interface == kDaemonName) {
        const Values change = wire::readValues(message.message);
        if (link && header.sender == kDaemonName && readString(change, 0) == busName_ &&
            readString(change, 1) == owner) {
          reportGoneAfterReplies(*link);
        }
      } else if (isDirect_ || header.sender == owner) {
        const platform::MutexLock running(runMutex_);
        if (!isClosed_ && handlers_.onEvent) {
          handlers_.onEvent(std::string(header.member), header.interface == kBroadcastInterface,
                            wire::readValues(message.message));
        }
      }
    }
  }

  // Replies that have come together with the news are sorted behind it. A question to the daemon is
  // answered after them.
  void reportGoneAfterReplies(const Link& link) {
    wire::Header header;
    header.type = wire::MessageType::kMethodCall;
    header.destination = kDaemonName;
    header.path = kDaemonPath;
    header.interface = kPeerInterface;
    header.member = "Ping";
    wire::MessageWriter ping;
    ping.start(header);
    link.connection()->call(&ping, kDaemonName, deadlineAfter(kBusTimeoutMs),
                            [weak = weak_from_this()](const Outcome& /*outcome*/) {
                              if (const std::shared_ptr<Core> self = weak.lock()) {
                                self->reportGone();
                              }
                            });
  }

  void reportGone() {
    const platform::MutexLock running(runMutex_);
    if (!isClosed_ && !std::exchange(isGone_, true) && handlers_.onGone) {
      handlers_.onGone();
    }
  }

  const std::string address_;
  const bool isDirect_;
  const std::string busName_;  // also the name of its interface
  const std::string path_;
  const Handlers handlers_;

  // Held while a handler or an answer runs.
  platform::Mutex runMutex_ QX_ACQUIRED_BEFORE(mutex_);
  bool isClosed_ QX_GUARDED_BY(runMutex_) = false;
  bool isGone_ QX_GUARDED_BY(runMutex_) = false;

  platform::Mutex mutex_;
  std::shared_ptr<Link> link_ QX_GUARDED_BY(mutex_);
  std::string owner_ QX_GUARDED_BY(mutex_);
  std::vector<Received> early_ QX_GUARDED_BY(mutex_);  // from before the owner was known
};

base::Result<std::unique_ptr<ServiceClient>> ServiceClient::attach(const std::string& address,
                                                                   const std::string& service,
                                                                   Handlers handlers) {
  const auto core = std::make_shared<Core>(address.empty() ? busAddress() : address, service,
                                           std::move(handlers));
  if (const auto attached = core->attach(service); !attached) {
    core->close();
    return attached.failed();
  }
  return std::unique_ptr<ServiceClient>(new ServiceClient(core));
}

ServiceClient::ServiceClient(std::shared_ptr<Core> core) : core_(std::move(core)) {}

ServiceClient::~ServiceClient() {
  core_->close();
}

void ServiceClient::call(const std::string& method, const Values& arguments,
                         std::function<void(ServiceReply)> answer) {
  core_->call(method, arguments, std::move(answer));
}

}  // namespace qxbus
