// The service side of the bus: gives a service name and an object with methods to a bus connection
// and emits its events.
//
// THREADS   Handlers run one at a time on the host's own thread. Every member, and every member of
//           a Request, may be called from any thread, also from inside a handler.
// ERRORS    Nothing throws except the constructor (std::runtime_error with a readable reason).

#ifndef BUS_DBUS_SERVICE_HOST_H
#define BUS_DBUS_SERVICE_HOST_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bus/dbus/value.h"

namespace qxbus {

// One method call that waits for its answer. Movable; it may be kept and answered later. The first
// answer counts. A request that is destroyed unanswered answers with an error.
class Request {
 public:
  struct Impl;
  explicit Request(std::unique_ptr<Impl> impl);
  Request(Request&&) noexcept;
  Request& operator=(Request&&) noexcept;
  ~Request();

  const std::string& method() const;
  const Values& arguments() const;
  // The caller's unique name on the bus.
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

  // Connects to the bus at address ("" means QXBUS_ADDRESS, else the session bus), exports the
  // object and then takes the name of service ("vel" becomes qx.bus.vel). Throws
  // std::runtime_error when the bus cannot be reached, or the name is taken or refused. events are
  // the names that introspection tells of.
  ServiceHost(const std::string& address, const std::string& service, std::vector<Method> methods,
              const std::vector<std::string>& events = {});
  // Gives the name back, and waits for a handler that is running unless called from inside it.
  ~ServiceHost();

  ServiceHost(const ServiceHost&) = delete;
  ServiceHost& operator=(const ServiceHost&) = delete;

  // Sends the service's event `name` ("velevent") from its object and interface.
  void emitEvent(const std::string& name, const Values& values);
  // Sends a broadcast event ("mountedEvent").
  void broadcast(const std::string& name, const Values& values);
  // Runs onLost once, on the host's thread, when the bus connection is gone.
  void setLostCallback(std::function<void()> onLost);

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_HOST_H
