#include "bus/dbus/session_bus.h"

#include <sys/stat.h>

namespace qxbus {
namespace {

// The name of the variable that dbus-daemon gives to launchd.
constexpr char kOfLaunchd[] = "launchd:env=DBUS_LAUNCHD_SESSION_BUS_SOCKET";
constexpr char kInRuntimeDirectory[] = "unix:runtime=yes";

bool isSocket(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace

std::string sessionBus(const wire::System& system) {
  const auto places =
      wire::parseAddresses(system.launchdVariable ? kOfLaunchd : kInRuntimeDirectory, system);
  if (!places) {
    return "";
  }
  const std::string path = places->usable.front().socket.sun_path;
  return isSocket(path) ? "unix:path=" + wire::escaped(path) : "";
}

}  // namespace qxbus
