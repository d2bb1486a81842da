#include "vel/apps/local/velsim/control_object.h"

#include <string>
#include <utility>

#include "base/printable.h"

namespace velsim {
namespace {

// D-Bus carries UTF-8 alone, and names come from clients.
std::string carried(const std::string& text) {
  return qxbus::isText(text) ? text : base::printable(text, "\n");
}

void run(Control& control, Log& log, qxbus::Request request) {
  const std::string line = qxbus::readString(request.arguments(), 0);
  log.writeDetail("control: " + base::printable(line));
  if (control.cutsConnections(line)) {
    request.reply({std::string()});
  }
  const Control::Answer answer = control.run(line);
  if (answer) {
    request.reply({carried(*answer)});
  } else {
    request.fail(carried(answer.reason()));
  }
}

}  // namespace

qxbus::PlainObject controlObject(Control& control, Log& log) {
  return {
      kControlPath,
      kControlInterface,
      {{kControlRun, "s", "s",
        [&control, &log](qxbus::Request request) { run(control, log, std::move(request)); }},
       {"Help", "", "s", [&control](qxbus::Request request) { request.reply({control.help()}); }}}};
}

}  // namespace velsim
