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

#include <chrono>
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
  ~Request();

  const std::string& method() const;
  const Values& arguments() const;
  // The caller's unique name on the bus; over a direct connection, one that the host gives it.
  const std::string& sender() const;

  void reply(const Values& values);
  void fail(const std::string& text);
  // A reply whose body has one D-Bus argument for each value, where the method's own has another
  // form. signature: of these values; an error takes the place of a reply that does not follow it.
  void replyAs(const std::string& signature, const Values& values);
  // No answer ever, as from a service that hangs.
  void drop();

 private:
  std::unique_ptr<Impl> impl_;
};

// The name of a method that takes the calls of all that are not named.
inline constexpr char kAnyMethod[] = "";

struct Method {
  std::string name;
  std::function<void(Request)> handler;
};

// A further object at the same connection, for ordinary D-Bus tools: its methods take and give
// D-Bus arguments of their own where those of the service have one list.
struct PlainMethod {
  std::string name;
  std::string takes;  // D-Bus types of the arguments: "s", "". Other calls get an error
  std::string gives;  // of the values of its replies
  std::function<void(Request)> handler;
};
struct PlainObject {
  std::string path;
  std::string interface;
  std::vector<PlainMethod> methods;
};

class ServiceHost {
 public:
  struct Impl;

  // Exports the object of the service, then takes the name of the service on the bus, or listens at
  // a socket of its own.
  //
  // address   a D-Bus address, or a direct one; empty: QXBUS_ADDRESS, else the session bus
  //
  // service   "vel" becomes qx.bus.vel
  //
  // events    the names of the signals that introspection lists
  //
  // objects   beside that of the service, with paths of their own
  //
  // Throws std::runtime_error when the bus cannot be reached, the name is taken or refused, or the
  // socket belongs to a program that runs.
  ServiceHost(const std::string& address, const std::string& service, std::vector<Method> methods,
              const std::vector<std::string>& events = {}, std::vector<PlainObject> objects = {});
  // Releases the name, and waits for the handler that is running, unless called inside it. What was
  // sent goes out later, while the process lives: flush() waits for it.
  ~ServiceHost();

  ServiceHost(const ServiceHost&) = delete;
  ServiceHost& operator=(const ServiceHost&) = delete;

  // Where clients find it, for people: the address of the bus, or the path of a socket of its own.
  const std::string& place() const;

  // Sends the service's event `name` ("velevent") from its object and interface.
  void emitEvent(const std::string& name, const Values& values);
  // Sends a broadcast event ("mountedEvent").
  void broadcast(const std::string& name, const Values& values);
  // Waits until everything that was sent so far has left the process, for a service that is about
  // to end. False when a client has not taken it within the time.
  bool flush(std::chrono::milliseconds time);
  // Runs onLost once, on the host's thread, when the bus connection is lost. Never when the host
  // listens at a socket of its own: there clients come and go.
  void setLostCallback(std::function<void()> onLost);

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_HOST_H
