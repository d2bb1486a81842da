#include "bus/dbus/opening.h"

#include <memory>
#include <set>

#include "bus/dbus/dbus_ptr.h"
#include "bus/dbus/worker.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

// Never destroyed: an attempt may hang until the process has ended.
struct Openings {
  platform::Mutex mutex;
  platform::Condition changed;
  // Addresses where an attempt that was given up still hangs.
  std::multiset<std::string> hanging QX_GUARDED_BY(mutex);
};

// One attempt, shared by its caller and the thread that makes it.
struct Opening {
  explicit Opening(Openings& openings) : all(openings) {}

  Openings& all;
  DBusConnection* bus QX_GUARDED_BY(all.mutex) = nullptr;
  std::string failure QX_GUARDED_BY(all.mutex);
  bool isFinished QX_GUARDED_BY(all.mutex) = false;
  bool isAbandoned QX_GUARDED_BY(all.mutex) = false;
};

void drop(DBusConnection* bus) {
  if (bus) {
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
  }
}

void makeAttempt(const std::string& address, Opening& opening) {
  Error error;
  DBusConnection* const bus = dbus_connection_open_private(address.c_str(), error.get());
  if (bus) {
    dbus_connection_set_exit_on_disconnect(bus, FALSE);
  }
  platform::MutexLock lock(opening.all.mutex);
  if (opening.isAbandoned) {
    lock.unlock();
    drop(bus);
    lock.lock();
    opening.all.hanging.erase(opening.all.hanging.find(address));
  } else {
    opening.bus = bus;
    opening.failure = bus ? "" : error.text();
    opening.isFinished = true;
  }
  opening.all.changed.notifyAll();
}

}  // namespace

// connect() has no deadline: where a socket listens and accepts nothing, it waits for ever.
base::Result<DBusConnection*> openPrivate(const std::string& address,
                                          std::chrono::steady_clock::time_point deadline) {
  static auto* const all = new Openings;
  const auto shared = std::make_shared<Opening>(*all);
  Opening& opening = *shared;
  platform::MutexLock lock(opening.all.mutex);
  // Callers that ask again and again must not leave a thread behind each time.
  while (opening.all.hanging.count(address) != 0) {
    if (!opening.all.changed.waitUntil(lock, deadline)) {
      return base::Failed{"it does not take connections"};
    }
  }
  const auto started =
      startDetached("qxbus-open", [address, shared] { makeAttempt(address, *shared); });
  if (!started) {
    return started.failed();
  }
  while (!opening.isFinished) {
    if (!opening.all.changed.waitUntil(lock, deadline) && !opening.isFinished) {
      opening.isAbandoned = true;
      opening.all.hanging.insert(address);
      return base::Failed{"it does not take the connection"};
    }
  }
  if (!opening.bus) {
    return base::Failed{opening.failure};
  }
  return opening.bus;
}

}  // namespace qxbus
