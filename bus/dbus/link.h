// One connection to the bus, and the users of the peers there. A bus that has been started again
// gives the same unique names to other peers, so none of this outlives the connection.
//
// THREADS   Any thread may call any member but setConnection.

#ifndef BUS_DBUS_LINK_H
#define BUS_DBUS_LINK_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "bus/dbus/connection.h"
#include "platform/mutex.h"

namespace qxbus {

// How long the bus daemon may take to reply to a client: callers hold locks meanwhile.
inline constexpr int kBusTimeoutMs = 2000;

class Link {
 public:
  // Once, before the link is shared.
  void setConnection(std::shared_ptr<Connection> connection) {
    connection_ = std::move(connection);
  }
  Connection& connection() const { return *connection_; }

  // Why a peer runs neither as this user nor as root; empty when it does. An unknown user is a
  // reason.
  std::string refusal(const std::string& uniqueName, Clock::time_point deadline);

  // Whether a peer runs as this user or as root. The log names the peer as `what` when it does not.
  bool isTrusted(const std::string& uniqueName, const std::string& what,
                 Clock::time_point deadline);

  // Logs, once per sender, that its broadcast events are refused: any peer may broadcast as often
  // as it likes.
  void logRefusedSender(const std::string& sender, const std::string& reason);

 private:
  std::shared_ptr<Connection> connection_;

  platform::Mutex mutex_;
  std::map<std::string, unsigned int> users_ QX_GUARDED_BY(mutex_);  // by unique name
  std::set<std::string> refusedSenders_ QX_GUARDED_BY(mutex_);
};

}  // namespace qxbus

#endif  // BUS_DBUS_LINK_H
