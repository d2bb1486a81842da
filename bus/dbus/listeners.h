// Listeners by event name, in the order of registration. Every registration counts.
//
// THREADS   Any thread may call any member.

#ifndef BUS_DBUS_LISTENERS_H
#define BUS_DBUS_LISTENERS_H

#include <string>
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

  std::vector<Registration> named(const std::string& name) const;

 private:
  mutable platform::Mutex mutex_;
  std::vector<Registration> registrations_ QX_GUARDED_BY(mutex_);
};

}  // namespace qxbus

#endif  // BUS_DBUS_LISTENERS_H
