#include "vel/apps/local/velsim/ctl.h"

#include <chrono>
#include <cstdio>

#include "bus/dbus/plain_call.h"
#include "vel/apps/local/velsim/control_object.h"
#include "vel/protocol/names.h"

namespace velsim {
namespace {

// A command may wait for what it begins.
constexpr std::chrono::seconds kTime{60};

void report(const std::string& error) {
  std::fprintf(stderr, "velsim: ctl: %s\n", error.c_str());
}

}  // namespace

ExitCode ctl(const CtlOptions& options) {
  const std::string line =
      options.words.size() == 1 ? options.words.front() : lineOf(options.words);
  if (!qxbus::isText(line)) {
    report("the command must be UTF-8");
    return kExitUsage;
  }
  const qxbus::PlainReply reply = qxbus::callPlain(
      options.address,
      {velprotocol::kServiceName, kControlPath, kControlInterface, kControlRun, "s", {line}},
      kTime);
  switch (reply.kind) {
    case qxbus::PlainReply::Kind::kReturn:
      std::fputs(qxbus::readString(reply.values, 0).c_str(), stdout);
      return kExitStopped;
    case qxbus::PlainReply::Kind::kError:
      report(reply.text);
      return kExitRefused;
    case qxbus::PlainReply::Kind::kNoService:
      report("no velsim runs there: " + reply.text +
             "; start velsim, or name its bus with --bus or QXBUS_ADDRESS");
      return kExitNotServing;
    case qxbus::PlainReply::Kind::kNoReply:
      break;
  }
  report("velsim gave no answer: " + reply.text);
  return kExitBusLost;
}

}  // namespace velsim
