#include "bus/dbus/names.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "bus/dbus/wire/address.h"
#include "bus/dbus/wire/grammar.h"

namespace qxbus {
namespace {

constexpr char kPrefix[] = "qx.bus.";
// In the user's directory for what lasts as long as a session.
constexpr char kDirectoryName[] = "velproxy";
constexpr char kSocketName[] = "service";

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

bool isSocket(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

// XDG_RUNTIME_DIR is of this user alone. Without it, a directory of the user's own in /tmp: both
// sides must find the same one, so TMPDIR, which differs from shell to shell, does not count.
std::string directDirectory() {
  const std::string runtime = environment("XDG_RUNTIME_DIR");
  if (!runtime.empty()) {
    return runtime + '/' + kDirectoryName;
  }
#if defined(_CS_DARWIN_USER_TEMP_DIR)
  char directory[1024];
  const std::size_t size = ::confstr(_CS_DARWIN_USER_TEMP_DIR, directory, sizeof directory);
  if (size > 0 && size <= sizeof directory) {
    return std::string(directory) + kDirectoryName;
  }
#endif
  return std::string("/tmp/") + kDirectoryName + '-' + std::to_string(::geteuid());
}

#if !defined(__APPLE__)
// Where a session without the variable has its bus. A bus is never started from here.
std::string sessionBus() {
  const std::string runtime = environment("XDG_RUNTIME_DIR");
  return !runtime.empty() && isSocket(runtime + "/bus")
             ? "unix:path=" + wire::escaped(runtime + "/bus")
             : "";
}
#else
std::string sessionBus() {
  constexpr char kVariable[] = "DBUS_LAUNCHD_SESSION_BUS_SOCKET";
  return isSocket(environment(kVariable)) ? std::string("launchd:env=") + kVariable : "";
}
#endif

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
  return wire::isInterfaceName(busNameOf(service)) && wire::isBusName(busNameOf(service)) &&
         wire::isObjectPath(objectPathOf(service));
}

bool isMemberName(const std::string& member) {
  return wire::isMemberName(member);
}

std::string busAddress() {
  for (const char* const variable : {"QXBUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
    std::string address = environment(variable);
    if (!address.empty()) {
      return address;
    }
  }
  return sessionBus();
}

bool isDirectAddress(const std::string& address) {
  return address.compare(0, sizeof kDirectAddress - 1, kDirectAddress) == 0;
}

std::string directSocket(const std::string& address) {
  const std::string path = address.substr(sizeof kDirectAddress - 1);
  return path.empty() ? directDirectory() + '/' + kSocketName : path;
}

base::Result<void> makeDirectDirectory() {
  const std::string directory = directDirectory();
  if (::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    return base::Failed{directory + ": " + std::generic_category().message(errno)};
  }
  struct stat status = {};
  const bool isOurs = ::lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                      status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
  if (!isOurs) {
    return base::Failed{directory + ": must be a directory that only this user can enter"};
  }
  return {};
}

}  // namespace qxbus
