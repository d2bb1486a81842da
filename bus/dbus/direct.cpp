#include "bus/dbus/direct.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace qxbus {
namespace {

// In the user's directory for files that last as long as a session.
constexpr char kDirectoryName[] = "velproxy";

// XDG_RUNTIME_DIR is of this user alone. Without it, a directory of the user's own in /tmp: both
// sides must find the same one, so TMPDIR, which differs from shell to shell, does not count.
std::string directoryOfTheUser() {
  const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && *runtime != '\0') {
    return std::string(runtime) + '/' + kDirectoryName;
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

std::string pathIn(const std::string& address) {
  return address.substr(sizeof kDirectAddress - 1);
}

// Empty when the address names a socket.
std::string directoryIn(const std::string& address) {
  const std::string path = pathIn(address);
  if (path.empty()) {
    return directoryOfTheUser();
  }
  return path.back() == '/' ? path.substr(0, path.size() - 1) : "";
}

// A directory in another user's would be replaced at that user's will, and be in its way. Root's
// are for all.
base::Result<void> checkParent(const std::string& directory) {
  const std::size_t slash = directory.rfind('/');
  const std::string parent =
      slash == std::string::npos ? "." : directory.substr(0, slash == 0 ? 1 : slash);
  struct stat status = {};
  if (::stat(parent.c_str(), &status) == 0 && status.st_uid != ::geteuid() && status.st_uid != 0) {
    return base::Failed{directory + ": is not made, because " + parent + " belongs to user " +
                        std::to_string(status.st_uid) + "; choose another address"};
  }
  return {};
}

}  // namespace

bool isDirectAddress(const std::string& address) {
  return address.compare(0, sizeof kDirectAddress - 1, kDirectAddress) == 0;
}

std::string directSocket(const std::string& address, const std::string& service) {
  const std::string directory = directoryIn(address);
  return directory.empty() ? pathIn(address) : directory + '/' + service;
}

base::Result<void> makeDirectDirectory(const std::string& address) {
  const std::string directory = directoryIn(address);
  if (directory.empty()) {
    return {};
  }
  struct stat status = {};
  if (::lstat(directory.c_str(), &status) != 0) {
    if (const auto checked = checkParent(directory); !checked) {
      return checked;
    }
    if (::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
      return base::Failed{directory + ": " + std::generic_category().message(errno)};
    }
  }
  const bool isOurs = ::lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                      status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
  if (!isOurs) {
    return base::Failed{directory + ": must be a directory that only this user can enter"};
  }
  return {};
}

}  // namespace qxbus
