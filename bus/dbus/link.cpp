#include "bus/dbus/link.h"

#include <optional>

#include <unistd.h>

#include "bus/dbus/bus_daemon.h"
#include "bus/dbus/bus_log.h"

namespace qxbus {
namespace {

// More peers than this are not remembered: a bus gives each unique name once.
constexpr std::size_t kRememberedPeers = 1000;

}  // namespace

std::string Link::refusal(const std::string& uniqueName, Clock::time_point deadline) {
  std::optional<unsigned int> user;
  {
    const platform::MutexLock lock(mutex_);
    const auto known = users_.find(uniqueName);
    if (known != users_.end()) {
      user = known->second;
    }
  }
  if (!user) {
    user = userOf(*connection_, uniqueName, deadline);
    if (!user) {
      return "the bus does not say which user it runs as";
    }
    const platform::MutexLock lock(mutex_);
    if (users_.size() >= kRememberedPeers) {
      users_.clear();
    }
    users_.emplace(uniqueName, *user);
  }
  if (*user == ::geteuid() || *user == 0) {
    return "";
  }
  return "it runs as user " + std::to_string(*user) + ", neither as this user (" +
         std::to_string(::geteuid()) + ") nor as root";
}

bool Link::isTrusted(const std::string& uniqueName, const std::string& what,
                     Clock::time_point deadline) {
  const std::string reason = refusal(uniqueName, deadline);
  if (!reason.empty()) {
    logError(what + " is refused: " + reason);
  }
  return reason.empty();
}

void Link::logRefusedSender(const std::string& sender, const std::string& reason) {
  // After a loss, the user of no sender is known any more.
  if (!connection_->isOpen()) {
    return;
  }
  {
    const platform::MutexLock lock(mutex_);
    if (refusedSenders_.size() >= kRememberedPeers) {
      refusedSenders_.clear();
    }
    if (!refusedSenders_.insert(sender).second) {
      return;
    }
  }
  logError("broadcast events of " + sender + " are refused: " + reason);
}

}  // namespace qxbus
