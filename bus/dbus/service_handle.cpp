#include "bus/dbus/service_handle.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

#include "base/memory.h"
#include "base/text.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"

namespace qxbus {
namespace {

// A buffer that once held a larger request is given back.
constexpr std::size_t kKeptBuffer = std::size_t{1024} * 1024;

std::string ownerRule(const std::string& busName) {
  return std::string("type='signal',sender='") + kDaemonName + "',path='" + kDaemonPath +
         "',interface='" + kDaemonName + "',member='NameOwnerChanged',arg0='" + busName + "'";
}

// By name: its owner is not known yet. The handle takes the signals of that one alone.
std::string eventRule(const std::string& busName, const std::string& path) {
  return "type='signal',sender='" + busName + "',path='" + path + "',interface='" + busName + "'";
}

// Requests are built one after the other in the same memory.
wire::MessageWriter& requestWriter() {
  static thread_local wire::MessageWriter writer;
  if (writer.bytes().size() > kKeptBuffer) {
    writer = wire::MessageWriter();
  }
  return writer;
}

// A call that does not wait. All that its end needs is there before it is sent, so that the end
// does not depend on memory.
struct Completion {
  std::function<void(std::shared_ptr<QXBusMessage>)> done;
  std::string method;
  Outcome outcome;
  std::shared_ptr<QXBusMessage> failure;  // in place of an outcome

  void run() {
    if (!failure) {
      failure = base::onceThereIsMemory([this] { return messageFrom(outcome, method); });
    }
    done(failure);
  }
};

}  // namespace

ServiceHandle::ServiceHandle(std::shared_ptr<HandlerThreads> threads, std::shared_ptr<Link> link,
                             std::string service)
    : threads_(std::move(threads)),
      link_(std::move(link)),
      service_(std::move(service)),
      busName_(busNameOf(service_)),
      path_(objectPathOf(service_)) {}

ServiceHandle::~ServiceHandle() {
  for (const std::string& rule : rules_) {
    try {
      link_->removeMatch(rule);
    } catch (const std::bad_alloc&) {
      // The rule stands until the connection ends; its events are of no interest to anyone.
    }
  }
}

base::Result<void> ServiceHandle::attach(QXBusSecurityFlags flags, Clock::time_point deadline) {
  // The rules stand before the owner is asked for, so that no change and no event is missed. The
  // daemon takes one request after the other.
  const auto found =
      link_->find(busName_, {ownerRule(busName_), eventRule(busName_, path_)}, &rules_, deadline);
  if (!found) {
    return found.failed();
  }
  if (found->name.empty()) {
    return base::Failed{busName_ + " has no owner"};
  }
  bool isGone = false;
  {
    const platform::MutexLock lock(mutex_);
    owner_ = found->name;
    isGone = std::find(formerOwners_.begin(), formerOwners_.end(), owner_) != formerOwners_.end();
    formerOwners_.clear();
  }
  // The user is the owner's unless the name has changed hands.
  if (!isGone && found->user) {
    link_->remember(found->name, *found->user);
  }
  if (flags != QXBUS_SECURITY_ANY_USER &&
      !link_->isTrusted(found->name, "service " + base::quoted(service_), deadline)) {
    return base::Failed{"its user is refused"};
  }
  if (isGone || !link_->isOpen()) {
    reportDeath();
  }
  return {};
}

std::string ServiceHandle::owner() const {
  const platform::MutexLock lock(mutex_);
  return isDead_ ? std::string() : owner_;
}

// Returns the destination.
base::Result<std::string> ServiceHandle::encode(QXBusMessage& message,
                                                wire::MessageWriter* call) const {
  const QXBusMessage::Impl& content = message.impl();
  const std::string to = owner();
  if (to.empty()) {
    return base::Failed{"service " + base::quoted(service_) + " is gone"};
  }
  if (!isMemberName(content.name)) {
    return base::Failed{base::quoted(content.name) + " is no name for a method"};
  }
  std::string destination = link_->destinationOf(to);
  wire::Header header;
  header.type = wire::MessageType::kMethodCall;
  header.flags = wire::kNoAutoStart;
  header.destination = destination;
  header.path = path_;
  header.interface = busName_;
  header.member = content.name;
  header.signature = "av";
  call->start(header);
  content.arguments.write(call);
  // The serial is given when the call is sent.
  if (call->finish(1) != wire::Fault::kNone) {
    return base::Failed{"the arguments of " + content.name + " are too large for the bus"};
  }
  return destination;
}

std::shared_ptr<QXBusMessage> ServiceHandle::call(QXBusMessage& message, int timeoutMs) {
  wire::MessageWriter& request = requestWriter();
  const auto destination = encode(message, &request);
  return destination ? messageFrom(link_->connection()->call(&request, *destination,
                                                             deadlineAfter(timeoutMs)),
                                   message.impl().name)
                     : notSent(destination.reason());
}

void ServiceHandle::call(QXBusMessage& message, int timeoutMs,
                         std::function<void(std::shared_ptr<QXBusMessage>)> done) {
  wire::MessageWriter& request = requestWriter();
  const auto destination = encode(message, &request);
  const auto completion = std::make_shared<Completion>();
  completion->method = message.impl().name;
  completion->done = std::move(done);
  std::function<void()> task = [completion] { completion->run(); };
  if (!destination) {
    completion->failure = notSent(destination.reason());
    threads_->postCompletion(std::move(task));
    return;
  }
  link_->connection()->call(
      &request, *destination, deadlineAfter(timeoutMs),
      [threads = threads_, completion, task = std::move(task)](Outcome outcome) mutable {
        completion->outcome = std::move(outcome);
        threads->postCompletion(std::move(task));
      });
}

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
  // The callback stays here until a thread has it: an interface that is released before is not
  // notified any more.
  threads_->runDeath(base::onceThereIsMemory([this]() -> std::function<void()> {
    return [weak = weak_from_this()] {
      std::function<void()> callback;
      if (const std::shared_ptr<ServiceHandle> self = weak.lock()) {
        callback = self->takeDeathCallback();
      }
      if (callback) {
        callback();
      }
    };
  }));
}

std::function<void()> ServiceHandle::takeDeathCallback() {
  std::function<void()> callback;
  const platform::MutexLock lock(mutex_);
  callback.swap(deathCallback_);
  isDeathReported_ = callback != nullptr;
  return callback;
}

void ServiceHandle::addEventListener(const std::string& name, QXBusEventCallback* listener,
                                     QXBusSecurityFlags flags) {
  // The interface may have been taken with weaker demands than this listener's.
  if (flags == QXBUS_SECURITY_ANY_USER ||
      link_->isTrusted(owner(), "service " + base::quoted(service_),
                       deadlineAfter(kBusTimeoutMs))) {
    listeners_.add(name, listener, flags);
  }
}

bool ServiceHandle::sends(std::string_view sender, std::string_view path,
                          std::string_view interface) const {
  if (sender.empty() || path != path_ || interface != busName_) {
    return false;
  }
  // Also once it is dead: what it sent in time may still be waiting to be handled.
  const platform::MutexLock lock(mutex_);
  return sender == owner_;
}

void ServiceHandle::ownerChanged(std::string_view busName, std::string_view from,
                                 std::string_view to) {
  if (busName != busName_) {
    return;
  }
  {
    const platform::MutexLock lock(mutex_);
    if (owner_.empty()) {
      formerOwners_.emplace_back(from);
      return;
    }
    // A change that came before the owner was asked may still be on its way here.
    if (from != owner_ || to == owner_) {
      return;
    }
  }
  reportDeath();
}

}  // namespace qxbus
