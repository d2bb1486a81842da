#include "bus/dbus/bus_connection.h"

#include <utility>

#include "bus/dbus/bus_daemon.h"
#include "bus/dbus/bus_failure.h"
#include "bus/dbus/names.h"
#include "platform/mutex.h"

namespace qxbus {
namespace {

using Opened = base::Result<std::shared_ptr<Connection>>;

struct LastFailure {
  platform::Mutex mutex;
  std::string reason QX_GUARDED_BY(mutex);
};

// Never destroyed: threads of the bus run until the process has ended.
LastFailure& lastFailure() {
  static auto* const last = new LastFailure;
  return *last;
}

Opened openAndSignIn(const std::string& address, Connection::Handlers handlers,
                     Clock::time_point deadline) {
  Opened opened = Connection::open(address, std::move(handlers), deadline);
  if (!opened) {
    return opened;
  }
  if (const auto signedIn = signIn(**opened, deadline); !signedIn) {
    return signedIn.failed();
  }
  return opened;
}

Opened attempt(std::string address, Connection::Handlers handlers, Clock::time_point deadline) {
  if (address.empty()) {
    address = busAddress();
  }
  if (address.empty()) {
    return base::Failed{"no bus address: QXBUS_ADDRESS is not set, and there is no session bus"};
  }
  Opened opened = openAndSignIn(address, std::move(handlers), deadline);
  return opened ? opened
                : base::Failed{"no connection to the bus at " + address + ": " + opened.reason()};
}

}  // namespace

std::string busFailure() {
  LastFailure& last = lastFailure();
  const platform::MutexLock lock(last.mutex);
  return last.reason;
}

void setBusFailure(const std::string& reason) {
  LastFailure& last = lastFailure();
  const platform::MutexLock lock(last.mutex);
  last.reason = reason;
}

Opened connectToBus(std::string address, Connection::Handlers handlers,
                    Clock::time_point deadline) {
  Opened opened = attempt(std::move(address), std::move(handlers), deadline);
  setBusFailure(opened.reason());
  return opened;
}

}  // namespace qxbus
