// The client's side of the bus: one link at a time, its broadcast listeners, and the services in
// use. The I/O thread of the connection reads; handlers run on the threads of handler_threads.h. No
// lock is held while a handler runs.
//
// THREADS   Any thread may call any member.

#ifndef BUS_DBUS_CLIENT_H
#define BUS_DBUS_CLIENT_H

#include <memory>
#include <string>
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
  // An empty address stands for busAddress().
  static base::Result<std::shared_ptr<Client>> connect(std::string address);

  bool isServiceRegistered(const std::string& service);
  // Null when the service is not there or refused; the log has the reason.
  std::shared_ptr<ServiceHandle> handleOn(const std::string& service, QXBusSecurityFlags flags);
  void addBroadcastListener(const std::string& name, QXBusEventCallback* listener,
                            QXBusSecurityFlags flags);

 private:
  explicit Client(std::string address);

  using Linked = base::Result<std::shared_ptr<Link>>;
  // The link; a new one when the last is lost.
  Linked link(Clock::time_point deadline);
  Linked linkAnew(Clock::time_point deadline);
  std::shared_ptr<Link> openLink();

  base::Result<std::shared_ptr<ServiceHandle>> attachTo(const std::string& service,
                                                        QXBusSecurityFlags flags);
  std::vector<std::shared_ptr<ServiceHandle>> liveHandlesOn(const Link& link);

  // On the I/O thread.
  void onMessage(const std::shared_ptr<Link>& link, DBusMessage* message);
  void onOwnerChanged(const Link& link, DBusMessage* message);
  void onLost(const Link& link);

  // On the event thread.
  struct Signal;
  void dispatch(Signal& signal);
  std::vector<Listeners::Registration> registrationsFor(const Signal& signal) const;

  const std::string address_;
  const std::shared_ptr<HandlerThreads> threads_;
  Listeners broadcastListeners_;
  SharedAttempt<Linked> linking_;

  platform::Mutex mutex_;
  std::shared_ptr<Link> link_ QX_GUARDED_BY(mutex_);
  std::vector<std::string> broadcastRules_ QX_GUARDED_BY(mutex_);
  std::vector<std::weak_ptr<ServiceHandle>> handles_ QX_GUARDED_BY(mutex_);
};

}  // namespace qxbus

#endif  // BUS_DBUS_CLIENT_H
