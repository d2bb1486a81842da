// The service side of the bus: a service name and an object with methods on a bus connection, and
// the events that the service emits.
//
// THREADS   Handlers run one at a time on the host's own thread. Any thread may call any member,
//           and any member of a Request, also inside a handler.
// SIZE      The calls that wait for their handlers take at most 256 MB of memory. Further calls get
//           an error, until there is room.
// ERRORS    Only the constructor throws: std::runtime_error, with a reason for people.

#ifndef BUS_DBUS_SERVICE_HOST_H
#define BUS_DBUS_SERVICE_HOST_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bus/dbus/value.h"

namespace qxbus {

// One method call that waits for its answer. Movable, so a handler may keep it and answer later.
// The first answer counts. A request that is destroyed unanswered answers with an error.
class Request {
 public:
  struct Impl;
  explicit Request(std::unique_ptr<Impl> impl);
  Request(Request&&) noexcept;
  Request& operator=(Request&&) noexcept;
  ~Request();

  const std::string& method() const;
  const Values& arguments() const;
  // The caller's unique name on the bus; over a direct connection, one that the host gives it.
  const std::string& sender() const;

  void reply(const Values& values);
  void fail(const std::string& text);

 private:
  std::unique_ptr<Impl> impl_;
};

struct Method {
  std::string name;
  std::function<void(Request)> handler;
};

class ServiceHost {
 public:
  struct Impl;

  // Exports the object of the service, then takes the name of the service on the bus, or listens at
  // a socket of its own.
  //
  // address   a D-Bus address, or a direct one; empty stands for QXBUS_ADDRESS, else the session
  // bus service   "vel" becomes qx.bus.vel events    the names of the signals that introspection
  // lists throws    std::runtime_error when the bus cannot be reached, the name is taken or
  // refused, or
  //           the socket belongs to a program that runs
  ServiceHost(const std::string& address, const std::string& service, std::vector<Method> methods,
              const std::vector<std::string>& events = {});
  // Releases the name, and waits for the handler that is running, unless called inside it.
  ~ServiceHost();

  ServiceHost(const ServiceHost&) = delete;
  ServiceHost& operator=(const ServiceHost&) = delete;

  // Where clients find it, for people: the address of the bus, or the path of a socket of its own.
  const std::string& place() const;

  // Sends the service's event `name` ("velevent") from its object and interface.
  void emitEvent(const std::string& name, const Values& values);
  // Sends a broadcast event ("mountedEvent").
  void broadcast(const std::string& name, const Values& values);
  // Runs onLost once, on the host's thread, when the bus connection is lost. Never when the host
  // listens at a socket of its own: there clients come and go.
  void setLostCallback(std::function<void()> onLost);

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_HOST_H
