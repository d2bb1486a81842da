// The client's side of the bus: its links, its broadcast listeners, and the services in use. One
// link leads to a bus; without a bus, one to each service. A thread that waits for a reply reads,
// or one of the connection's own (see transport/loop.h); handlers run on the threads of
// handler_threads.h. No lock is held while a handler runs.
//
// THREADS   Any thread may call any member.

#ifndef BUS_DBUS_CLIENT_H
#define BUS_DBUS_CLIENT_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"
#include "bus/dbus/handler_threads.h"
#include "bus/dbus/link.h"
#include "bus/dbus/listeners.h"
#include "bus/dbus/service_handle.h"
#include "bus/dbus/shared_attempt.h"
#include "bus/qxbus.h"
#include "platform/mutex.h"

namespace qxbus {

class Client : public std::enable_shared_from_this<Client> {
 public:
  // A direct address needs no service that runs already.
  static base::Result<std::shared_ptr<Client>> connect(
      std::string address, Clock::time_point deadline = deadlineAfter(kBusTimeoutMs));

  bool isServiceRegistered(const std::string& service);
  // Null when the service is not there or refused; the log has the reason.
  std::shared_ptr<ServiceHandle> handleOn(const std::string& service, QXBusSecurityFlags flags);
  void addBroadcastListener(const std::string& name, QXBusEventCallback* listener,
                            QXBusSecurityFlags flags);

 private:
  explicit Client(std::string address);

  using Linked = base::Result<std::shared_ptr<Link>>;
  struct Route;
  // The link to a service; a new one when the last is lost.
  Linked linkTo(const std::string& service, Clock::time_point deadline);
  Linked linkAnew(const std::string& service, Route* route, Clock::time_point deadline);
  // Makes a request over the link, and again over a new one when it fails because the link is lost:
  // the bus may have been started again before the loss was noticed.
  //
  // returns    a failure when there is no link
  base::Result<void> overLink(const std::string& service, Clock::time_point deadline,
                              const std::function<bool(const std::shared_ptr<Link>&)>& request);
  std::shared_ptr<Route> routeTo(const std::string& service);
  std::shared_ptr<Link> openLink(const Route& route, Clock::time_point deadline);
  Connection::Handlers handlersOf(const std::weak_ptr<Link>& link);

  base::Result<std::shared_ptr<ServiceHandle>> attachTo(const std::string& service,
                                                        QXBusSecurityFlags flags);
  using Handles = std::vector<std::shared_ptr<ServiceHandle>>;
  Handles liveHandlesOn(const Link& link);
  Handles sendersOf(const Link& link, const wire::Header& header);

  // A signal that waits for its handlers, or for the user of its sender.
  struct Signal {
    std::shared_ptr<Link> link;
    Received message;
    std::vector<std::weak_ptr<ServiceHandle>> from;  // empty: a broadcast
    bool isTrusted = true;                           // of a broadcast
  };
  using Signals = std::vector<Signal>;

  // On the thread that reads.
  Connection::Interest interestIn(Link& link, const wire::Header& header);
  Connection::Interest interestInBroadcast(Link& link, const wire::Header& header);
  void onMessages(const std::shared_ptr<Link>& link, std::vector<Received> messages);
  void onOwnerChanged(const Link& link, const Received& message);
  void onBroadcast(const std::shared_ptr<Link>& link, Received message, Signals* accepted);
  void onIdentified(const std::shared_ptr<Link>& link, const std::string& sender,
                    std::optional<uid_t> user);
  void onLost(const Link& link);
  void post(Signals signals);

  // On the event thread.
  void dispatch(Signal& signal);
  std::vector<Listeners::Registration> registrationsFor(const Signal& signal) const;

  // Broadcasts of a sender whose user is not known yet.
  struct Unidentified {
    Signals held;
    std::size_t size = 0;
  };

  // Where a link leads, and the attempt to make it anew.
  struct Route {
    std::shared_ptr<Link> link;  // under mutex_
    SharedAttempt<Linked> linking;
  };

  const std::string address_;
  const bool isDirect_;
  const std::shared_ptr<HandlerThreads> threads_;
  Listeners broadcastListeners_;
  // Of signals that wait for their handlers, and those that there was no room for.
  std::atomic<std::size_t> waitingSize_{0};
  std::atomic<std::size_t> dropped_{0};

  platform::Mutex mutex_;
  // By service; all of them share one when a bus is in between.
  std::map<std::string, std::shared_ptr<Route>> routes_ QX_GUARDED_BY(mutex_);
  std::vector<std::weak_ptr<ServiceHandle>> handles_ QX_GUARDED_BY(mutex_);
  // By unique name, of which each bus has its own.
  std::map<std::pair<const Link*, std::string>, Unidentified> unidentified_ QX_GUARDED_BY(mutex_);
  std::size_t unidentifiedSize_ QX_GUARDED_BY(mutex_) = 0;  // of all of them
};

}  // namespace qxbus

#endif  // BUS_DBUS_CLIENT_H
