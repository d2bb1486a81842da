#include "vel/apps/local/velctl/commands/port_connection.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <sstream>
#include <system_error>
#include <utility>

#include <poll.h>

#include "base/printable.h"
#include "base/would_block.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {
namespace {

constexpr std::chrono::milliseconds kConnectRetryInterval{20};

// For poll(). Rounded up, so that the deadline has passed when it returns.
int millisecondsUntil(PortConnection::Clock::time_point deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - PortConnection::Clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

// "2", "0.5"
std::string inSeconds(std::chrono::milliseconds time) {
  constexpr double kMsPerSecond = 1000;
  std::ostringstream text;
  text << static_cast<double>(time.count()) / kMsPerSecond;
  return text.str();
}

}  // namespace

PortConnection::PortConnection(Session& session, std::string path, std::chrono::milliseconds limit,
                               std::function<void(Message& message)> onMessage)
    : session_(session),
      path_(std::move(path)),
      limit_(limit),
      onMessage_(std::move(onMessage)),
      socket_(base::newSocket()),
      listener_(session, [this] { stop_.wake(); }) {
  if (!stop_.isOpen()) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
}

void PortConnection::connect(Progress& progress) {
  const Clock::time_point deadline = Clock::now() + limit_;
  int error = base::connectTo(socket_, path_);
  while (base::wouldBlock(error) && Clock::now() < deadline) {
    poll(0, progress, Clock::now() + kConnectRetryInterval);
    error = base::connectTo(socket_, path_);
  }
  if (error != 0) {
    throw Failure(kExitNoService,
                  shownPath() +
                      ": the port cannot be reached: " + std::generic_category().message(error) +
                      "; start its listener, or velsim --pen-port to try without hardware");
  }
}

bool PortConnection::waitFor(const std::function<bool()>& condition, Progress& progress,
                             Clock::time_point deadline) {
  bool hasTimedOut = false;
  while (!condition()) {
    if (hasTimedOut) {
      return false;
    }
    // Before the socket is read, so that messages that have arrived in time count.
    hasTimedOut = Clock::now() >= deadline;
    poll(POLLIN, progress, deadline);
    receive();
  }
  return true;
}

void PortConnection::receive() {
  for (;;) {
    const ssize_t count =
        base::receiveSome(socket_, &message_[received_], message_.size() - received_);
    if (count < 0 && base::wouldBlock(errno)) {
      return;
    }
    if (count <= 0) {
      failClosed();
    }
    received_ += static_cast<std::size_t>(count);
    if (received_ == message_.size()) {
      received_ = 0;
      onMessage_(message_);
    }
  }
}

void PortConnection::add(const unsigned char* bytes, std::size_t length) {
  unsent_.insert(unsent_.end(), bytes, bytes + length);
}

void PortConnection::flush(Progress& progress) {
  const Clock::time_point deadline = Clock::now() + limit_;
  while (!sendSome()) {
    if (Clock::now() >= deadline) {
      throw Failure(kExitNoReply, shownPath() + ": the port has taken nothing for " +
                                      inSeconds(limit_) + " s; --wait waits longer");
    }
    poll(POLLOUT, progress, deadline);
  }
}

bool PortConnection::flushNow() noexcept {
  try {
    return sendSome();
  } catch (const Failure&) {
    return false;
  }
}

bool PortConnection::sendSome() {
  while (!unsent_.empty()) {
    const ssize_t count = base::sendSome(socket_, unsent_.data(), unsent_.size());
    if (count < 0 && base::wouldBlock(errno)) {
      return false;
    }
    if (count < 0) {
      failClosed();
    }
    unsent_.erase(unsent_.begin(), unsent_.begin() + count);
  }
  return true;
}

void PortConnection::poll(short events, Progress& progress, Clock::time_point deadline) const {
  // Without events even a socket without a connection would end the wait.
  pollfd polled[] = {{stop_.readEnd(), POLLIN, 0},
                     {events == 0 ? -1 : socket_.number(), events, 0}};
  ::poll(polled, std::size(polled),
         millisecondsUntil(std::min({deadline, session_.deadline(),
                                     progress.nextChange().value_or(Clock::time_point::max())})));
  session_.throwIfStopped();
  progress.update();
}

std::string PortConnection::shownPath() const {
  return base::printable(path_);
}

void PortConnection::failClosed() const {
  throw Failure(kExitNoReply, shownPath() + ": the far end has closed the port");
}

}  // namespace velctl
