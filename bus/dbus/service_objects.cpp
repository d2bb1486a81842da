#include "bus/dbus/service_objects.h"

#include <utility>

#include "bus/dbus/names.h"
#include "bus/dbus/request_impl.h"

namespace qxbus {

ServiceObjects objectsOf(const std::string& service, std::vector<Method> methods,
                         std::vector<PlainObject> plain) {
  ServiceObjects objects;
  ServiceObject& main = objects[objectPathOf(service)];
  main.interface = interfaceOf(service);
  for (Method& method : methods) {
    main.methods.emplace(std::move(method.name),
                         ServiceObject::Method{std::make_shared<const ServiceObject::Handler>(
                                                   std::move(method.handler)),
                                               kListSignature, kListSignature});
  }
  for (PlainObject& given : plain) {
    ServiceObject& object = objects[given.path];
    object.interface = std::move(given.interface);
    object.isPlain = true;
    for (PlainMethod& method : given.methods) {
      object.methods.emplace(
          std::move(method.name),
          ServiceObject::Method{
              std::make_shared<const ServiceObject::Handler>(std::move(method.handler)),
              std::move(method.takes), std::move(method.gives)});
    }
  }
  return objects;
}

Introspection introspectionOf(const std::string& service, const ServiceObjects& objects,
                              const std::vector<std::string>& events) {
  Introspection introspection;
  for (const auto& [path, object] : objects) {
    Introspection::Object described{path, object.interface, {}, {}};
    for (const auto& [name, method] : object.methods) {
      if (name != kAnyMethod) {
        described.methods.push_back({name, method.takes, method.gives});
      }
    }
    if (path == objectPathOf(service)) {
      described.events = events;
    }
    introspection.add(described);
  }
  return introspection;
}

}  // namespace qxbus
