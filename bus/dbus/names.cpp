#include "bus/dbus/names.h"

#include <algorithm>
#include <cstdlib>

#include <dbus/dbus.h>
#include <sys/stat.h>

namespace qxbus {
namespace {

constexpr char kPrefix[] = "qx.bus.";

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

bool hasNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

bool isSocket(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace

std::string busNameOf(const std::string& service) {
  return kPrefix + service;
}

std::string objectPathOf(const std::string& service) {
  std::string path = "/" + busNameOf(service);
  std::replace(path.begin(), path.end(), '.', '/');
  return path;
}

bool isServiceName(const std::string& service) {
  // An object path allows fewer characters than a bus name, an interface fewer than either.
  return !hasNul(service) && dbus_validate_interface(busNameOf(service).c_str(), nullptr) &&
         dbus_validate_bus_name(busNameOf(service).c_str(), nullptr) &&
         dbus_validate_path(objectPathOf(service).c_str(), nullptr);
}

bool isMemberName(const std::string& member) {
  return !hasNul(member) && dbus_validate_member(member.c_str(), nullptr);
}

std::string busAddress() {
  for (const char* const variable : {"QXBUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
    std::string address = environment(variable);
    if (!address.empty()) {
      return address;
    }
  }
#if defined(__APPLE__)
  return "launchd:env=DBUS_LAUNCHD_SESSION_BUS_SOCKET";
#else
  // The bus of a session that does not set the variable. No bus is started from here.
  const std::string runtime = environment("XDG_RUNTIME_DIR");
  if (runtime.empty() || !isSocket(runtime + "/bus")) {
    return "";
  }
  char* const escaped = dbus_address_escape_value((runtime + "/bus").c_str());
  std::string address = escaped ? std::string("unix:path=") + escaped : "";
  dbus_free(escaped);
  return address;
#endif
}

}  // namespace qxbus
