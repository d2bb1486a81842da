#include "bus/dbus/connection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <map>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <poll.h>

#include "base/self_pipe.h"
#include "bus/dbus/opening.h"
#include "bus/dbus/worker.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

constexpr char kOutOfMemory[] = "out of memory";
constexpr char kConnectionGone[] = "the connection to the bus is gone";
// The longest time that messages are still written after the connection was given up.
constexpr std::chrono::seconds kLinger{1};

short pollEvents(unsigned int flags) {
  return static_cast<short>(((flags & DBUS_WATCH_READABLE) != 0 ? POLLIN : 0) |
                            ((flags & DBUS_WATCH_WRITABLE) != 0 ? POLLOUT : 0));
}

unsigned int watchFlags(short events) {
  unsigned int flags = 0;
  flags |= (events & POLLIN) != 0 ? unsigned{DBUS_WATCH_READABLE} : 0;
  flags |= (events & POLLOUT) != 0 ? unsigned{DBUS_WATCH_WRITABLE} : 0;
  flags |= (events & POLLERR) != 0 ? unsigned{DBUS_WATCH_ERROR} : 0;
  flags |= (events & POLLHUP) != 0 ? unsigned{DBUS_WATCH_HANGUP} : 0;
  return flags;
}

int pollTimeout(Clock::time_point next) {
  if (next == Clock::time_point::max()) {
    return -1;
  }
  // Rounded up: otherwise the poll ends again and again just before the deadline.
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left, 0, INT_MAX));
}

}  // namespace

Clock::time_point deadlineAfter(int milliseconds) {
  return milliseconds < 0 ? Clock::time_point::max()
                          : Clock::now() + std::chrono::milliseconds(milliseconds);
}

// Shared by the I/O thread and the callers. Lives until the I/O thread has ended, also after the
// Connection.
class Connection::Core : public std::enable_shared_from_this<Connection::Core> {
 public:
  explicit Core(Handlers handlers) : handlers_(std::move(handlers)) {}
  ~Core() {
    if (bus_) {
      dbus_connection_unref(bus_);
    }
  }
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  base::Result<void> connect(const std::string& address, Clock::time_point deadline) {
    if (!wake_.isOpen()) {
      return base::Failed{"the system has no pipe left: " + std::generic_category().message(errno)};
    }
    if (!dbus_threads_init_default()) {
      return base::Failed{kOutOfMemory};
    }
    const auto opened = openPrivate(address, deadline);
    if (!opened) {
      return opened.failed();
    }
    const platform::MutexLock lock(mutex_);
    bus_ = *opened;
    if (!dbus_connection_set_watch_functions(bus_, &Core::addWatch, &Core::removeWatch,
                                             &Core::toggleWatch, this, nullptr)) {
      close();
      return base::Failed{kOutOfMemory};
    }
    open_ = true;
    auto started = startDetached("qxbus-io", [self = shared_from_this()] { self->run(); });
    if (!started) {
      open_ = false;
      close();
    }
    return started;
  }

  void requestClose() {
    closing_ = true;
    wake_.wake();
  }

  bool isOpen() const { return open_; }

  bool send(DBusMessage* message) {
    const platform::MutexLock lock(mutex_);
    return open_ && dbus_connection_send(bus_, message, nullptr);
  }

  // The serial of the request. Nothing when the request could not be sent: the caller runs done.
  std::optional<dbus_uint32_t> send(DBusMessage* message, Clock::time_point deadline,
                                    std::function<void(Outcome)>* done) {
    const platform::MutexLock lock(mutex_);
    dbus_uint32_t serial = 0;
    if (!open_ || !dbus_connection_send(bus_, message, &serial)) {
      return std::nullopt;
    }
    // The reply cannot be read before the lock is released, so it finds its call.
    const char* const destination = dbus_message_get_destination(message);
    pending_.emplace(serial, Pending{deadline, destination ? destination : "", std::move(*done)});
    if (deadline < nextDeadline_) {
      nextDeadline_ = deadline;
      wake_.wake();
    }
    return serial;
  }

  // The caller of this request has given up.
  void forget(dbus_uint32_t serial) {
    std::function<void(Outcome)> done;
    const platform::MutexLock lock(mutex_);
    const auto call = pending_.find(serial);
    if (call != pending_.end()) {
      done = std::move(call->second.done);
      pending_.erase(call);
    }
  }

 private:
  struct Pending {
    // Whether a reply comes from the peer that was called, or from the bus daemon in its place. Any
    // peer can guess a serial.
    bool isAnsweredBy(const char* sender) const {
      return destination.empty() || !sender || sender == destination ||
             std::strcmp(sender, DBUS_SERVICE_DBUS) == 0;
    }

    Clock::time_point deadline;
    std::string destination;
    std::function<void(Outcome)> done;
  };
  using Finished = std::vector<std::pair<std::function<void(Outcome)>, Outcome>>;

  // libdbus calls these two from functions that are called with the lock, which the compiler cannot
  // see.
  static dbus_bool_t addWatch(DBusWatch* watch, void* core) QX_NO_THREAD_SAFETY_ANALYSIS {
    auto* const self = static_cast<Core*>(core);
    self->watches_.push_back(watch);
    self->wake_.wake();
    return TRUE;
  }

  static void removeWatch(DBusWatch* watch, void* core) QX_NO_THREAD_SAFETY_ANALYSIS {
    auto* const self = static_cast<Core*>(core);
    auto& watches = self->watches_;
    watches.erase(std::remove(watches.begin(), watches.end(), watch), watches.end());
    // A failed write of a caller ends the connection, and leaves no other event to wake the poll.
    self->wake_.wake();
  }

  // Also called without the lock, where a message is freed and makes room for more.
  static void toggleWatch(DBusWatch* watch, void* core) {
    if (dbus_watch_get_enabled(watch)) {
      static_cast<Core*>(core)->wake_.wake();
    }
  }

  void run() {
    std::vector<pollfd> polled;
    std::vector<DBusWatch*> watches;
    for (bool open = true; open;) {
      const int timeout = prepare(&polled, &watches);
      ::poll(polled.data(), static_cast<nfds_t>(polled.size()), timeout);
      if (polled.front().revents != 0) {
        wake_.drain();
      }
      open = handle(polled, watches);
    }
    end();
  }

  int prepare(std::vector<pollfd>* polled, std::vector<DBusWatch*>* watches) {
    const platform::MutexLock lock(mutex_);
    polled->assign(1, {wake_.readEnd(), POLLIN, 0});
    watches->clear();
    for (DBusWatch* const watch : watches_) {
      if (dbus_watch_get_enabled(watch)) {
        polled->push_back(
            {dbus_watch_get_unix_fd(watch), pollEvents(dbus_watch_get_flags(watch)), 0});
        watches->push_back(watch);
      }
    }
    return pollTimeout(std::min(nextDeadline_, closeDeadline_));
  }

  // Moves bytes, then runs the completions and handlers. False when the connection has ended.
  bool handle(const std::vector<pollfd>& polled, const std::vector<DBusWatch*>& watches) {
    Finished finished;
    std::vector<MessagePtr> messages;
    bool open = true;
    {
      const platform::MutexLock lock(mutex_);
      for (std::size_t i = 0; i < watches.size(); ++i) {
        const unsigned int flags = watchFlags(polled[i + 1].revents);
        // Handling one watch may remove another.
        if (flags != 0 &&
            std::find(watches_.begin(), watches_.end(), watches[i]) != watches_.end()) {
          dbus_watch_handle(watches[i], flags);
        }
      }
      while (DBusMessage* const message = dbus_connection_pop_message(bus_)) {
        sort(MessagePtr(message), &finished, &messages);
      }
      expire(&finished);
      open = !isOver(polled);
    }
    for (auto& [done, outcome] : finished) {
      done(std::move(outcome));
    }
    for (MessagePtr& message : messages) {
      handlers_.onMessage(std::move(message));
    }
    return open;
  }

  bool isOver(const std::vector<pollfd>& polled) QX_REQUIRES(mutex_) {
    // The program has closed a descriptor of ours. A poll of it always returns at once.
    const auto isTaken = [](const pollfd& each) { return (each.revents & POLLNVAL) != 0; };
    if (!dbus_connection_get_is_connected(bus_) ||
        std::any_of(polled.begin(), polled.end(), isTaken)) {
      return true;
    }
    if (!closing_) {
      return false;
    }
    // libdbus keeps bytes that the socket does not take at once, of a large last reply for
    // instance.
    const Clock::time_point now = Clock::now();
    closeDeadline_ = std::min(closeDeadline_, now + kLinger);
    return !dbus_connection_has_messages_to_send(bus_) || now >= closeDeadline_;
  }

  void sort(MessagePtr message, Finished* finished, std::vector<MessagePtr>* messages)
      QX_REQUIRES(mutex_) {
    switch (dbus_message_get_type(message.get())) {
      case DBUS_MESSAGE_TYPE_METHOD_RETURN:
      case DBUS_MESSAGE_TYPE_ERROR: {
        const auto call = pending_.find(dbus_message_get_reply_serial(message.get()));
        // A reply without a call came after the call's deadline.
        if (call != pending_.end() &&
            call->second.isAnsweredBy(dbus_message_get_sender(message.get()))) {
          finished->emplace_back(std::move(call->second.done),
                                 Outcome::replied(std::move(message), call->second.destination));
          pending_.erase(call);
        }
        break;
      }
      default:
        messages->push_back(std::move(message));
    }
  }

  void expire(Finished* finished) QX_REQUIRES(mutex_) {
    const Clock::time_point now = Clock::now();
    if (now < nextDeadline_) {
      return;
    }
    nextDeadline_ = Clock::time_point::max();
    for (auto call = pending_.begin(); call != pending_.end();) {
      if (call->second.deadline <= now) {
        finished->emplace_back(std::move(call->second.done), Outcome::noReply());
        call = pending_.erase(call);
      } else {
        nextDeadline_ = std::min(nextDeadline_, call->second.deadline);
        ++call;
      }
    }
  }

  void end() {
    std::map<dbus_uint32_t, Pending> abandoned;
    {
      const platform::MutexLock lock(mutex_);
      open_ = false;
      close();
      abandoned.swap(pending_);
    }
    for (auto& [serial, call] : abandoned) {
      call.done(Outcome::disconnected(kConnectionGone));
    }
    handlers_.onLost();
    // The captures of the handlers may own this connection.
    handlers_ = {};
  }

  void close() QX_REQUIRES(mutex_) {
    dbus_connection_close(bus_);
    dbus_connection_set_watch_functions(bus_, nullptr, nullptr, nullptr, nullptr, nullptr);
    while (DBusMessage* const message = dbus_connection_pop_message(bus_)) {
      dbus_message_unref(message);
    }
  }

  Handlers handlers_;
  base::SelfPipe wake_;
  std::atomic<bool> open_{false};
  std::atomic<bool> closing_{false};

  platform::Mutex mutex_;
  // libdbus gives way instead of writing when two threads use a connection at once.
  DBusConnection* bus_ QX_GUARDED_BY(mutex_) = nullptr;
  std::vector<DBusWatch*> watches_ QX_GUARDED_BY(mutex_);
  std::map<dbus_uint32_t, Pending> pending_ QX_GUARDED_BY(mutex_);
  Clock::time_point nextDeadline_ QX_GUARDED_BY(mutex_) = Clock::time_point::max();
  Clock::time_point closeDeadline_ QX_GUARDED_BY(mutex_) = Clock::time_point::max();
};

namespace {

// Where a caller waits for its outcome. Shared: the caller may have given up when the outcome
// comes.
class Rendezvous {
 public:
  void arrive(Outcome outcome) {
    {
      const platform::MutexLock lock(mutex_);
      outcome_ = std::move(outcome);
    }
    arrived_.notifyOne();
  }

  // Nothing when the deadline comes first.
  std::optional<Outcome> wait(Clock::time_point deadline) {
    platform::MutexLock lock(mutex_);
    while (!outcome_ && arrived_.waitUntil(lock, deadline)) {
    }
    return std::exchange(outcome_, std::nullopt);
  }

 private:
  platform::Mutex mutex_;
  platform::Condition arrived_;
  std::optional<Outcome> outcome_ QX_GUARDED_BY(mutex_);
};

}  // namespace

Connection::Connection(std::shared_ptr<Core> core) : core_(std::move(core)) {}

Connection::~Connection() {
  core_->requestClose();
}

base::Result<std::shared_ptr<Connection>> Connection::open(const std::string& address,
                                                           Handlers handlers,
                                                           Clock::time_point deadline) {
  auto core = std::make_shared<Core>(std::move(handlers));
  if (const auto connected = core->connect(address, deadline); !connected) {
    return connected.failed();
  }
  return std::shared_ptr<Connection>(new Connection(std::move(core)));
}

bool Connection::isOpen() const {
  return core_->isOpen();
}

bool Connection::send(DBusMessage* message) {
  return core_->send(message);
}

Outcome Connection::call(DBusMessage* message, Clock::time_point deadline) {
  const auto meeting = std::make_shared<Rendezvous>();
  std::function<void(Outcome)> done = [meeting](Outcome outcome) {
    meeting->arrive(std::move(outcome));
  };
  // The caller keeps the time itself: the I/O thread is not woken for it.
  const std::optional<dbus_uint32_t> serial = core_->send(message, Clock::time_point::max(), &done);
  if (!serial) {
    return Outcome::disconnected(kConnectionGone);
  }
  std::optional<Outcome> outcome = meeting->wait(deadline);
  if (!outcome) {
    core_->forget(*serial);
    // The outcome may have come meanwhile.
    outcome = meeting->wait(Clock::now());
  }
  return outcome ? std::move(*outcome) : Outcome::noReply();
}

void Connection::call(DBusMessage* message, Clock::time_point deadline,
                      std::function<void(Outcome)> done) {
  if (!core_->send(message, deadline, &done)) {
    done(Outcome::disconnected(kConnectionGone));
  }
}

}  // namespace qxbus
