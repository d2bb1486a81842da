// The way to the service in words: each link, what is wrong with it, and what to do.

#ifndef VEL_APPS_LOCAL_VELCTL_CHECKS_WAY_TO_SERVICE_H
#define VEL_APPS_LOCAL_VELCTL_CHECKS_WAY_TO_SERVICE_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "bus/dbus/service_check.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/run/invocation.h"

namespace velctl {

// Something that works, that is broken, or that was not examined.
struct CheckedLink {
  enum class State { kOk, kWrong, kSkipped };

  std::string name;
  State state = State::kSkipped;
  std::string text;           // what was found, what is wrong, or why it was skipped; printable
  std::string remedy;         // of kWrong
  ExitCode code = kExitDone;  // of kWrong
};

// "ok", "wrong", "skipped"
std::string_view nameOf(CheckedLink::State state);

// The command fails because a link is wrong.
Failure failureOf(const std::string& command, const CheckedLink& link);

// Examines the way. Interruptible.
qxbus::ServiceCheck checkWay(const Invocation& invocation);

// "QXBUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS", "session bus", "default"
std::string_view nameOf(qxbus::BusAddress::Source source);

// The address and where it comes from: "direct:PATH, from QXBUS_ADDRESS".
std::string addressText(const qxbus::ServiceCheck& check);

// The address and where it comes from: "direct:PATH, from QXBUS_ADDRESS".
std::string addressText(const qxbus::ServiceCheck& check);

// "ann (1000)"
std::string userText(uid_t user);

// The links from the address to the user of the service, in their order.
std::vector<CheckedLink> linksOf(const qxbus::ServiceCheck& check);

// The first that is wrong; null without one.
const CheckedLink* firstWrong(const std::vector<CheckedLink>& links);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_CHECKS_WAY_TO_SERVICE_H
