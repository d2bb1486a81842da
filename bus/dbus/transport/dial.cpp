#include "bus/dbus/transport/dial.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "base/would_block.h"
#include "bus/dbus/wire/address.h"
#include "bus/dbus/wire/authentication.h"

namespace qxbus {
namespace {

// A listener without room for another client is asked again: no poll reports the room.
constexpr std::chrono::milliseconds kRetry{5};

constexpr char kNotTaken[] = "the other end does not take the connection";
constexpr char kNotInTime[] = "no reply in time";

std::string textOf(int error) {
  return std::generic_category().message(error);
}

int millisecondsUntil(Clock::time_point deadline) {
  constexpr std::chrono::milliseconds::rep kMost = 1000;
  if (deadline == Clock::time_point::max()) {
    return kMost;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left, 0, kMost));
}

// False at the deadline.
bool waitFor(const base::Socket& socket, short events, Clock::time_point deadline) {
  do {
    pollfd polled = {socket.number(), events, 0};
    if (::poll(&polled, 1, millisecondsUntil(deadline)) > 0) {
      return true;
    }
  } while (Clock::now() < deadline);
  return false;
}

// refusal: errno when the system refuses the connection; otherwise unchanged
base::Result<base::Socket> connectTo(const wire::SocketAddress& address, Clock::time_point deadline,
                                     int* refusal) {
  base::Socket socket = base::newSocket();
  for (;;) {
    const int error =
        base::connectTo(socket, reinterpret_cast<const sockaddr*>(&address.socket), address.size);
    if (error == 0 || error == EISCONN) {
      return socket;
    }
    if (error == EINPROGRESS || error == EALREADY) {
      if (!waitFor(socket, POLLOUT, deadline)) {
        return base::Failed{kNotTaken};
      }
    } else if (error == EAGAIN) {
      if (Clock::now() + kRetry >= deadline) {
        return base::Failed{kNotTaken};
      }
      std::this_thread::sleep_for(kRetry);
    } else {
      *refusal = error;
      return base::Failed{textOf(error)};
    }
  }
}

base::Result<void> sendAll(const base::Socket& socket, std::string_view bytes,
                           Clock::time_point deadline) {
  while (!bytes.empty()) {
    const ssize_t sent =
        base::sendSome(socket, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (!base::wouldBlock(errno)) {
      return base::Failed{textOf(errno)};
    } else if (!waitFor(socket, POLLOUT, deadline)) {
      return base::Failed{kNotInTime};
    }
  }
  return {};
}

base::Result<Dialed> authenticate(base::Socket socket, Clock::time_point deadline) {
  wire::ClientAuthentication client(::geteuid());
  Dialed dialed;
  for (;;) {
    std::string output = client.takeOutput();
    if (client.state() == wire::AuthenticationState::kDone) {
      dialed.lastWords = std::move(output);
      dialed.socket = std::move(socket);
      return dialed;
    }
    if (client.state() == wire::AuthenticationState::kFailed) {
      return refusedByPeer(client.reason());
    }
    if (const base::Result<void> sent = sendAll(socket, output, deadline); !sent) {
      return sent.failed();
    }
    if (!waitFor(socket, POLLIN, deadline)) {
      return base::Failed{kNotInTime};
    }
    const Inbox::Space space = dialed.inbox.space();
    const ssize_t count =
        base::receiveSome(socket, reinterpret_cast<unsigned char*>(space.bytes), space.size);
    if (count == 0) {
      return refusedByPeer("it has closed the connection before the authentication");
    }
    if (count < 0) {
      if (base::wouldBlock(errno)) {
        continue;
      }
      return base::Failed{textOf(errno)};
    }
    dialed.inbox.filled(static_cast<std::size_t>(count));
    dialed.inbox.drop(client.receive(dialed.inbox.rest()));
  }
}

base::Result<Dialed> dialOne(const wire::SocketAddress& address, Clock::time_point deadline,
                             DialAttempt* attempt) {
  using Step = DialAttempt::Step;
  attempt->place = address.text;
  attempt->path = address.socket.sun_path;
  attempt->step = Step::kConnection;
  try {
    base::Result<base::Socket> socket = connectTo(address, deadline, &attempt->error);
    if (!socket) {
      return socket.failed();
    }
    attempt->step = Step::kAuthentication;
    base::Result<Dialed> dialed = authenticate(std::move(*socket), deadline);
    if (dialed) {
      attempt->step = Step::kDone;
    }
    return dialed;
  } catch (const std::system_error& error) {
    attempt->error = error.code().value();
    return base::Failed{error.what()};
  }
}

}  // namespace

base::Failed refusedByPeer(const std::string& detail) {
  return base::Failed{"it seems to refuse this user, " + std::to_string(::geteuid()) + ": " +
                      detail};
}

base::Result<Dialed> dial(const std::string& address, Clock::time_point deadline,
                          DialAttempts* attempts) {
  const base::Result<wire::SocketAddresses> places = wire::parseAddresses(address);
  if (!places) {
    return places.failed();
  }
  const bool isOnePlace = places->usable.size() + places->refused.size() == 1;
  std::string reasons;
  for (const wire::SocketAddress& place : places->usable) {
    DialAttempt attempt;
    base::Result<Dialed> dialed = dialOne(place, deadline, &attempt);
    if (attempts) {
      attempt.reason = dialed.reason();
      attempts->push_back(std::move(attempt));
    }
    if (dialed) {
      return dialed;
    }
    // The caller names a place that is the whole address.
    reasons +=
        (reasons.empty() ? "" : "; ") + (isOnePlace ? "" : place.text + ": ") + dialed.reason();
  }
  for (const std::string& refused : places->refused) {
    // A list without a usable place has failed before.
    reasons += "; " + refused;
    if (attempts) {
      attempts->push_back({"", "", DialAttempt::Step::kAddress, 0, refused});
    }
  }
  return base::Failed{reasons};
}

}  // namespace qxbus
