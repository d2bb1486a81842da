// What a service says of its objects to D-Bus tools.

#ifndef BUS_DBUS_INTROSPECTION_H
#define BUS_DBUS_INTROSPECTION_H

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qxbus {

inline constexpr char kIntrospectableInterface[] = "org.freedesktop.DBus.Introspectable";

class Introspection {
 public:
  struct Method {
    std::string name;
    std::string takes;  // D-Bus types of its arguments, none or one type
    std::string gives;
  };
  struct Object {
    std::string path;
    std::string interface;
    std::vector<Method> methods;
    std::vector<std::string> events;
  };

  void add(const Object& object);

  // The XML of an object, or of a node on the way to one. nullopt for any other path.
  std::optional<std::string> of(const std::string& path) const;

 private:
  std::map<std::string, std::string> objects_;  // interfaces, by path
};

}  // namespace qxbus

#endif  // BUS_DBUS_INTROSPECTION_H
