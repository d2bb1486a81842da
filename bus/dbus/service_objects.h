// The objects of a service with their methods, as calls find them.

#ifndef BUS_DBUS_SERVICE_OBJECTS_H
#define BUS_DBUS_SERVICE_OBJECTS_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bus/dbus/introspection.h"
#include "bus/dbus/service_host.h"

namespace qxbus {

struct ServiceObject {
  using Handler = std::function<void(Request)>;
  struct Method {
    // Shared with the call that is being handled, which may end the host.
    std::shared_ptr<const Handler> handler;
    std::string takes;  // only a plain object looks at the arguments of a call
    std::string gives;
  };
  std::string interface;
  bool isPlain = false;
  std::map<std::string, Method, std::less<>> methods;
};
using ServiceObjects = std::map<std::string, ServiceObject, std::less<>>;  // by path

// The object of the service with these methods, and the plain ones.
ServiceObjects objectsOf(const std::string& service, std::vector<Method> methods,
                         std::vector<PlainObject> plain);

// events     of the object of the service
Introspection introspectionOf(const std::string& service, const ServiceObjects& objects,
                              const std::vector<std::string>& events);

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_OBJECTS_H
