#include "bus/dbus/opening.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>

#include "bus/dbus/dbus_ptr.h"
#include "bus/dbus/worker.h"

namespace qxbus {
namespace {

// One attempt, shared by whoever waits for it and the thread that makes it.
struct Opening {
  DBusConnection* bus = nullptr;
  std::string failure;
  bool finished = false;
  bool abandoned = false;
};

struct Openings {
  std::mutex mutex;  // guards every Opening, too
  std::condition_variable changed;
  // Where an attempt that was given up still waits.
  std::multiset<std::string> hanging;
};

// Never destroyed: an attempt may hang until the process has ended.
Openings& openings() {
  static auto* const all = new Openings;
  return *all;
}

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
  Openings& all = openings();
  std::unique_lock<std::mutex> lock(all.mutex);
  if (opening.abandoned) {
    lock.unlock();
    drop(bus);
    lock.lock();
    all.hanging.erase(all.hanging.find(address));
  } else {
    opening.bus = bus;
    opening.failure = bus ? "" : error.text();
    opening.finished = true;
  }
  all.changed.notify_all();
}

}  // namespace

// connect() has no deadline: where a socket is listened to but nobody accepts, it waits for ever.
base::Result<DBusConnection*> openPrivate(const std::string& address,
                                          std::chrono::steady_clock::time_point deadline) {
  Openings& all = openings();
  std::unique_lock<std::mutex> lock(all.mutex);
  // Whoever asks again and again must not leave a thread behind each time.
  if (!all.changed.wait_until(lock, deadline, [&] { return all.hanging.count(address) == 0; })) {
    return base::Failed{"it does not take connections"};
  }
  const auto opening = std::make_shared<Opening>();
  if (!startThread([address, opening] { makeAttempt(address, *opening); })) {
    return base::Failed{kNoThread};
  }
  if (!all.changed.wait_until(lock, deadline, [&] { return opening->finished; })) {
    opening->abandoned = true;
    all.hanging.insert(address);
    return base::Failed{"it does not take the connection"};
  }
  if (!opening->bus) {
    return base::Failed{opening->failure};
  }
  return opening->bus;
}

}  // namespace qxbus
