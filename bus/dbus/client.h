// The client's side of the bus: one connection at a time, its listeners, and the services it talks
// to.
//
//   I/O thread          reads; hands replies to whoever waits, the rest to the threads below
//   event thread        runs the listeners, one event after the other
//   completion thread   runs what waits for an asynchronous reply
//   a thread per death  may sleep and call as long as it likes
//   death thread        starts those again that could not be started
//
// So nothing of a client's can hold up the reading, and no two kinds hold each other up. No lock is
// held while any of them calls out. What waits for a handler is bounded by nothing but the memory.

#ifndef BUS_DBUS_CLIENT_H
#define BUS_DBUS_CLIENT_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "bus/dbus/connection.h"
#include "bus/dbus/shared_attempt.h"
#include "bus/dbus/worker.h"
#include "bus/qxbus.h"

namespace qxbus {

class Client;

// Listeners by event name, in the order of registration. Every registration counts.
class Listeners {
 public:
  void add(const std::string& name, QXBusEventCallback* listener, QXBusSecurityFlags flags);
  // Undoes every registration of the listener under the name.
  void remove(const std::string& name, const QXBusEventCallback* listener);
  void clear();

  struct Registration {
    std::string name;
    QXBusEventCallback* listener;
    QXBusSecurityFlags flags;
  };
  std::vector<Registration> named(const std::string& name) const;

 private:
  mutable std::mutex mutex_;
  std::vector<Registration> registrations_;
};

// One running instance of a service, bound to its unique name on one connection: it never reaches
// a later instance, and nobody else's signal is an event of it.
class ServiceHandle : public std::enable_shared_from_this<ServiceHandle> {
 public:
  // generation is the connection's.
  ServiceHandle(std::shared_ptr<Client> client, std::shared_ptr<Connection> connection,
                unsigned int generation, std::string service);
  ~ServiceHandle();

  ServiceHandle(const ServiceHandle&) = delete;
  ServiceHandle& operator=(const ServiceHandle&) = delete;

  // Finds the instance that runs now. Fails when there is none or it is refused.
  base::Result<void> attach(QXBusSecurityFlags flags, Clock::time_point deadline);

  std::shared_ptr<QXBusMessage> call(QXBusMessage& message, int timeoutMs);
  void call(QXBusMessage& message, int timeoutMs,
            std::function<void(std::shared_ptr<QXBusMessage>)> done);

  void setDeathCallback(std::function<void()> callback);
  void addEventListener(const std::string& name, QXBusEventCallback* listener,
                        QXBusSecurityFlags flags);
  Listeners& listeners() { return listeners_; }

  // What the client has read from the bus.
  bool isOn(const Connection& connection) const { return &connection == connection_.get(); }
  bool sends(const std::string& sender, const std::string& path,
             const std::string& interface) const;
  void ownerChanged(const std::string& busName, const std::string& from, const std::string& to);
  void connectionLost(unsigned int generation);

 private:
  base::Result<MessagePtr> encode(QXBusMessage& message) const;
  void die();
  // What is to be called on a thread of its own; nothing when nobody is left to be told.
  std::function<void()> takeDeathCallback();
  std::string owner() const;

  const std::shared_ptr<Client> client_;
  const std::shared_ptr<Connection> connection_;
  const unsigned int generation_;
  const std::string service_;
  const std::string busName_;  // also the name of its interface
  const std::string path_;
  std::vector<std::string> rules_;
  Listeners listeners_;

  mutable std::mutex mutex_;  // guards the rest
  std::string owner_;
  std::vector<std::string> formerOwners_;  // seen to go before owner_ was known
  bool dead_ = false;
  bool deathReported_ = false;  // or about to be
  std::function<void()> deathCallback_;
};

class Client : public std::enable_shared_from_this<Client> {
 public:
  // An empty address stands for busAddress().
  static base::Result<std::shared_ptr<Client>> connect(std::string address);

  bool isServiceRegistered(const std::string& service);
  std::shared_ptr<ServiceHandle> handleOn(const std::string& service, QXBusSecurityFlags flags);
  void addBroadcastListener(const std::string& name, QXBusEventCallback* listener,
                            QXBusSecurityFlags flags);

  // Whether a connection belongs to this user or to root; unknown is no.
  bool isTrusted(Connection& connection, const std::string& uniqueName, const std::string& what,
                 Clock::time_point deadline);

  // Runs a task on the completion thread.
  void complete(std::function<void()> task) { completions_.post(std::move(task)); }
  // Runs a task on a thread of its own, as soon as there is one.
  void runApart(const std::function<void()>& task);

 private:
  explicit Client(std::string address);

  using Connected = base::Result<std::shared_ptr<Connection>>;
  // The connection; a new one when the last is gone.
  Connected connection(Clock::time_point deadline);
  Connected connectAnew(Clock::time_point deadline);
  std::shared_ptr<Connection> openConnection();
  base::Result<std::shared_ptr<ServiceHandle>> attachTo(const std::string& service,
                                                        QXBusSecurityFlags flags);
  std::vector<std::shared_ptr<ServiceHandle>> liveHandles();
  void forgetDeadHandles();  // with mutex_ held

  // Why a connection does not belong to this user or to root; empty when it does.
  std::string refusal(Connection& connection, const std::string& uniqueName,
                      Clock::time_point deadline);
  // Once per sender.
  void logRefusedSender(const Connection& connection, const std::string& sender,
                        const std::string& reason);

  struct Signal;
  void onMessage(unsigned int generation, MessagePtr message);
  void onSignal(Signal& signal);
  void onLost(unsigned int generation);

  const std::string address_;
  Worker events_;
  Worker completions_;
  Worker deaths_;
  Listeners broadcastListeners_;
  SharedAttempt<Connected> connecting_;

  std::mutex mutex_;           // guards the rest
  unsigned int attempts_ = 0;  // to connect
  std::shared_ptr<Connection> connection_;
  unsigned int generation_ = 0;  // the attempt that gave connection_
  std::vector<std::string> broadcastRules_;
  std::vector<std::weak_ptr<ServiceHandle>> handles_;
  // By unique name, of connection_: a bus that has been started again gives the same names to
  // others.
  std::map<std::string, dbus_uint32_t> users_;
  std::set<std::string> refusedSenders_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_CLIENT_H
