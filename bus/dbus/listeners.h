// Listeners by event name, in the order of registration. Every registration counts.

#ifndef BUS_DBUS_LISTENERS_H
#define BUS_DBUS_LISTENERS_H

#include <string>
#include <string_view>
#include <vector>

#include "bus/qxbus.h"
#include "platform/mutex.h"

namespace qxbus {

class Listeners {
 public:
  struct Registration {
    std::string name;
    QXBusEventCallback* listener;
    QXBusSecurityFlags flags;
  };

  void add(const std::string& name, QXBusEventCallback* listener, QXBusSecurityFlags flags);
  // Undoes every registration of the listener under the name.
  void remove(const std::string& name, const QXBusEventCallback* listener);
  void clear();

  std::vector<Registration> named(std::string_view name) const;
  bool hasNamed(std::string_view name) const;
  // Whether one of the name takes events of any user.
  bool takesAnyUser(std::string_view name) const;

 private:
  mutable platform::Mutex mutex_;
  std::vector<Registration> registrations_ QX_GUARDED_BY(mutex_);
};

}  // namespace qxbus

#endif  // BUS_DBUS_LISTENERS_H
