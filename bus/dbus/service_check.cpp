#include "bus/dbus/service_check.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"
#include "bus/dbus/direct.h"
#include "bus/dbus/link.h"
#include "bus/dbus/names.h"

namespace qxbus {
namespace {

constexpr mode_t kPermissionBits = 07777;

std::optional<FileFacts> factsOf(const std::string& path, bool* isSocket = nullptr) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  if (isSocket) {
    *isSocket = S_ISSOCK(status.st_mode);
  }
  // Where mode_t is shorter than int, the operator gives an int.
  const auto mode = static_cast<mode_t>(status.st_mode & kPermissionBits);
  return FileFacts{path, status.st_uid, status.st_gid, mode};
}

bool isAllowed(const std::string& path, int access) {
  return ::faccessat(AT_FDCWD, path.c_str(), access, AT_EACCESS) == 0 || errno != EACCES;
}

// The first directory that this user cannot enter, or the socket itself.
std::string barrierOn(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string directory = path.substr(0, slash);
    if (!isAllowed(directory, X_OK)) {
      return directory;
    }
  }
  return path;
}

// The system refuses a connection for a reason that lies in the file system, or there.
void findBrokenLink(const DialAttempt& attempt, CheckedSocket* socket) {
  socket->broken = BusLink::kConnection;
  if (attempt.path.empty()) {
    return;
  }
  bool isSocket = false;
  socket->file = factsOf(attempt.path, &isSocket);
  if (attempt.error == EACCES || attempt.error == EPERM) {
    socket->broken = BusLink::kPermission;
    socket->file = factsOf(barrierOn(attempt.path));
  } else if (attempt.error == ENOENT || attempt.error == ENOTDIR || attempt.error == ELOOP) {
    socket->broken = BusLink::kSocket;
  } else if (attempt.error != 0 && socket->file && !isSocket) {
    socket->broken = BusLink::kSocket;
    socket->reason = "the file there is not a socket";
  }
}

CheckedSocket checkedSocket(const DialAttempt& attempt) {
  CheckedSocket socket = {attempt.place, attempt.path, std::nullopt, attempt.reason, std::nullopt};
  switch (attempt.step) {
    case DialAttempt::Step::kAddress:
      socket.broken = BusLink::kAddress;
      break;
    case DialAttempt::Step::kConnection:
      findBrokenLink(attempt, &socket);
      break;
    case DialAttempt::Step::kAuthentication:
      socket.broken = BusLink::kAuthentication;
      socket.file = factsOf(attempt.path);
      break;
    case DialAttempt::Step::kDone:
      socket.file = factsOf(attempt.path);
      break;
  }
  return socket;
}

// What keeps the link from a service.
void checkOwner(const std::string& service, const Link& link, Clock::time_point deadline,
                ServiceCheck* check) {
  const auto fail = [check](BusLink broken, const std::string& reason) {
    check->broken = broken;
    check->reason = reason;
  };
  const std::string busName = busNameOf(service);
  const Link::Owner owner = link.ownerOf(busName, deadline);
  if (owner.name.empty()) {
    return fail(BusLink::kService, busName + " has no owner");
  }
  check->user = owner.user;
  check->process = link.processOf(owner.name, deadline);
  if (const std::string refusal = refusalOf(owner.user); !refusal.empty()) {
    fail(BusLink::kServiceUser, refusal);
  }
}

}  // namespace

ServiceCheck checkService(const std::string& service, const std::string& address,
                          std::chrono::milliseconds limit) {
  ServiceCheck check;
  check.address =
      address.empty() ? busAddressInUse() : BusAddress{address, BusAddress::Source::kGiven};
  check.isDirect = isDirectAddress(check.address.text);
  if (!isServiceName(service)) {
    check.broken = BusLink::kService;
    check.reason = base::quoted(service) + " is no name for a service";
    return check;
  }
  const Clock::time_point deadline = Clock::now() + limit;
  DialAttempts attempts;
  const auto link =
      Link::connect(check.address.text, service, "", Link::repliesOnly, deadline, &attempts);
  std::transform(attempts.begin(), attempts.end(), std::back_inserter(check.sockets),
                 checkedSocket);
  if (link) {
    checkOwner(service, **link, deadline, &check);
    return check;
  }
  check.reason = link.reason();
  check.broken = BusLink::kAddress;
  for (CheckedSocket& socket : check.sockets) {
    if (!socket.broken) {
      // The connection was made, and the greeting failed.
      socket.broken = BusLink::kAuthentication;
      socket.reason = link.reason();
    }
    check.broken = std::max(*check.broken, *socket.broken);
  }
  return check;
}

}  // namespace qxbus
