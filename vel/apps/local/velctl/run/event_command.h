// A command of the user's that receives events.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_EVENT_COMMAND_H
#define VEL_APPS_LOCAL_VELCTL_RUN_EVENT_COMMAND_H

#include <string>
#include <utility>

#include "vel/apps/local/velctl/output/json.h"
#include "vel/apps/local/velctl/run/session.h"

namespace velctl {

// THREADS   The main thread.
class EventCommand {
 public:
  // command    for sh
  EventCommand(Session& session, std::string command)
      : session_(session), command_(std::move(command)) {}

  // Runs the command with the event on its standard input, and waits for its end. Its standard
  // output is that of velctl. What goes wrong is a message: the next event may go better. Throws
  // Interrupted, OutputClosed and TimeOver, and then leaves the command to itself.
  void run(const Json& event) const;

 private:
  Session& session_;
  const std::string command_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_EVENT_COMMAND_H
