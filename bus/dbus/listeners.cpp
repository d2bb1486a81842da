#include "bus/dbus/listeners.h"

#include <algorithm>
#include <iterator>

namespace qxbus {

void Listeners::add(const std::string& name, QXBusEventCallback* listener,
                    QXBusSecurityFlags flags) {
  const platform::MutexLock lock(mutex_);
  registrations_.push_back({name, listener, flags});
}

void Listeners::remove(const std::string& name, const QXBusEventCallback* listener) {
  const platform::MutexLock lock(mutex_);
  registrations_.erase(std::remove_if(registrations_.begin(), registrations_.end(),
                                      [&](const Registration& registration) {
                                        return registration.name == name &&
                                               registration.listener == listener;
                                      }),
                       registrations_.end());
}

void Listeners::clear() {
  const platform::MutexLock lock(mutex_);
  registrations_.clear();
}

std::vector<Listeners::Registration> Listeners::named(std::string_view name) const {
  std::vector<Registration> found;
  const platform::MutexLock lock(mutex_);
  std::copy_if(registrations_.begin(), registrations_.end(), std::back_inserter(found),
               [&name](const Registration& registration) { return registration.name == name; });
  return found;
}

bool Listeners::hasNamed(std::string_view name) const {
  const platform::MutexLock lock(mutex_);
  return std::any_of(
      registrations_.begin(), registrations_.end(),
      [&name](const Registration& registration) { return registration.name == name; });
}

bool Listeners::takesAnyUser(std::string_view name) const {
  const platform::MutexLock lock(mutex_);
  return std::any_of(
      registrations_.begin(), registrations_.end(), [&name](const Registration& registration) {
        return registration.name == name && registration.flags == QXBUS_SECURITY_ANY_USER;
      });
}

}  // namespace qxbus
