// What a service says of itself to D-Bus tools.

#ifndef BUS_DBUS_INTROSPECTION_H
#define BUS_DBUS_INTROSPECTION_H

#include <optional>
#include <string>
#include <vector>

namespace qxbus {

inline constexpr char kIntrospectableInterface[] = "org.freedesktop.DBus.Introspectable";

class Introspection {
 public:
  Introspection(std::string path, const std::string& interface,
                const std::vector<std::string>& methods, const std::vector<std::string>& events);

  // The XML of an object: the service's, or one on the way to it. nullopt for any other path.
  std::optional<std::string> of(const std::string& path) const;

 private:
  const std::string path_;
  std::string object_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_INTROSPECTION_H
