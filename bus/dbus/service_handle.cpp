#include "bus/dbus/service_handle.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "bus/dbus/bus_daemon.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"
#include "bus/dbus/wire.h"

namespace qxbus {
namespace {

std::string ownerRule(const std::string& busName) {
  return "type='signal',sender='" DBUS_SERVICE_DBUS "',path='" DBUS_PATH_DBUS
         "',interface='" DBUS_INTERFACE_DBUS "',member='NameOwnerChanged',arg0='" +
         busName + "'";
}

std::string eventRule(const std::string& owner, const std::string& path,
                      const std::string& interface) {
  return "type='signal',sender='" + owner + "',path='" + path + "',interface='" + interface + "'";
}

}  // namespace

ServiceHandle::ServiceHandle(std::shared_ptr<Link> link, std::shared_ptr<HandlerThreads> threads,
                             std::string service)
    : link_(std::move(link)),
      threads_(std::move(threads)),
      service_(std::move(service)),
      busName_(busNameOf(service_)),
      path_(objectPathOf(service_)) {}

ServiceHandle::~ServiceHandle() {
  for (const std::string& rule : rules_) {
    removeMatch(link_->connection(), rule);
  }
}

base::Result<void> ServiceHandle::attach(QXBusSecurityFlags flags, Clock::time_point deadline) {
  Connection& connection = link_->connection();
  // Match before asking for the owner, so that no change is missed.
  const std::string changesOfOwner = ownerRule(busName_);
  if (auto added = addMatch(connection, changesOfOwner, deadline); !added) {
    return added;
  }
  rules_.push_back(changesOfOwner);
  const std::string owner = ownerOf(connection, busName_, deadline);
  if (owner.empty()) {
    return base::Failed{busName_ + " has no owner"};
  }
  if (flags != QXBUS_SECURITY_ANY_USER &&
      !link_->isTrusted(owner, "service " + base::quoted(service_), deadline)) {
    return base::Failed{"its user is refused"};
  }
  const std::string events = eventRule(owner, path_, busName_);
  if (auto added = addMatch(connection, events, deadline); !added) {
    return added;
  }
  rules_.push_back(events);

  bool isGone = false;
  {
    const platform::MutexLock lock(mutex_);
    owner_ = owner;
    isGone = std::find(formerOwners_.begin(), formerOwners_.end(), owner) != formerOwners_.end();
    formerOwners_.clear();
  }
  if (isGone || !connection.isOpen()) {
    reportDeath();
  }
  return {};
}

std::string ServiceHandle::owner() const {
  const platform::MutexLock lock(mutex_);
  return isDead_ ? std::string() : owner_;
}

// --- Calls ---------------------------------------------------------------------------------------

base::Result<MessagePtr> ServiceHandle::encode(QXBusMessage& message) const {
  const QXBusMessage::Impl& content = message.impl();
  const std::string destination = owner();
  if (destination.empty()) {
    return base::Failed{"service " + base::quoted(service_) + " is gone"};
  }
  if (!isMemberName(content.name)) {
    return base::Failed{"invalid method name " + base::quoted(content.name)};
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
  return call ? messageFrom(link_->connection().call(call->get(), deadlineAfter(timeoutMs)),
                            message.impl().name)
              : notSent(call.reason());
}

void ServiceHandle::call(QXBusMessage& message, int timeoutMs,
                         std::function<void(std::shared_ptr<QXBusMessage>)> done) {
  const auto call = encode(message);
  if (!call) {
    threads_->postCompletion(
        [done = std::move(done), failed = notSent(call.reason())] { done(failed); });
    return;
  }
  link_->connection().call(
      call->get(), deadlineAfter(timeoutMs),
      [threads = threads_, done = std::move(done), method = message.impl().name](Outcome outcome) {
        // Read here, as events are.
        threads->postCompletion(
            [done, reply = messageFrom(std::move(outcome), method)] { done(reply); });
      });
}

// --- The death -----------------------------------------------------------------------------------

void ServiceHandle::setDeathCallback(std::function<void()> callback) {
  bool isDead = false;
  {
    const platform::MutexLock lock(mutex_);
    isDead = isDead_;
    callback.swap(deathCallback_);
  }
  if (isDead) {
    reportDeath();
  }
}

void ServiceHandle::reportDeath() {
  {
    const platform::MutexLock lock(mutex_);
    isDead_ = true;
    if (isDeathReported_ || !deathCallback_) {
      return;
    }
    isDeathReported_ = true;
  }
  // The callback stays here until a thread takes it: an interface that is released before is
  // notified no more.
  threads_->runDeath([weak = weak_from_this()] {
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
  const platform::MutexLock lock(mutex_);
  callback.swap(deathCallback_);
  isDeathReported_ = callback != nullptr;
  return callback;
}

void ServiceHandle::ownerChanged(const std::string& busName, const std::string& from,
                                 const std::string& to) {
  if (busName != busName_) {
    return;
  }
  {
    const platform::MutexLock lock(mutex_);
    if (owner_.empty()) {
      formerOwners_.push_back(from);
      return;
    }
    // A change that came before the owner was asked may still be on its way here.
    if (from != owner_ || to == owner_) {
      return;
    }
  }
  reportDeath();
}

// --- Events --------------------------------------------------------------------------------------

void ServiceHandle::addEventListener(const std::string& name, QXBusEventCallback* listener,
                                     QXBusSecurityFlags flags) {
  // A handle that takes any user is not enough for a listener that does not.
  if (flags == QXBUS_SECURITY_ANY_USER ||
      link_->isTrusted(owner(), "service " + base::quoted(service_),
                       deadlineAfter(kBusTimeoutMs))) {
    listeners_.add(name, listener, flags);
  }
}

bool ServiceHandle::sends(const std::string& sender, const std::string& path,
                          const std::string& interface) const {
  if (sender.empty() || path != path_ || interface != busName_) {
    return false;
  }
  // Also after the death: events that were sent in time may still wait to be handled.
  const platform::MutexLock lock(mutex_);
  return sender == owner_;
}

}  // namespace qxbus
